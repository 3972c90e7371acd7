#include "cpp/without_exceptions.h"

#include "zerovaapi.hpp"

namespace zerova::test {

Told routeWithoutExceptions(const std::string& host, const char* source, const char* destination)
{
   Told told{};
   zerovaapi::Status status;
   auto session = zerovaapi::Session::remote(host, status);
   for (const auto& device : session.devices(status)) {
      told.devices += device.str() + ";";
      for (const auto terminal : session.terminals(device, status))
         if (told.source.empty() && terminal.flag("IsSource", status).value_or(false))
            told.source = terminal.text("Name", status).value_or("?").str();
   }
   auto route = session.calculate(source, destination, status);
   route.reserve(status).program(status).end(status);
   told.failed = status.failed();
   told.code = status.code();
   told.json = status.json();
   return told;
}

int32_t codeOfAClosedSession()
{
   zerovaapi::Status status;
   zerovaapi::Session().isDebug(status);
   return status.code();
}

} // namespace zerova::test
