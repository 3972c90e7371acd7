// The library on a service that keeps real routes.
#include "exports/service_session.h"
#include "lorvex_translator.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Names of the terminals in a container.
std::vector<std::string> namesIn(zerovaapi_TerminalContainer terminals)
{
   std::vector<std::string> names;
   CheckedStatus status;
   for (zerovaapi_Iterator i = zerovaapi_TerminalContainer_begin(terminals);
        !zerovaapi_TerminalIterator_isEnd(terminals, i); zerovaapi_TerminalIterator_next(&i))
   {
      const char* name =
         zerovaapi_TerminalIterator_getStringAttribute(terminals, i, "Name", status);
      names.push_back(name ? name : status.json());
   }
   return names;
}

// The way of a route: each device with a colon, and its terminals behind it.
std::vector<std::string> wayOf(zerovaapi_Session session, int32_t ticket)
{
   std::vector<std::string> way;
   CheckedStatus status;
   const zerovaapi_DeviceContainer devices = zerovaapi_getRouteInfo(session, ticket, status);
   EXPECT_EQ(status.code(), 0) << status.json();
   for (zerovaapi_Iterator i = zerovaapi_DeviceContainer_begin(devices);
        devices && !zerovaapi_DeviceIterator_isEnd(devices, i); zerovaapi_DeviceIterator_next(&i))
   {
      way.push_back(zerovaapi_DeviceIterator_getDeviceName(devices, i) + std::string(":"));
      for (const auto& name : namesIn(zerovaapi_DeviceIterator_getTerminalContainer(devices, i)))
         way.push_back(name);
   }
   zerovaapi_DeviceContainer_destroy(devices);
   return way;
}

// What a translator of its own makes of a failure.
std::string inGerman(const char* json)
{
   CheckedStatus status;
   lorvex_Translator* const translator =
      lorvex_exported_create("dorvex_zerova", R"({"lorvexlua_xlator":"dorvex"})", status);
   if (!translator) return status.json();
   std::string memory;
   const auto allocate = [](void*, size_t length, void* text, quelerr_Status*) {
      static_cast<std::string*>(text)->resize(length);
      return static_cast<std::string*>(text)->data();
   };
   const char* const text = translator->getDynamicDesc(
      translator, json, LORVEX_LANG_AND_ADE(lorvex_languageGerman, lorvex_environmentNone), "json1",
      allocate, &memory, status);
   translator->destroy(translator);
   return text ? text : status.json();
}

TEST_F(RemoteService, TakesARouteThroughAllItsStates)
{
   const int32_t ticket = calculate();
   zerovaapi_reserveRoute(session_, ticket, status_);
   zerovaapi_programRoute(session_, ticket, status_);
   zerovaapi_unprogramRoute(session_, ticket, status_);
   zerovaapi_unreserveRoute(session_, ticket, status_);
   zerovaapi_destroyRoute(session_, ticket, status_);
   EXPECT_EQ(status_.code(), 0) << status_.json();
   EXPECT_EQ(status_.growCalls(), 0);
   EXPECT_EQ(service_->routeCount(), 0u);
}

TEST_F(RemoteService, ReadsTheDevicesOfARoute)
{
   EXPECT_THAT(wayOf(session_, calculate("/timer1/pulse", "/digitizer3/start")),
               ElementsAre("timer1:", "/timer1/pulse", "/timer1/trigger_line0",
                           "digitizer3:", "/digitizer3/trigger_line0", "/digitizer3/start"));
}

TEST_F(RemoteService, ReadsARouteWithoutDevicesAsAnEmptyContainer)
{
   EXPECT_THAT(wayOf(session_, calculate("/matrix1/ch0", "/matrix1/ch0")), IsEmpty());
}

