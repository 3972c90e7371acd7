#include "client.h"
#include "stub_client.h"
#include "tools/simulator/locator_reply.h"

#include <filesystem>
#include <thread>

namespace zerova::test {
namespace {

using namespace simulator;
using testing::Contains;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::Pair;
using testing::SizeIs;

namespace fs = std::filesystem;

class LaboratoryService : public Laboratory
{
protected:
   std::int32_t calculateImmediate(const std::string& from = "/matrix1/ch0",
                                   const std::string& to = "/matrix1/ch1")
   {
      RouteAttributes attributes;
      attributes.__set_lifetime(RouteLifetime::IMMEDIATE);
      return client_->calculateRoute(from, to, attributes);
   }

   std::vector<std::string> devices()
   {
      std::vector<std::string> names;
      client_->getRoutableDevices(names);
      return names;
   }

   std::vector<Attributes> terminals(const std::string& device,
                                     const std::vector<std::string>& names = {})
   {
      std::vector<Attributes> terminals;
      client_->getTerminalNamesAndAttributesForDevice(terminals, device, names);
      return terminals;
   }
};

TEST_F(LaboratoryService, AcceptsItsVersionAndRefusesOthers)
{
   EXPECT_NO_THROW(client_->version("1.0"));
   const ThriftStatus status = refusalOf([&] { client_->version("2.0"); });
   EXPECT_EQ(status.code, kUnsupportedVersion.number);
   EXPECT_THAT(status.description, HasSubstr(row("kUsageTypePossibleValues", R"(["1.0"])")));
}

TEST_F(LaboratoryService, AnswersWhetherItIsADebugService)
{
   EXPECT_FALSE(client_->isDebug());
   const LoopbackAddress address;
   const RoutingService service({.address = address.text(), .isDebug = true});
   Client client(Stream::connectTcp(address.text(), service.port()));
   EXPECT_TRUE(client->isDebug());
}

TEST_F(LaboratoryService, ListsItsDevices)
{
   EXPECT_THAT(devices(), ElementsAre("matrix1", "scanner2", "timer1", "digitizer3", "lamp4"));
}

TEST_F(LaboratoryService, ListsAllAttributesForAnEmptyListOfNames)
{
   EXPECT_THAT(terminals("timer1").at(0),
               ElementsAre(Pair("Connector", IsText("front")), Pair("InUse", IsBool(false)),
                           Pair("IsDestination", IsBool(false)), Pair("IsLine", IsBool(false)),
                           Pair("IsSource", IsBool(true)), Pair("Kind", IsText("trigger")),
                           Pair("Name", IsText("/timer1/pulse"))));
}

TEST_F(LaboratoryService, ListsTheAttributesThatAreNamed)
{
   EXPECT_THAT(terminals("TIMER1", {"Name", "Colour"}).at(0),
               ElementsAre(Pair("Name", IsText("/timer1/pulse"))));
}

TEST_F(LaboratoryService, ListsTheLinesOfADeviceBehindItsTerminals)
{
   EXPECT_THAT(terminals("timer1", {"Name", "IsLine", "Connector"}).at(4),
               ElementsAre(Pair("Connector", IsText("backplane")), Pair("IsLine", IsBool(true)),
                           Pair("Name", IsText("/timer1/trigger_line0"))));
}

TEST_F(LaboratoryService, ListsNoTerminalsOfADeviceWithoutAny)
{
   EXPECT_THAT(terminals("lamp4"), IsEmpty());
}

TEST_F(LaboratoryService, KnowsADeviceByItsAliasInAnyCase)
{
   EXPECT_EQ(terminals("Clock"), terminals("timer1"));
}

TEST_F(LaboratoryService, NamesTheDevicesWhenItRefusesOne)
{
   const ThriftStatus status = refusalOf([&] { terminals("nothing"); });
   EXPECT_EQ(status.code, kUnknownDevice.number);
   EXPECT_THAT(status.description,
               HasSubstr(R"("value":["matrix1","scanner2","timer1","digitizer3","lamp4"])"));
}

TEST_F(LaboratoryService, EscapesWhatItRepeatsInARefusal)
{
   const ThriftStatus status = refusalOf([&] { terminals("a\"b\\c\n\x7F"); });
   EXPECT_THAT(status.description, HasSubstr(R"("value":"a\"b\\c\n)"));
}

TEST_F(LaboratoryService, TellsTerminalsFromOtherTexts)
{
   for (const char* uri : {"/matrix1/ch0", "matrix1/ch0", "/Matrix1//ch0/", "/switchbank/ch0"})
      EXPECT_TRUE(client_->validateTerminalURI(uri)) << uri;
   for (const char* uri :
        {"", "/", "/matrix1", "/matrix1/CH0", "/matrix1/ch0/x", "/nothing/ch0", "/matrix1/ch 0"})
      EXPECT_FALSE(client_->validateTerminalURI(uri)) << uri;
}

TEST_F(LaboratoryService, ComparesTerminalsByTheirNormalForm)
{
   EXPECT_TRUE(client_->areTerminalURIsEqual("/matrix1/ch0", "SWITCHBANK//ch0/"));
   EXPECT_FALSE(client_->areTerminalURIsEqual("/matrix1/ch0", "/matrix1/ch1"));
   EXPECT_FALSE(client_->areTerminalURIsEqual("/matrix1/ch0", "/matrix1/CH0"));
   EXPECT_TRUE(client_->areTerminalURIsEqual("/Nothing/x", "/nothing/x"));
   EXPECT_EQ(codeOf([&] { client_->areTerminalURIsEqual("/matrix1/ch0", "ch0"); }),
             kMalformedUri.number);
}

TEST_F(LaboratoryService, KeepsImmediateRoutesWhenTheirConnectionEnds)
{
   {
      const auto other = connect();
      RouteAttributes attributes;
      attributes.__set_lifetime(RouteLifetime::IMMEDIATE);
      (*other)->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes);
   }
   ASSERT_TRUE(service_.waitForConnectionCount(1));
   EXPECT_EQ(service_.routeCount(), 1U);
   client_->destroyImmediateRoute("/matrix1/ch0", "/matrix1/ch1");
   EXPECT_EQ(service_.routeCount(), 0U);
}

TEST_F(LaboratoryService, DoesNotDestroyAnImmediateRouteByItsTicket)
{
   const std::int32_t ticket = calculateImmediate();
   EXPECT_EQ(codeOf([&] { client_->destroyRoute(ticket); }), kRouteIsImmediate.number);
   EXPECT_NO_THROW(client_->reserveRoute(ticket));
}

TEST_F(LaboratoryService, DestroysAnImmediateRouteInAnyStateAndFreesItsTerminals)
{
   client_->reserveRoute(calculateImmediate());
   client_->destroyImmediateRoute("/MATRIX1/ch0", "/matrix1/ch1");
   EXPECT_NO_THROW(client_->reserveRoute(calculateImmediate("/matrix1/ch2", "/matrix1/ch1")));
}

TEST_F(LaboratoryService, RefusesToDestroyAnImmediateRouteThatIsNotThere)
{
   client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_);
   EXPECT_EQ(codeOf([&] { client_->destroyImmediateRoute("/matrix1/ch0", "/matrix1/ch1"); }),
             kNoImmediateRoute.number);
   EXPECT_EQ(service_.routeCount(), 1U);
}

