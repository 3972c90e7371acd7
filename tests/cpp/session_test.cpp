// How a failure reaches a program, and what becomes of a session that is closed or moved from.
#include "exports/peer_session.h"
#include "service/loopback_address.h"
#include "service/routing_service.h"
#include "service/wire_bytes.h"
#include "tools/simulator/error_codes.h"
#include "zerovaapi.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using namespace zerova::test;
using testing::HasSubstr;
using testing::StartsWith;
using zerovaapi::Error;
using zerovaapi::Session;
using zerovaapi::Status;

// What call throws; a failure of the test if it throws nothing.
template <typename Call>
std::optional<Error> errorOf(Call call)
{
   try {
      call();
   } catch (const Error& error) {
      return error;
   }
   ADD_FAILURE() << "nothing was thrown";
   return std::nullopt;
}

// A service that answers the version with code and a text, and every other call plainly.
Script refusing(std::string method, int32_t code)
{
   return Script().answerAll([=](const std::string& frame) {
      const std::string asked = methodOf(frame);
      return asked == method ? statusReply(asked, code, R"({"why":"busy"})") : plainReply(asked);
   });
}

TEST(CppSession, IsOpenUntilItIsClosed)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   EXPECT_TRUE(session);
   EXPECT_NE(session.handle(), nullptr);
   session.close();
   EXPECT_FALSE(session);
   session.close();
   EXPECT_EQ(session.handle(), nullptr);
}

TEST(CppSession, TakesOverOneThatWasMadeInC)
{
   RemotePeer peer(answeringPlainly());
   quelerr_Status record;
   quelerr_heapStatus_init(&record);
   Session session(zerovaapi_createRemoteSession(peer.host().c_str(), &record));
   EXPECT_TRUE(session.validateTerminalURI("/a/b"));
   quelerr_heapStatus_release(&record);
}

class CppRefusedSession : public testing::TestWithParam<int32_t>
{
};
INSTANTIATE_TEST_SUITE_P(With, CppRefusedSession, testing::Values(-77, 0, 7), [](const auto& of) {
   return of.param < 0 ? "Error" : of.param > 0 ? "Warning" : "Zero";
});

TEST_P(CppRefusedSession, IsThrownWithItsCode)
{
   RemotePeer peer(refusing("version", GetParam()));
   const auto error = errorOf([&] { Session::remote(peer.host()); });
   ASSERT_TRUE(error);
   EXPECT_EQ(error->code(), GetParam());
   EXPECT_STREQ(error->json(), GetParam() == 0 ? "" : R"({"why":"busy"})");
}

TEST_P(CppRefusedSession, IsToldToTheStatus)
{
   RemotePeer peer(refusing("version", GetParam()));
   Status status;
   const Session session = Session::remote(peer.host(), status);
   EXPECT_FALSE(session);
   EXPECT_TRUE(status.failed());
   EXPECT_EQ(status.code(), GetParam());
   EXPECT_STREQ(status.json(), GetParam() == 0 ? "" : R"({"why":"busy"})");
}

TEST(CppFailure, PositiveCodeOfACallIsThrown)
{
   RemotePeer peer(refusing("getSystemChangeNumber", 7));
   Session session = Session::remote(peer.host());
   const auto error = errorOf([&] { session.systemChangeNumber(); });
   ASSERT_TRUE(error);
   EXPECT_EQ(error->code(), 7);
   EXPECT_TRUE(session.hasTerminalInformationChanged(1)) << "the session goes on working";
}

TEST(CppFailure, PositiveCodeEndsAChainAsAnErrorDoes)
{
   RemotePeer peer(refusing("getSystemChangeNumber", 7));
   Session session = Session::remote(peer.host());
   Status status;
   EXPECT_EQ(session.systemChangeNumber(status), 0);
   EXPECT_FALSE(session.validateTerminalURI("/a/b", status));
   session.resetTerminal("/a/b", "disconnect", status);
   EXPECT_EQ(status.code(), 7);
   EXPECT_EQ(peer.service().frames().size(), 2u) << "the version and the one call that was refused";
}

TEST(CppFailure, ContainerThatIsRefusedWithZeroIsThrown)
{
   RemotePeer peer(refusing("getRoutableDevices", 0));
   Session session = Session::remote(peer.host());
   const auto error = errorOf([&] { session.devices(); });
   ASSERT_TRUE(error);
   EXPECT_EQ(error->code(), 0);
   EXPECT_STREQ(error->what(), "status 0");
}

TEST(CppFailure, ClearedStatusIsUsedAgain)
{
   RemotePeer peer(refusing("getRoutableDevices", 0));
   Session session = Session::remote(peer.host());
   Status status;
   EXPECT_TRUE(session.devices(status).empty());
   EXPECT_TRUE(status.failed());
   status.clear();
   EXPECT_TRUE(session.validateTerminalURI("/a/b", status));
   EXPECT_FALSE(status.failed());
}

TEST(CppFailure, IsToldInFullByWhat)
{
   RemotePeer peer(refusing("version", -77));
   const auto error = errorOf([&] { Session::remote(peer.host()); });
   ASSERT_TRUE(error);
   EXPECT_STREQ(error->what(), R"(status -77: {"why":"busy"})");
}

