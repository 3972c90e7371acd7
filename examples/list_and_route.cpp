// Lists the terminals of the routing service of this machine, makes a route with constraints, and
// tells in German what the service refuses.
//
//    list_and_route [TEXTS [HOST]]
//
// TEXTS: the folder of the library's own texts, pkg-config --variable=textsdir zerovaapi.
#include <zerovaapi.hpp>

#include <iostream>
#include <string>

namespace {

void listTerminals(zerovaapi::Session& session)
{
   for (const auto& device : session.devices()) {
      std::cout << device << '\n';
      for (const auto terminal : session.terminals(device, {"Name", "IsSource", "Owner"})) {
         std::cout << "   " << terminal.text("Name").value_or("?");
         if (terminal.flag("IsSource").value_or(false)) std::cout << ", source";
         if (const auto owner = terminal.text("Owner")) std::cout << ", owned by " << *owner;
         std::cout << '\n';
      }
   }
}

void makeRoute(zerovaapi::Session& session)
{
   zerovaapi::RouteAttributes wish;
   wish.ownerName("list and route")
      .constraint("Line", "trigger_line1")
      .requiredModifier("Invert", true);
   auto route = session.calculate("/timer1/pulse", "/digitizer3/start", &wish);
   route.reserve().program();
   std::cout << "programmed, by way of";
   for (const auto device : route.devices())
      std::cout << ' ' << device.name();
   std::cout << '\n';
   route.end(); // the destructor would do it as well, and tell nobody what it could not do
}

// Programming a route that is not reserved.
void showRefusal(zerovaapi::Session& session, const std::string& texts)
{
   auto route = session.calculate("/matrix1/ch0", "/matrix1/ch1");
   zerovaapi::Status refused;
   route.program(refused);
   if (!refused.failed()) return;
   std::cout << "refused with " << refused.code() << '\n';
   // What the service has told: its codes have sentences only where it has installed some.
   zerovaapi::Translator translator(zerovaapi::Translator::settingsFor(texts));
   for (const auto row : translator.detailRows(refused, zerovaapi::Language::german))
      if (!row.isDebug()) std::cout << "   " << row << '\n';
}

// One of the library's own failures has a sentence instead.
void showFailure(const zerovaapi::Error& error, const std::string& texts)
{
   zerovaapi::Status own; // a text that cannot be translated must not hide the failure
   zerovaapi::Translator translator(zerovaapi::Translator::settingsFor(texts), own);
   std::cerr << "list_and_route: " << error.what() << '\n'
             << translator.describe(error, zerovaapi::Language::german, own) << '\n';
}

} // namespace

int main(int argc, char** argv)
{
   const std::string texts = argc > 1 ? argv[1] : "/usr/share/zerovaapi/texts";
   try {
      auto session = argc > 2 ? zerovaapi::Session::remote(argv[2]) : zerovaapi::Session::local();
      listTerminals(session);
      makeRoute(session);
      showRefusal(session, texts);
      return 0;
   } catch (const zerovaapi::Error& error) {
      showFailure(error, texts);
      return 1;
   }
}