TEST_F(LaboratoryService, DestroysTheImmediateRoutesOfADeviceASourceOrADestination)
{
   client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_); // stays in every case
   calculateImmediate("/matrix1/ch0", "/matrix1/ch2");
   calculateImmediate("/matrix1/ch0", "/digitizer3/input0");
   calculateImmediate("/scanner2/in0", "/digitizer3/input0");
   calculateImmediate("/timer1/osc", "/timer1/sync");
   client_->destroyImmediateRoutesFromSource("/matrix1/ch0");
   EXPECT_EQ(service_.routeCount(), 3U);
   client_->destroyImmediateRoutesToDest("/digitizer3/input0");
   EXPECT_EQ(service_.routeCount(), 2U);
   client_->destroyImmediateRoutesOnDevice("Clock");
   EXPECT_EQ(service_.routeCount(), 1U);
}

TEST_F(LaboratoryService, FindsNothingToDestroyWithoutARefusal)
{
   EXPECT_NO_THROW(client_->destroyImmediateRoutesOnDevice("matrix1"));
   EXPECT_NO_THROW(client_->destroyImmediateRoutesFromSource("/matrix1/ch0"));
   EXPECT_NO_THROW(client_->destroyImmediateRoutesToDest("/matrix1/ch0"));
   EXPECT_EQ(codeOf([&] { client_->destroyImmediateRoutesOnDevice(""); }), kUnknownDevice.number);
}

TEST_F(LaboratoryService, MovesItsChangeNumberWhenTerminalsChange)
{
   const std::int32_t before = client_->getSystemChangeNumber();
   const std::int32_t ticket = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_);
   EXPECT_FALSE(client_->hasTerminalInformationChanged(before));
   client_->reserveRoute(ticket);
   EXPECT_TRUE(client_->hasTerminalInformationChanged(before));
   const std::int32_t after = client_->getSystemChangeNumber();
   EXPECT_THAT(after, Gt(before));
   client_->programRoute(ticket);
   EXPECT_FALSE(client_->hasTerminalInformationChanged(after));
   EXPECT_TRUE(client_->hasTerminalInformationChanged(after + 100));
}

