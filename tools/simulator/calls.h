// The service's methods on a bench, and what a log says of each call.
#ifndef TOOLS_SIMULATOR_CALLS_H
#define TOOLS_SIMULATOR_CALLS_H

#include "APIv1.h"
#include "tools/simulator/bench.h"
#include "tools/simulator/topology.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace zerova::simulator {

using Json = nlohmann::ordered_json;

struct Call
{
   std::string method;
   Json arguments = Json::object();
   std::int32_t code = 0;
   Json result; // null: none
};

// One thread calls it. What the caller is, and whether the call fails by plan, is said before each.
class Calls final : public APIv1If
{
public:
   Calls(Bench& bench, bool isDebug);

   void setCaller(ConnectionId connection, RouteLifetime::type lifetime);
   // The next call is answered with it, and not carried out. Null: it is carried out.
   void setError(const Fault* error) { error_ = error; }
   // What the last call was. Arguments and result are there only if they were asked for.
   void recordCalls(bool isWanted) { isRecorded_ = isWanted; }
   const Call& last() const { return last_; }

   // Calls by what a log says: throws std::invalid_argument if that is no call. The outcome is last().
   void repeat(const std::string& method, const Json& arguments);

   void version(const std::string& version) override;
   std::int32_t calculateRoute(const std::string& source, const std::string& destination,
                               const RouteAttributes& attributes) override;
   void reserveRoute(std::int32_t ticket) override;
   void programRoute(std::int32_t ticket) override;
   void unprogramRoute(std::int32_t ticket) override;
   void unreserveRoute(std::int32_t ticket) override;
   void destroyRoute(std::int32_t ticket) override;
   void destroyImmediateRoute(const std::string& source, const std::string& destination) override;
   void destroyImmediateRoutesOnDevice(const std::string& device) override;
   void destroyImmediateRoutesFromSource(const std::string& source) override;
   void destroyImmediateRoutesToDest(const std::string& destination) override;
   void getRouteInfo(std::vector<DeviceInfo>& devices, std::int32_t ticket) override;
   std::int32_t getSystemChangeNumber() override;
   bool hasTerminalInformationChanged(std::int32_t changeNumber) override;
   void getRoutableDevices(std::vector<std::string>& devices) override;
   void getTerminalNamesAndAttributesForDevice(std::vector<Attributes>& terminals,
                                               const std::string& device,
                                               const std::vector<std::string>& names) override;
   void resetTerminal(const std::string& uri, const std::string& type) override;
   std::int32_t calculateResetTerminal(const std::string& uri, const std::string& type) override;
   void initiateDeviceReset(const std::string& device) override;
   void completeDeviceReset(const std::string& device) override;
   bool isDebug() override;
   bool validateTerminalURI(const std::string& uri) override;
   bool areTerminalURIsEqual(const std::string& uri1, const std::string& uri2) override;

private:
   template <typename Arguments, typename Action>
   auto recorded(const char* method, Arguments arguments, Action action);

   Bench& bench_;
   const bool isDebug_;
   ConnectionId connection_ = 0;
   RouteLifetime::type lifetime_ = RouteLifetime::SESSION;
   const Fault* error_ = nullptr;
   bool isRecorded_ = false;
   Call last_;
};

// The names of the service's methods, in the order of the interface.
const std::vector<std::string>& methodNames();

// As a log has them.
Json jsonFrom(const Attributes& attributes);
Json jsonFrom(const RouteAttributes& attributes);
// Throws std::invalid_argument.
RouteAttributes routeAttributesFrom(const Json& json);

// One line of a log. Bytes that are no UTF-8 are replaced.
std::string lineOf(const Json& event);

} // namespace zerova::simulator

#endif
