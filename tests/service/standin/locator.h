// Tells remote clients the port of the service.
#ifndef TESTS_SERVICE_STANDIN_LOCATOR_H
#define TESTS_SERVICE_STANDIN_LOCATOR_H

#include "service/acceptor.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zerova::standin {

// Answers "GET path HTTP/1.0" with a reply that names the port under the key "Mapping=" if the
// path, with its %XX escapes undone and without a slash in front, is "Trevanta/Zerova". To any
// other path it answers 404, to what is no such request 400, both without a key. Closes after each
// answer.
class Locator
{
public:
   // Throws std::runtime_error when the port is taken.
   Locator(const std::string& address, std::uint16_t port, std::uint16_t servicePort);

   std::uint16_t port() const { return acceptor_.port(); }
   const std::string& description() const { return acceptor_.description(); }

   // The whole reply to a request that ends with its blank line.
   static std::string replyTo(std::string_view request, std::uint16_t servicePort);

private:
   test::Acceptor acceptor_;
};

} // namespace zerova::standin

#endif
