#include "faults/child_service.h"

#include "support/program_outcome.h"

#include <stdexcept>

namespace zerova::test {

ChildService::ChildService(ChildScript script, const std::string& address)
   : process_({CHILD_SERVICE_PROGRAM, std::to_string(static_cast<int>(script)), address})
{
}

std::string descriptorsOfANewProgram()
{
   return runProgram({CHILD_SERVICE_PROGRAM}).output;
}

void ChildService::start()
{
   process_.tell();
   if (!process_.waitToBeTold()) throw std::runtime_error("the service of the test did not start");
}

} // namespace zerova::test
