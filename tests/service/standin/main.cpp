// The stand-in routing service as a program.
#include "service/loopback_address.h"
#include "service/standin/end_request.h"
#include "service/standin/routing_service.h"

#include <charconv>
#include <cstring>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr char kUsage[] = R"(Usage: zerova_service_standin [OPTION]...

Serves the routing interface with devices that exist in memory only, until
standard input ends or SIGTERM or SIGINT comes. Once all endpoints are open it
prints one line, "ready", with the endpoints behind it. In the background of a
shell the input ends at once: --stay serves on.

  --endpoint-dir DIR   folder of the local endpoints (default: the build's)
  --no-local           no local endpoints
  --address ADDRESS    loopback address of the TCP endpoint and the locator;
                       "own": one that no other program of the tests uses
                       (default: 127.0.0.1)
  --port PORT          port of the TCP endpoint, 0 for a free one (default: 0)
  --no-tcp             no TCP endpoint and no locator
  --locator-port PORT  port of the locator, 0 for a free one (default: 3580)
  --no-locator         no locator
  --stay               do not end with standard input
  --debug              say that this is a debug service
  --help               print this and end
)";

struct Invocation
{
   zerova::standin::ServiceOptions service;
   std::optional<zerova::test::LoopbackAddress> ownAddress;
   bool wantsHelp = false;
   bool stays = false;
};

std::uint16_t portFrom(const std::string& option, const std::string& text)
{
   std::uint16_t port = 0;
   const char* const end = text.data() + text.size();
   const auto [stop, error] = std::from_chars(text.data(), end, port);
   if (error != std::errc() || stop != end)
      throw std::invalid_argument(option + " wants a number from 0 to 65535, not \"" + text + "\"");
   return port;
}

void parse(const std::vector<std::string>& arguments, Invocation& invocation)
{
   auto& service = invocation.service;
   service.local = true;
   service.address = "127.0.0.1";
   service.locatorPort = 3580;
   for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
      const std::string& option = *argument;
      const auto value = [&]() -> const std::string& {
         if (++argument == arguments.end()) throw std::invalid_argument(option + " wants a value");
         return *argument;
      };
      if (option == "--help")
         invocation.wantsHelp = true;
      else if (option == "--endpoint-dir")
         service.endpointDir = value();
      else if (option == "--no-local")
         service.local = false;
      else if (option == "--address")
         service.address = value();
      else if (option == "--port")
         service.port = portFrom(option, value());
      else if (option == "--no-tcp")
         service.address.clear();
      else if (option == "--locator-port")
         service.locatorPort = portFrom(option, value());
      else if (option == "--no-locator")
         service.locatorPort.reset();
      else if (option == "--stay")
         invocation.stays = true;
      else if (option == "--debug")
         service.isDebug = true;
      else
         throw std::invalid_argument("unknown option " + option + "; --help lists the known ones");
   }
   if (service.address == "own") service.address = invocation.ownAddress.emplace().text();
}

} // namespace

int main(int argc, char** argv)
{
   try {
      Invocation invocation;
      parse({argv + 1, argv + argc}, invocation);
      if (invocation.wantsHelp) {
         std::cout << kUsage;
         return 0;
      }
      zerova::standin::EndRequest end;
      const zerova::standin::RoutingService service(invocation.service);
      std::cout << "ready";
      for (const std::string& endpoint : service.endpoints())
         std::cout << "  " << endpoint;
      std::cout << std::endl;
      if (invocation.stays)
         end.waitForSignal();
      else
         end.wait();
      return 0;
   } catch (const std::invalid_argument& error) {
      std::cerr << "zerova_service_standin: " << error.what() << '\n';
      return 2;
   } catch (const std::exception& error) {
      std::cerr << "zerova_service_standin: " << error.what() << '\n';
      return 1;
   }
}
