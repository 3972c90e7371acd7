// Every operation that asks the service: it sends what the function in C sends, gives what that
// gives, and tells each kind of failure.
#include "exports/peer_session.h"
#include "exports/service_calls.h"
#include "service/wire_bytes.h"
#include "zerovaapi.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace {

using namespace zerova::test;
using zerovaapi::Error;
using zerovaapi::OnFailure;
using zerovaapi::Route;
using zerovaapi::Session;
using zerovaapi::Status;

constexpr int32_t kTicket = -559038737; // as in service_calls.cpp

std::string tell(bool flag)
{
   return flag ? "true" : "false";
}
std::string tell(int32_t number)
{
   return std::to_string(number);
}
std::string tell(const zerovaapi::TerminalRange& terminals)
{
   std::string told;
   for (const auto terminal : terminals)
      told += terminal.text("Name")->str() + " " + tell(*terminal.flag("IsSource")) + ";";
   return told;
}

using Operation = std::function<std::string(Session&, OnFailure)>;

// What step does to a route; nothing takes it back.
Operation onRoute(Route& (Route::*step)(OnFailure))
{
   return [step](Session& session, OnFailure onFailure) {
      Route route = session.route(kTicket);
      (route.*step)(onFailure);
      route.release();
      return std::string();
   };
}
Operation onTexts(void (Session::*call)(zerovaapi::Text, OnFailure), const char* text)
{
   return [=](Session& session, OnFailure onFailure) {
      (session.*call)(text, onFailure);
      return std::string();
   };
}
Operation onTexts(void (Session::*call)(zerovaapi::Text, zerovaapi::Text, OnFailure),
                  const char* first, const char* second)
{
   return [=](Session& session, OnFailure onFailure) {
      (session.*call)(first, second, onFailure);
      return std::string();
   };
}

const std::map<std::string, Operation>& operations()
{
   static const std::map<std::string, Operation> kOperations = {
      {"calculateRoute",
       [](Session& s, OnFailure f) { return tell(s.calculate("dev1/a", "dev1/b", f).release()); }},
      {"reserveRoute", onRoute(&Route::reserve)},
      {"programRoute", onRoute(&Route::program)},
      {"unprogramRoute", onRoute(&Route::unprogram)},
      {"unreserveRoute", onRoute(&Route::unreserve)},
      {"destroyRoute",
       [](Session& s, OnFailure f) {
          Route route = s.route(kTicket);
          route.end(f);
          route.release();
          return std::string();
       }},
      {"destroyImmediateRoute", onTexts(&Session::destroyImmediateRoute, "dev1/a", "dev1/b")},
      {"destroyImmediateRoutesOnDevice", onTexts(&Session::destroyImmediateRoutesOnDevice, "dev1")},
      {"destroyImmediateRoutesFromSource",
       onTexts(&Session::destroyImmediateRoutesFromSource, "dev1/a")},
      {"destroyImmediateRoutesToDest", onTexts(&Session::destroyImmediateRoutesToDest, "dev1/b")},
      {"getRouteInfo",
       [](Session& s, OnFailure f) {
          Route route = s.route(kTicket);
          zerovaapi::Devices devices = route.devices(f);
          route.release();
          std::string told;
          for (const auto device : devices)
             told += device.name().str() + ": " + tell(device.terminals());
          return told.empty() ? "null" : told;
       }},
      {"getSystemChangeNumber",
       [](Session& s, OnFailure f) { return tell(s.systemChangeNumber(f)); }},
      {"hasTerminalInformationChanged",
       [](Session& s, OnFailure f) { return tell(s.hasTerminalInformationChanged(-2, f)); }},
      {"getRoutableDevices",
       [](Session& s, OnFailure f) {
          std::string told;
          for (const auto& name : s.devices(f))
             told += name.str() + ";";
          return told.empty() ? "null" : told;
       }},
      {"getTerminalNamesAndAttributesForDevice",
       [](Session& s, OnFailure f) {
          const auto terminals = s.terminals("dev1", {"Name", "IsSource"}, f);
          return terminals.handle() ? tell(terminals.range()) : "null";
       }},
      {"resetTerminal", onTexts(&Session::resetTerminal, "dev1/a", "soft")},
      {"calculateResetTerminal",
       [](Session& s, OnFailure f) { return tell(s.calculateResetTerminal("dev1/a", "soft", f)); }},
      {"initiateDeviceReset", onTexts(&Session::initiateDeviceReset, "dev1")},
      {"completeDeviceReset", onTexts(&Session::completeDeviceReset, "dev1")},
      {"isDebug", [](Session& s, OnFailure f) { return tell(s.isDebug(f)); }},
      {"validateTerminalURI",
       [](Session& s, OnFailure f) { return tell(s.validateTerminalURI("dev1/a", f)); }},
      {"areTerminalURIsEqual",
       [](Session& s, OnFailure f) { return tell(s.areTerminalURIsEqual("dev1/a", "dev1/b", f)); }},
   };
   return kOperations;
}

class CppCall : public testing::TestWithParam<ServiceCall>
{
protected:
   const ServiceCall& call = GetParam();
   const Operation& operation = operations().at(call.method);
};
INSTANTIATE_TEST_SUITE_P(Of, CppCall, testing::ValuesIn(serviceCalls()),
                         [](const auto& of) { return of.param.method; });

TEST_P(CppCall, SendsAndGivesWhatTheFunctionInCDoes)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   EXPECT_EQ(operation(session, {}), call.success);
   const auto frames = peer.service().frames();
   ASSERT_EQ(frames.size(), 2u);
   EXPECT_EQ(frames[1], call.request);
}

TEST_P(CppCall, BrokenConnectionIsThrown)
{
   RemotePeer peer(Script().acceptVersion().receive().close());
   Session session = Session::remote(peer.host());
   try {
      operation(session, {});
      FAIL() << "nothing was thrown";
   } catch (const Error& error) {
      EXPECT_EQ(error.code(), zerovaapi::kConnectionFailed);
   }
}

TEST_P(CppCall, IsNotMadeWhileTheStatusHoldsAFailure)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   for (const int32_t code : {-5, 0, 5}) {
      Status status;
      status.fail(code, "", nullptr);
      EXPECT_EQ(operation(session, status), call.failure);
      EXPECT_EQ(status.code(), code);
   }
   EXPECT_EQ(peer.service().frames().size(), 1u) << "the version alone";
}

TEST_P(CppCall, OnAClosedSessionIsThrown)
{
   Session session;
   try {
      operation(session, {});
      FAIL() << "nothing was thrown";
   } catch (const Error& error) {
      EXPECT_EQ(error.code(), zerovaapi::kInvalidParameter);
   }
}

TEST(CppCalls, AreThoseOfTheInterface)
{
   for (const ServiceCall& call : serviceCalls())
      EXPECT_EQ(operations().count(call.method), 1u) << call.method;
}

TEST(CppCalls, RetiredOneAlwaysFailsAndSendsNothing)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   Status status;
   session.destroyAllImmediateRoutes(status);
   EXPECT_EQ(status.code(), -52002);
   EXPECT_EQ(peer.service().frames().size(), 1u) << "the version alone";
}

} // namespace