TEST(CppFailure, CopyOfAnErrorKeepsItsTextWhenTheFirstIsGone)
{
   std::optional<Error> copy;
   {
      RemotePeer peer(refusing("version", -77));
      copy = errorOf([&] { Session::remote(peer.host()); });
   }
   const Error again = *copy;
   copy.reset();
   EXPECT_STREQ(again.json(), R"({"why":"busy"})");
}

TEST(CppFailure, BrokenConnectionIsThrownAndTheSessionStaysUsableForNothing)
{
   RemotePeer peer(Script().acceptVersion().close());
   Session session = Session::remote(peer.host());
   for (int call = 0; call < 2; ++call) {
      const auto error = errorOf([&] { session.isDebug(); });
      ASSERT_TRUE(error);
      EXPECT_EQ(error->code(), zerovaapi::kConnectionFailed);
      EXPECT_THAT(error->json(), HasSubstr("Thrift::TTransportException"));
   }
}

TEST(CppFailure, MovedStatusTakesTheFailureAlong)
{
   Status status;
   Session().systemChangeNumber(status);
   const Status taken = std::move(status);
   EXPECT_EQ(taken.code(), zerovaapi::kInvalidParameter);
   EXPECT_THAT(taken.json(), HasSubstr("closed"));
   EXPECT_FALSE(status.failed()); // NOLINT(bugprone-use-after-move): usable again
   Status other;
   other = Status();
   EXPECT_FALSE(other.failed());
}

TEST(CppFailure, StatusKeepsNoTextOfAnEarlierFailure)
{
   RemotePeer peer(refusing("getSystemChangeNumber", -77));
   Session session = Session::remote(peer.host());
   Status status;
   session.systemChangeNumber(status);
   status.clear();
   EXPECT_STREQ(status.json(), "");
   status.fail(-5, "", nullptr);
   EXPECT_STREQ(status.json(), "{}");
}

TEST(CppWrongUse, CallOnAClosedSessionFailsAndIsNoCrash)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   session.close();
   const auto error = errorOf([&] { session.devices(); });
   ASSERT_TRUE(error);
   EXPECT_EQ(error->code(), zerovaapi::kInvalidParameter);
   EXPECT_THAT(error->json(),
               StartsWith(R"({"error_constant":"nTamrixS100::tStatus::kInvalidParameter",)"));
   EXPECT_THAT(error->json(), HasSubstr("The session is closed or was moved from."));
}

TEST(CppWrongUse, CallOnASessionThatWasMovedFromFails)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   Session taken = std::move(session);
   EXPECT_TRUE(taken.validateTerminalURI("/a/b"));
   // NOLINTNEXTLINE(bugprone-use-after-move)
   const auto error = errorOf([&] { session.validateTerminalURI("/a/b"); });
   ASSERT_TRUE(error);
   EXPECT_EQ(error->code(), zerovaapi::kInvalidParameter);
}

TEST(CppWrongUse, AssignedSessionClosesTheOneThatItHeld)
{
   LoopbackAddress address;
   const zerova::test::RoutingService service({.address = address.text(), .locatorPort = 3580});
   Session session = Session::remote(address.text());
   EXPECT_TRUE(session);
   session = Session::remote(address.text());
   EXPECT_TRUE(service.waitForConnectionCount(1));
   EXPECT_FALSE(session.isDebug());
}

TEST(CppWrongUse, TextThatIsNullOrHasANulInsideFailsAndSendsNothing)
{
   RemotePeer peer(answeringPlainly());
   Session session = Session::remote(peer.host());
   const char* const none = nullptr;
   const std::string cut("/timer1\0/pulse", 14);
   const auto ofNull = errorOf([&] { session.validateTerminalURI(none); });
   const auto ofCut = errorOf([&] { session.areTerminalURIsEqual("/a/b", cut); });
   const auto ofName = errorOf([&] { session.terminals("a", {"Name", none}); });
   const auto ofHost = errorOf([&] { Session::remote(none); });
   ASSERT_TRUE(ofNull && ofCut && ofName && ofHost);
   EXPECT_EQ(ofNull->code(), zerovaapi::kInvalidParameter);
   EXPECT_THAT(ofNull->json(), HasSubstr("A text is null."));
   EXPECT_THAT(ofCut->json(), HasSubstr("A text has a NUL inside."));
   EXPECT_THAT(ofName->json(), HasSubstr("A text is null."));
   EXPECT_EQ(peer.service().frames().size(), 1u) << "the version alone";
}

TEST(CppText, IsPrintedComparedAndTurnedIntoAView)
{
   const zerovaapi::Text text = "timer1";
   std::ostringstream out;
   out << text;
   EXPECT_EQ(out.str(), "timer1");
   EXPECT_EQ(text, "timer1");
   EXPECT_EQ(text, std::string("timer1"));
   EXPECT_TRUE(text != "timer2" && text < "timer2");
   EXPECT_EQ(std::string_view(text).size(), 6u);
   EXPECT_EQ(text.str(), "timer1");
   const char* const none = nullptr;
   EXPECT_STREQ(zerovaapi::Text(none).c_str(), "");
}

} // namespace
