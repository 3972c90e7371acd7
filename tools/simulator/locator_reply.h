// What a locator tells remote clients of the port of the service.
#ifndef TOOLS_SIMULATOR_LOCATOR_REPLY_H
#define TOOLS_SIMULATOR_LOCATOR_REPLY_H

#include <cstdint>
#include <string>
#include <string_view>

namespace zerova::simulator {

// The whole reply to a request that ends with its blank line. "GET path HTTP/1.0" is answered with the
// port under the key "Mapping=" if the path, with its %XX escapes undone and without a slash in front, is
// "Trevanta/Zerova". Any other path gets 404, what is no such request 400, both without a key.
std::string locatorReply(std::string_view request, std::uint16_t servicePort);

} // namespace zerova::simulator

#endif
