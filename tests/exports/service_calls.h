// Every exported function that asks the service, with fixed arguments: for what holds for all of
// them.
#ifndef TESTS_EXPORTS_SERVICE_CALLS_H
#define TESTS_EXPORTS_SERVICE_CALLS_H

#include "zerovaapi.h"

#include <ostream>
#include <string>
#include <vector>

namespace zerova::test {

struct ServiceCall
{
   std::string method;
   // Calls the function and tells its result as a text; releases what the result owns.
   std::string (*call)(zerovaapi_Session, quelerr_Status*);
   std::string failure; // what call tells of a failed call; empty for a function without a result
   std::string success; // what it tells of the answer that plainReply gives
   std::string request; // the frame that the call sends
};

// In the order of the interface; the method "version" is not among them.
const std::vector<ServiceCall>& serviceCalls();
const ServiceCall& serviceCall(const std::string& method);

// Names the instances of tests that run for each.
inline void PrintTo(const ServiceCall& call, std::ostream* out)
{
   *out << call.method;
}

} // namespace zerova::test

#endif
