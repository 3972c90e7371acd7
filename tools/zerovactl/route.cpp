#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

namespace zerovactl {

namespace {

template <typename Handle>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, void (*)(Handle)>;

using SetMap = zerovaapi_AttributeMap (*)(zerovaapi_RouteAttributes);

void require(const Status& status, std::uint32_t language)
{
   if (status.code() != 0) throw failureOf(status, language);
}

// A value of "true" or "false" is a boolean, any other a text.
void put(zerovaapi_AttributeMap map, const std::string& pair, std::uint32_t language)
{
   const auto sign = pair.find('=');
   if (sign == 0 || sign == std::string::npos)
      throw Failure(kWrongUse, "\"" + shown(pair) + "\" is not NAME=VALUE");
   const std::string name = pair.substr(0, sign);
   const std::string value = pair.substr(sign + 1);
   Status status;
   if (value == "true" || value == "false")
      zerovaapi_RouteConstraints_setBoolConstraint(map, name.c_str(), value == "true",
                                                   status.get());
   else
      zerovaapi_RouteConstraints_setStringConstraint(map, name.c_str(), value.c_str(),
                                                     status.get());
   require(status, language);
}

Owned<zerovaapi_RouteAttributes> attributesFor(const RouteOptions& options, bool isImmediate,
                                               std::uint32_t language)
{
   Status status;
   Owned<zerovaapi_RouteAttributes> attributes(zerovaapi_RouteAttributes_new(status.get()),
                                               zerovaapi_RouteAttributes_destroy);
   if (!attributes) throw failureOf(status, language);
   const std::pair<SetMap, const std::vector<std::string>&> maps[] = {
      {zerovaapi_RouteAttributes_getConstraints, options.constraints},
      {zerovaapi_RouteAttributes_getSourceConstraints, options.sourceConstraints},
      {zerovaapi_RouteAttributes_getDestinationConstraints, options.destinationConstraints},
      {zerovaapi_RouteAttributes_getRequiredModifiers, options.modifiers},
      {zerovaapi_RouteAttributes_getDestinationRequiredModifiers, options.destinationModifiers},
      {zerovaapi_RouteAttributes_getOptionalModifiers, options.optionalModifiers}};
   for (const auto& [map, pairs] : maps)
      for (const std::string& pair : pairs)
         put(map(attributes.get()), pair, language);
   if (isImmediate)
      zerovaapi_RouteAttributes_setLifetime(attributes.get(), zerovaapi_kLifetimeImmediate,
                                            status.get());
   if (options.reserves || options.programs)
      zerovaapi_RouteAttributes_setCalculationTargetState(
         attributes.get(), options.programs ? zerovaapi_kStateProgrammed : zerovaapi_kStateReserved,
         status.get());
   if (options.isMultiDevice)
      zerovaapi_RouteAttributes_setForceMultiDeviceRoute(attributes.get(), true, status.get());
   if (!options.owner.empty())
      zerovaapi_RouteAttributes_setOwnerName(attributes.get(), options.owner.c_str(), status.get());
   require(status, language);
   return attributes;
}

// What stands behind the device in a terminal's name, where the name is a URI.
std::string shortName(std::string_view name, const std::string& device)
{
   const std::string start = "/" + device + "/";
   if (name.substr(0, start.size()) == start) name.remove_prefix(start.size());
   return std::string(name);
}

struct Hop
{
   std::string device;
   std::vector<std::string> terminals;
};

std::vector<Hop> wayOf(Session& session, std::int32_t ticket)
{
   const Owned<zerovaapi_DeviceContainer> devices(session.call(zerovaapi_getRouteInfo, ticket),
                                                  zerovaapi_DeviceContainer_destroy);
   std::vector<Hop> way;
   for (auto at = zerovaapi_DeviceContainer_begin(devices.get());
        !zerovaapi_DeviceIterator_isEnd(devices.get(), at); zerovaapi_DeviceIterator_next(&at))
   {
      Hop hop;
      hop.device = zerovaapi_DeviceIterator_getDeviceName(devices.get(), at);
      auto* const terminals = zerovaapi_DeviceIterator_getTerminalContainer(devices.get(), at);
      for (auto i = zerovaapi_TerminalContainer_begin(terminals);
           !zerovaapi_TerminalIterator_isEnd(terminals, i); zerovaapi_TerminalIterator_next(&i))
      {
         Status own;
         const char* const name =
            zerovaapi_TerminalIterator_getStringAttribute(terminals, i, "Name", own.get());
         hop.terminals.emplace_back(name ? name : "-");
      }
      way.push_back(std::move(hop));
   }
   return way;
}

const char* stateOf(const RouteOptions& options)
{
   return options.programs ? "programmed" : options.reserves ? "reserved" : "calculated";
}

void show(Output& output, const RouteOptions& options, std::int32_t ticket, bool isImmediate,
          const std::vector<Hop>& way)
{
   if (output.asJson()) {
      Json hops = Json::array();
      for (const Hop& hop : way)
         hops.push_back({{"device", hop.device}, {"terminals", hop.terminals}});
      output.document({{"route", ticket},
                       {"immediate", isImmediate},
                       {"state", stateOf(options)},
                       {"source", options.source},
                       {"destination", options.destination},
                       {"way", hops}});
      return;
   }
   output.line((isImmediate ? "immediate route " : "route ") + std::to_string(ticket) + "  " +
               stateOf(options) + "  " + options.source + " -> " + options.destination);
   std::size_t width = 0;
   for (const Hop& hop : way)
      width = std::max(width, widthFor(shown(hop.device)));
   for (const Hop& hop : way) {
      std::string terminals;
      for (const std::string& terminal : hop.terminals)
         terminals += (terminals.empty() ? "" : ", ") + shortName(terminal, hop.device);
      output.line("   " + padded(shown(hop.device), width + 3) + terminals);
   }
}

// Until the user has enough of it. A call now and then tells when the service has gone, and the route
// with it.
EndRequest::Cause holdUntilEnd(const RouteOptions& options, Session& session, EndRequest& end,
                               std::int32_t ticket)
{
   constexpr std::chrono::milliseconds kBetweenLooks{500};
   EndRequest::Cause cause = EndRequest::Cause::kNone;
   while ((cause = end.wait(kBetweenLooks)) == EndRequest::Cause::kNone)
      session.call(zerovaapi_isDebug);
   // Back through its states: a service need not destroy a route that is held.
   if (options.programs) session.call(zerovaapi_unprogramRoute, ticket);
   if (options.programs || options.reserves) session.call(zerovaapi_unreserveRoute, ticket);
   session.call(zerovaapi_destroyRoute, ticket);
   return cause;
}

int hold(Context& context, const RouteOptions& options, Session& session, EndRequest& end,
         std::int32_t ticket)
{
   context.output.message("held; Ctrl-C ends it");
   EndRequest::Cause cause = EndRequest::Cause::kNone;
   try {
      cause = holdUntilEnd(options, session, end, ticket);
   } catch (const Failure& failure) {
      if (failure.exitStatus != kSessionBroke) throw;
      throw Failure(kSessionBroke,
                    "route " + std::to_string(ticket) + " is lost with its session\n   " +
                       failure.what(),
                    failure.code);
   }
   if (context.output.asJson())
      context.output.document({{"destroyed", ticket}});
   else
      context.output.line("route " + std::to_string(ticket) + " destroyed");
   return cause == EndRequest::Cause::kSignal ? EndRequest::exitStatus() : kDone;
}

} // namespace

int route(Context& context, const RouteOptions& options)
{
   const bool isImmediate = context.target.isImmediate;
   if (options.holds && isImmediate)
      throw Failure(kWrongUse, "--hold and --immediate contradict each other: an immediate route "
                               "stands without this command");
   if ((options.reserves || options.programs) && !options.holds && !isImmediate)
      throw Failure(kWrongUse, "a route of this session ends with this command; add --hold, or "
                               "--immediate to leave it standing");
   const auto attributes = attributesFor(options, isImmediate, context.target.language);
   const std::unique_ptr<EndRequest> end(options.holds ? new EndRequest(EndRequest::Input::kWatched)
                                                       : nullptr);
   Session session(context.target);
   const std::int32_t ticket = session.call(zerovaapi_calculateRoute, options.source.c_str(),
                                            options.destination.c_str(), attributes.get());
   show(context.output, options, ticket, isImmediate, wayOf(session, ticket));
   context.output.flush();
   return options.holds ? hold(context, options, session, *end, ticket) : kDone;
}

} // namespace zerovactl
