// The service that a tour is taken on.
#ifndef TESTS_HOSTS_TOUR_SERVICE_H
#define TESTS_HOSTS_TOUR_SERVICE_H

#include "service/raw_peer.h"
#include "service/wire_bytes.h"

#include <cstdint>
#include <string>

namespace zerova::test {

inline std::string tourReply(const std::string& request)
{
   constexpr std::int32_t kInternalError = 6;
   const std::string method = methodOf(request);
   if (method == "reserveRoute")
      return statusReply(method, -77,
                         R"({"translator_info":{"ordered_data":[]},"why":"taken by another"})");
   if (method == "programRoute") return exceptionReply(method, kInternalError, "on purpose");
   if (method == "unprogramRoute") return WireBytes().i32(INT32_MIN).frame(); // no such version
   return plainReply(method);
}

inline Script tourService()
{
   return Script().answerAll(tourReply);
}

} // namespace zerova::test

#endif
