// Failures that are told: what a program without exceptions may write.
#include "zerovaapi.hpp"

#include <cstdio>

int main()
{
   zerovaapi::Status status;
   auto session = zerovaapi::Session::local(status);
   for (const auto& device : session.devices(status))
      for (auto terminal : session.terminals(device, {"Name", "IsSource"}, status))
         std::printf("%s %d\n", terminal.text("Name", status).value_or("?").c_str(),
                     terminal.flag("IsSource", status).value_or(false));
   zerovaapi::RouteAttributes wish(status);
   wish.constraint("Line", "trigger_line1", status).requiredModifier("Invert", true, status);
   auto route = session.calculate("/timer1/pulse", "/digitizer3/start", &wish, status);
   route.reserve(status).program(status).end(status);
   if (status.failed()) {
      zerovaapi::Status own;
      zerovaapi::Translator translator(zerovaapi::Translator::settingsFor("/usr/share/texts"), own);
      std::puts(translator.describe(status, zerovaapi::Language::german, own).c_str());
   }
   return status.code();
}