TEST_F(LaboratoryService, ResetsATerminalByDisconnectingIt)
{
   const std::int32_t kept = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_);
   client_->reserveRoute(kept);
   client_->programRoute(kept);
   client_->reserveRoute(calculateImmediate("/matrix1/ch0", "/matrix1/ch2"));
   client_->resetTerminal("/matrix1/ch0", "disconnect");
   EXPECT_EQ(service_.routeCount(), 1U);
   EXPECT_NO_THROW(client_->destroyRoute(kept));
}

TEST_F(LaboratoryService, ResetsATerminalByTakingItsSignalAway)
{
   const std::int32_t ticket = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_);
   client_->reserveRoute(ticket);
   client_->programRoute(ticket);
   client_->resetTerminal("/matrix1/ch1", "tristate");
   EXPECT_NO_THROW(client_->unreserveRoute(ticket));
}

TEST_F(LaboratoryService, RefusesAnUnknownTypeOfReset)
{
   EXPECT_EQ(codeOf([&] { client_->resetTerminal("/matrix1/ch0", "melt"); }),
             kUnknownResetType.number);
   EXPECT_EQ(codeOf([&] { client_->calculateResetTerminal("/matrix1/ch0", ""); }),
             kUnknownResetType.number);
}

TEST_F(LaboratoryService, CarriesOutACalculatedResetWhenItIsProgrammed)
{
   const std::int32_t route = client_->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_);
   client_->reserveRoute(route);
   const std::int32_t reset = client_->calculateResetTerminal("/matrix1/ch1", "disconnect");
   client_->reserveRoute(reset);
   EXPECT_EQ(codeOf([&] { client_->destroyRoute(route); }), kWrongRouteState.number);
   client_->programRoute(reset);
   EXPECT_NO_THROW(client_->destroyRoute(route));
   client_->unprogramRoute(reset);
   client_->unreserveRoute(reset);
   client_->destroyRoute(reset);
   EXPECT_EQ(service_.routeCount(), 0U);
}

TEST_F(LaboratoryService, TakesNoRoutesThroughADeviceInReset)
{
   const std::int32_t route = client_->calculateRoute("/timer1/pulse", "/digitizer3/start", plain_);
   client_->reserveRoute(route);
   client_->initiateDeviceReset("Timer1");
   EXPECT_THAT(devices(), Not(Contains("timer1")));
   EXPECT_EQ(codeOf([&] { client_->calculateRoute("/timer1/pulse", "/timer1/gate", plain_); }),
             kDeviceInReset.number);
   EXPECT_EQ(codeOf([&] { client_->reserveRoute(route); }), kDeviceInReset.number);
   client_->completeDeviceReset("timer1");
   EXPECT_THAT(devices(), Contains("timer1"));
   EXPECT_NO_THROW(client_->reserveRoute(route));
}

TEST_F(LaboratoryService, KeepsTheTwoStepsOfADeviceResetInOrder)
{
   EXPECT_EQ(codeOf([&] { client_->completeDeviceReset("timer1"); }), kNoResetInitiated.number);
   client_->initiateDeviceReset("timer1");
   EXPECT_EQ(codeOf([&] { client_->initiateDeviceReset("timer1"); }), kDeviceInReset.number);
   client_->completeDeviceReset("timer1");
   EXPECT_EQ(codeOf([&] { client_->completeDeviceReset("timer1"); }), kNoResetInitiated.number);
}

TEST_F(LaboratoryService, CompletesTheResetsOfAConnectionThatEnds)
{
   {
      const auto other = connect();
      (*other)->initiateDeviceReset("timer1");
   }
   ASSERT_TRUE(service_.waitForConnectionCount(1));
   EXPECT_THAT(devices(), Contains("timer1"));
}

TEST_F(LaboratoryService, SharesOneStateBetweenItsEndpoints)
{
   const std::string folder = (fs::temp_directory_path() / ownEndpointName()).string();
   const LoopbackAddress address;
   {
      const RoutingService service(
         {.local = true, .endpointDir = folder, .address = address.text()});
      Client remote(Stream::connectTcp(address.text(), service.port()));
      const std::int32_t ticket = remote->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_);
      Client local(Stream::connectLocal("com.zerova", folder));
      EXPECT_NO_THROW(local->reserveRoute(ticket));
      Client immediate(Stream::connectLocal("com.zerova.immediate", folder));
      EXPECT_NO_THROW(immediate->unreserveRoute(ticket));
   }
   EXPECT_FALSE(fs::exists(folder));
}

