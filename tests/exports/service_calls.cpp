#include "exports/service_calls.h"

#include "service/checked_status.h"
#include "service/wire_bytes.h"

#include <stdexcept>

namespace zerova::test {

namespace {

constexpr int32_t kTicket = -559038737; // DE AD BE EF

std::string tell(bool value)
{
   return value ? "true" : "false";
}

std::string tell(int32_t value)
{
   return std::to_string(value);
}

std::string tellTerminals(zerovaapi_TerminalContainer terminals)
{
   std::string told;
   CheckedStatus status;
   zerovaapi_Iterator i = zerovaapi_TerminalContainer_begin(terminals);
   for (; !zerovaapi_TerminalIterator_isEnd(terminals, i); zerovaapi_TerminalIterator_next(&i)) {
      const char* name =
         zerovaapi_TerminalIterator_getStringAttribute(terminals, i, "Name", status);
      told += std::string(name ? name : "?") + " " +
              tell(zerovaapi_TerminalIterator_getBoolAttribute(terminals, i, "IsSource", status)) +
              ";";
   }
   return told;
}

// Releases what a call gave also when memory runs out while it is told.
template <typename Handle>
class Owned
{
public:
   Owned(Handle handle, void (*release)(Handle))
      : handle_(handle)
      , release_(release)
   {
   }
   Owned(const Owned&) = delete;
   Owned& operator=(const Owned&) = delete;
   ~Owned() { release_(handle_); }

private:
   Handle handle_;
   void (*release_)(Handle);
};

std::string tell(zerovaapi_TerminalContainer terminals)
{
   const Owned owned(terminals, zerovaapi_TerminalContainer_destroy);
   return terminals ? tellTerminals(terminals) : "null";
}

std::string tell(zerovaapi_DeviceContainer devices)
{
   const Owned owned(devices, zerovaapi_DeviceContainer_destroy);
   if (!devices) return "null";
   std::string told;
   zerovaapi_Iterator i = zerovaapi_DeviceContainer_begin(devices);
   for (; !zerovaapi_DeviceIterator_isEnd(devices, i); zerovaapi_DeviceIterator_next(&i))
      told += std::string(zerovaapi_DeviceIterator_getDeviceName(devices, i)) + ": " +
              tellTerminals(zerovaapi_DeviceIterator_getTerminalContainer(devices, i));
   return told;
}

std::string tell(char** texts)
{
   const Owned owned(texts, zerovaapi_destroyStringArray);
   if (!texts) return "null";
   std::string told;
   for (char** text = texts; *text; ++text)
      told += std::string(*text) + ";";
   return told;
}

std::string requestOf(const std::string& method, const WireBytes& arguments)
{
   return WireBytes().message(wire::kCall, method).raw(arguments.bytes()).stop().frame();
}

ServiceCall tickets(const std::string& method,
                    std::string (*call)(zerovaapi_Session, quelerr_Status*))
{
   return {method, call, "", "", requestOf(method, WireBytes().i32Field(1, kTicket))};
}

ServiceCall texts(const std::string& method,
                  std::string (*call)(zerovaapi_Session, quelerr_Status*),
                  const std::vector<std::string>& arguments, const std::string& failure = "",
                  const std::string& success = "")
{
   WireBytes bytes;
   int16_t id = 0;
   for (const std::string& argument : arguments)
      bytes.textField(++id, argument);
   return {method, call, failure, success, requestOf(method, bytes)};
}

std::vector<ServiceCall> allCalls()
{
   using Session = zerovaapi_Session;
   using Status = quelerr_Status*;
   WireBytes routeArguments;
   routeArguments.textField(1, "dev1/a").textField(2, "dev1/b").field(wire::kStruct, 3).stop();
   WireBytes terminalArguments;
   terminalArguments.textField(1, "dev1").field(wire::kList, 2).listHeader(wire::kString, 2);
   terminalArguments.text("Name").text("IsSource");
   return {
      {"calculateRoute",
       [](Session s, Status st) {
          return tell(zerovaapi_calculateRoute(s, "dev1/a", "dev1/b", nullptr, st));
       },
       "0", "7", requestOf("calculateRoute", routeArguments)},
      tickets("reserveRoute",
              [](Session s, Status st) {
                 zerovaapi_reserveRoute(s, kTicket, st);
                 return std::string();
              }),
      tickets("programRoute",
              [](Session s, Status st) {
                 zerovaapi_programRoute(s, kTicket, st);
                 return std::string();
              }),
      tickets("unprogramRoute",
              [](Session s, Status st) {
                 zerovaapi_unprogramRoute(s, kTicket, st);
                 return std::string();
              }),
      tickets("unreserveRoute",
              [](Session s, Status st) {
                 zerovaapi_unreserveRoute(s, kTicket, st);
                 return std::string();
              }),
      tickets("destroyRoute",
              [](Session s, Status st) {
                 zerovaapi_destroyRoute(s, kTicket, st);
                 return std::string();
              }),
      texts("destroyImmediateRoute",
            [](Session s, Status st) {
               zerovaapi_destroyImmediateRoute(s, "dev1/a", "dev1/b", st);
               return std::string();
            },
            {"dev1/a", "dev1/b"}),
      texts("destroyImmediateRoutesOnDevice",
            [](Session s, Status st) {
               zerovaapi_destroyImmediateRoutesOnDevice(s, "dev1", st);
               return std::string();
            },
            {"dev1"}),
      texts("destroyImmediateRoutesFromSource",
            [](Session s, Status st) {
               zerovaapi_destroyImmediateRoutesFromSource(s, "dev1/a", st);
               return std::string();
            },
            {"dev1/a"}),
      texts("destroyImmediateRoutesToDest",
            [](Session s, Status st) {
               zerovaapi_destroyImmediateRoutesToDest(s, "dev1/b", st);
               return std::string();
            },
            {"dev1/b"}),
      {"getRouteInfo",
       [](Session s, Status st) { return tell(zerovaapi_getRouteInfo(s, kTicket, st)); }, "null",
       "dev1: /dev1/t0 true;", requestOf("getRouteInfo", WireBytes().i32Field(1, kTicket))},
      texts(
         "getSystemChangeNumber",
         [](Session s, Status st) { return tell(zerovaapi_getSystemChangeNumber(s, st)); }, {}, "0",
         "7"),
      {"hasTerminalInformationChanged",
       [](Session s, Status st) {
          return tell(zerovaapi_hasTerminalInformationChanged(s, -2, st));
       },
       "false", "true", requestOf("hasTerminalInformationChanged", WireBytes().i32Field(1, -2))},
      texts(
         "getRoutableDevices",
         [](Session s, Status st) { return tell(zerovaapi_getRoutableDevices(s, st)); }, {}, "null",
         "dev1;dev2;"),
      {"getTerminalNamesAndAttributesForDevice",
       [](Session s, Status st) {
          const char* const names[] = {"Name", "IsSource", nullptr};
          return tell(zerovaapi_getTerminalNamesAndAttributesForDevice(s, "dev1", names, st));
       },
       "null", "/dev1/t0 true;",
       requestOf("getTerminalNamesAndAttributesForDevice", terminalArguments)},
      texts("resetTerminal",
            [](Session s, Status st) {
               zerovaapi_resetTerminal(s, "dev1/a", "soft", st);
               return std::string();
            },
            {"dev1/a", "soft"}),
      texts(
         "calculateResetTerminal",
         [](Session s, Status st) {
            return tell(zerovaapi_calculateResetTerminal(s, "dev1/a", "soft", st));
         },
         {"dev1/a", "soft"}, "0", "7"),
      texts("initiateDeviceReset",
            [](Session s, Status st) {
               zerovaapi_initiateDeviceReset(s, "dev1", st);
               return std::string();
            },
            {"dev1"}),
      texts("completeDeviceReset",
            [](Session s, Status st) {
               zerovaapi_completeDeviceReset(s, "dev1", st);
               return std::string();
            },
            {"dev1"}),
      texts(
         "isDebug", [](Session s, Status st) { return tell(zerovaapi_isDebug(s, st)); }, {}, "true",
         "true"),
      texts(
         "validateTerminalURI",
         [](Session s, Status st) { return tell(zerovaapi_validateTerminalURI(s, "dev1/a", st)); },
         {"dev1/a"}, "false", "true"),
      texts(
         "areTerminalURIsEqual",
         [](Session s, Status st) {
            return tell(zerovaapi_areTerminalURIsEqual(s, "dev1/a", "dev1/b", st));
         },
         {"dev1/a", "dev1/b"}, "false", "true"),
   };
}

} // namespace

const std::vector<ServiceCall>& serviceCalls()
{
   static const std::vector<ServiceCall> kCalls = allCalls();
   return kCalls;
}

const ServiceCall& serviceCall(const std::string& method)
{
   for (const ServiceCall& call : serviceCalls())
      if (call.method == method) return call;
   throw std::invalid_argument("no exported function asks for " + method);
}

} // namespace zerova::test
