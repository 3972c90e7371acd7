// The two ways to a service, for what must hold on either.
#ifndef TESTS_FAULTS_ENDPOINT_H
#define TESTS_FAULTS_ENDPOINT_H

#include "zerovaapi.h"

#include <ostream>
#include <string>

namespace zerova::test {

enum class Endpoint
{
   local,
   tcp
};

inline const char* nameOf(Endpoint endpoint)
{
   return endpoint == Endpoint::local ? "local" : "tcp";
}

inline void PrintTo(Endpoint endpoint, std::ostream* out)
{
   *out << nameOf(endpoint);
}

inline zerovaapi_Session createSession(Endpoint endpoint, const std::string& host,
                                       quelerr_Status* status)
{
   return endpoint == Endpoint::local ? zerovaapi_createSession(status)
                                      : zerovaapi_createRemoteSession(host.c_str(), status);
}

} // namespace zerova::test

#endif