TEST_F(LaboratoryService, MakesRoutesImmediateOnTheImmediateEndpointUnlessTheySayOtherwise)
{
   const std::string folder = (fs::temp_directory_path() / ownEndpointName()).string();
   const RoutingService service({.local = true, .endpointDir = folder});
   Client immediate(Stream::connectLocal("com.zerova.immediate", folder));
   Client local(Stream::connectLocal("com.zerova", folder));
   const auto destroyRoute = [&](Client& client, const RouteAttributes& attributes) {
      const std::int32_t ticket =
         client->calculateRoute("/matrix1/ch0", "/matrix1/ch1", attributes);
      client->destroyRoute(ticket);
   };
   EXPECT_EQ(codeOf([&] { destroyRoute(immediate, plain_); }), kRouteIsImmediate.number);
   EXPECT_NO_THROW(destroyRoute(local, plain_));
   RouteAttributes attributes;
   attributes.__set_lifetime(RouteLifetime::SESSION);
   EXPECT_NO_THROW(destroyRoute(immediate, attributes));
}

TEST_F(LaboratoryService, LeavesNothingBehindWhenOneOfItsEndpointsIsTaken)
{
   const std::string folder = (fs::temp_directory_path() / ownEndpointName()).string();
   EXPECT_THROW(RoutingService({.local = true,
                                .endpointDir = folder,
                                .address = address_.text(),
                                .port = service_.port()}),
                std::runtime_error);
   EXPECT_FALSE(fs::exists(folder));
}

TEST_F(LaboratoryService, GoesOnAfterAClientThatDoesNotSpeakTheProtocol)
{
   for (const char* bytes : {"\x7F\xFF\xFF\xFF", "\xFF\xFF\xFF\xFF", "\0\0\0\x04\x80\x02\0\x01"}) {
      Stream stream = Stream::connectTcp(address_.text(), service_.port());
      ASSERT_TRUE(writeAll(stream, std::string(bytes, bytes[0] ? 4 : 8)));
      EXPECT_EQ(readToEnd(stream), "");
   }
   EXPECT_NO_THROW(client_->version("1.0"));
}

TEST_F(LaboratoryService, ServesManyClientsAtOnce)
{
   const auto work = [this] {
      const auto connection = connect();
      Client& client = *connection;
      for (int i = 0; i < 50; ++i) {
         const std::int32_t ticket = client->calculateRoute("/matrix1/ch0", "/matrix1/ch1", plain_);
         std::vector<DeviceInfo> devices;
         client->getRouteInfo(devices, ticket);
         EXPECT_THAT(devices, SizeIs(1));
         client->destroyRoute(ticket);
      }
   };
   std::thread threads[8];
   for (std::thread& thread : threads)
      thread = std::thread(work);
   for (std::thread& thread : threads)
      thread.join();
   EXPECT_EQ(service_.routeCount(), 0U);
}

TEST(LocatorReply, NamesThePortForTheServicePathAlone)
{
   const std::string known = locatorReply("GET Trevanta%2FZerova HTTP/1.0\r\n\r\n", 4711);
   EXPECT_THAT(known, HasSubstr("HTTP/1.0 200 OK\r\n"));
   EXPECT_THAT(known, HasSubstr("\r\n\r\nMapping=4711\r\n"));
   EXPECT_EQ(locatorReply("GET /Trevanta/Zerova HTTP/1.0\r\n\r\n", 4711), known);
   for (const char* request :
        {"GET Trevanta%2FOther HTTP/1.0\r\n\r\n", "GET  HTTP/1.0\r\n\r\n",
         "PUT Trevanta%2FZerova HTTP/1.0\r\n\r\n", "\r\n\r\n", "GET x\r\n\r\n"})
      EXPECT_THAT(locatorReply(request, 4711), Not(HasSubstr("="))) << request;
}

TEST(LocatorReply, AnswersOnTheAddressOfTheService)
{
   const LoopbackAddress address;
   const RoutingService service({.address = address.text(), .locatorPort = 3580});
   Stream stream = Stream::connectTcp(address.text(), 3580);
   ASSERT_TRUE(writeAll(stream, "GET Trevanta%2FZerova HTTP/1.0\r\n\r\n"));
   EXPECT_THAT(readToEnd(stream), HasSubstr("Mapping=" + std::to_string(service.port()) + "\r\n"));
}

} // namespace
} // namespace zerova::test