TEST_F(RemoteService, SendsTheAttributesOfARoute)
{
   const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(status_);
   zerovaapi_RouteAttributes_setCalculationTargetState(attributes, zerovaapi_kStateReserved,
                                                       status_);
   zerovaapi_RouteAttributes_setForceMultiDeviceRoute(attributes, true, status_);
   zerovaapi_RouteConstraints_setStringConstraint(
      zerovaapi_RouteAttributes_getConstraints(attributes), "Line", "analog_line1", status_);
   const int32_t ticket =
      zerovaapi_calculateRoute(session_, "/matrix1/ch0", "/matrix1/ch1", attributes, status_);
   zerovaapi_RouteAttributes_destroy(attributes);
   EXPECT_EQ(status_.code(), 0) << status_.json();
   EXPECT_THAT(wayOf(session_, ticket),
               ElementsAre("matrix1:", "/matrix1/ch0", "/matrix1/analog_line1",
                           "scanner2:", "/scanner2/analog_line1", "matrix1:", "/matrix1/ch1"));
   zerovaapi_programRoute(session_, ticket, status_);
   EXPECT_EQ(status_.code(), 0) << "the route came back reserved; " << status_.json();
}

TEST_F(RemoteService, ReadsTheAttributesThatAreAskedFor)
{
   const char* const names[] = {"Name", nullptr};
   const zerovaapi_TerminalContainer some =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session_, "matrix1", names, status_);
   EXPECT_STREQ(zerovaapi_TerminalIterator_getStringAttribute(some, 0, "Name", status_),
                "/matrix1/ch0");
   EXPECT_EQ(status_.code(), 0) << status_.json();
   EXPECT_FALSE(zerovaapi_TerminalIterator_getBoolAttribute(some, 0, "IsSource", status_));
   EXPECT_EQ(status_.code(), -52005);
   zerovaapi_TerminalContainer_destroy(some);
}

TEST_F(RemoteService, ReadsAllAttributesForANullList)
{
   const zerovaapi_TerminalContainer all =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session_, "matrix1", nullptr, status_);
   EXPECT_TRUE(zerovaapi_TerminalIterator_getBoolAttribute(all, 0, "IsSource", status_));
   EXPECT_STREQ(zerovaapi_TerminalIterator_getStringAttribute(all, 0, "Kind", status_), "analog");
   EXPECT_EQ(status_.code(), 0) << status_.json();
   session_.close();
   EXPECT_EQ(namesIn(all).at(1), "/matrix1/ch1") << "a container outlives its session";
   zerovaapi_TerminalContainer_destroy(all);
}

TEST_F(RemoteService, ReadsNoTerminalsOfADeviceWithoutAny)
{
   const zerovaapi_TerminalContainer none =
      zerovaapi_getTerminalNamesAndAttributesForDevice(session_, "lamp4", nullptr, status_);
   EXPECT_EQ(status_.code(), 0) << status_.json();
   EXPECT_TRUE(zerovaapi_TerminalIterator_isEnd(none, zerovaapi_TerminalContainer_begin(none)));
   zerovaapi_TerminalContainer_destroy(none);
}

TEST_F(RemoteService, RefusesWithItsOwnCodeAndTextUnchanged)
{
   const int32_t ticket = calculate();
   zerovaapi_programRoute(session_, ticket, status_);
   EXPECT_EQ(status_.code(), zerova::simulator::kWrongRouteState.number);
   EXPECT_THAT(status_.json(), AllOf(HasSubstr(R"("component":"zerova-simulator")"),
                                     HasSubstr(R"("translator_info":{"ordered_data":[)"),
                                     Not(HasSubstr("zerovaapi"))));
}

TEST_F(RemoteService, GoesOnAfterARefusal)
{
   zerovaapi_reserveRoute(session_, -77, status_);
   EXPECT_EQ(status_.code(), zerova::simulator::kUnknownTicket.number);
   EXPECT_THAT(status_.json(), HasSubstr(R"("ticket":-77)"));
   status_.clear();
   zerovaapi_reserveRoute(session_, calculate(), status_);
   EXPECT_EQ(status_.code(), 0) << status_.json();
}

TEST_F(RemoteService, RefusalReadsAsWordsInTheUsersLanguage)
{
   zerovaapi_calculateRoute(session_, "/matrix1/ch0", "/timer1/gate", nullptr, status_);
   ASSERT_EQ(status_.code(), zerova::simulator::kRouteNotPossible.number);
   EXPECT_THAT(
      inGerman(status_->json),
      AllOf(HasSubstr("Quellanschluss"), HasSubstr("/matrix1/ch0"), HasSubstr("/timer1/gate")));
}

TEST_F(RemoteService, SessionRoutesEndWithTheirSession)
{
   zerovaapi_reserveRoute(session_, calculate(), status_);
   EXPECT_EQ(service_->routeCount(), 1u);
   session_.close();
   ASSERT_TRUE(service_->waitForConnectionCount(0));
   EXPECT_EQ(service_->routeCount(), 0u);
}

TEST_F(RemoteService, ChangeNumberTellsOfADeviceReset)
{
   const int32_t number = zerovaapi_getSystemChangeNumber(session_, status_);
   EXPECT_FALSE(zerovaapi_hasTerminalInformationChanged(session_, number, status_));
   zerovaapi_initiateDeviceReset(session_, "timer1", status_);
   EXPECT_TRUE(zerovaapi_hasTerminalInformationChanged(session_, number, status_));
   zerovaapi_completeDeviceReset(session_, "timer1", status_);
   EXPECT_EQ(status_.code(), 0) << status_.json();
   zerovaapi_completeDeviceReset(session_, "timer1", status_);
   EXPECT_EQ(status_.code(), zerova::simulator::kNoResetInitiated.number);
}

TEST_F(RemoteService, StoppedServiceFailsEachCallAndANewSessionFindsTheNextOne)
{
   service_.reset();
   EXPECT_FALSE(zerovaapi_validateTerminalURI(session_, "/matrix1/ch0", status_));
   EXPECT_EQ(status_.code(), -52024);
   status_.clear();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session_, status_), 0);
   EXPECT_EQ(status_.code(), -52024);
   session_.close();
   startService();
   const ServiceSession next(address_.text());
   CheckedStatus status;
   EXPECT_TRUE(zerovaapi_validateTerminalURI(next, "/matrix1/ch0", status));
   EXPECT_EQ(status.code(), 0) << status.json();
}

TEST_F(RemoteService, SessionsOfManyThreadsDoNotDisturbEachOther)
{
   const auto work = [this] {
      const ServiceSession session(address_.text());
      CheckedStatus status;
      for (int i = 0; i < 20; ++i) {
         const int32_t ticket = zerovaapi_calculateRoute(session, "/timer1/pulse",
                                                         "/digitizer3/start", nullptr, status);
         EXPECT_EQ(wayOf(session, ticket).at(1), "/timer1/pulse");
         zerovaapi_destroyRoute(session, ticket, status);
      }
      EXPECT_EQ(status.code(), 0) << status.json();
   };
   std::thread threads[8];
   for (std::thread& thread : threads)
      thread = std::thread(work);
   for (std::thread& thread : threads)
      thread.join();
   EXPECT_EQ(service_->routeCount(), 0u);
}

TEST_F(RemoteService, ThreadsWithSessionsAndTranslatorsOfTheirOwnRunAtOnce)
{
   const auto work = [this](const std::string& terminal) {
      for (int i = 0; i < 5; ++i) {
         const ServiceSession session(address_.text()); // resolves the host, twice
         CheckedStatus status;
         zerovaapi_calculateRoute(session, terminal.c_str(), "/timer1/gate", nullptr, status);
         EXPECT_EQ(status.code(), zerova::simulator::kRouteNotPossible.number) << status.json();
         EXPECT_THAT(inGerman(status->json), HasSubstr(terminal));
      }
   };
   std::vector<std::thread> threads;
   for (const int channel : {0, 1, 2, 3, 0, 1, 2, 3})
      threads.emplace_back(work, "/matrix1/ch" + std::to_string(channel));
   for (std::thread& thread : threads)
      thread.join();
}

} // namespace
