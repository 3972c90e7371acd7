// What holds for every exported function that asks the service.
#include "exports/peer_session.h"
#include "exports/service_calls.h"
#include "service/checked_status.h"
#include "service/wire_bytes.h"
#include "support/matches_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kWarning = R"({"warning":"kept"})";
constexpr const char* kError = R"({"error":"first"})";

// The text of a failed connection or protocol, up to the pair of the exception.
constexpr const char* kFaultLead =
   R"({"error_constant":"nTamrixS100::tStatus::kCommunicationsFault",)"
   R"("file":"source\\zerovaapi\\api","line":)";

std::string reply(const std::string& method, const WireBytes& fields = {})
{
   return WireBytes().message(wire::kReply, method).raw(fields.bytes()).stop().frame();
}

bool hasResult(const ServiceCall& call)
{
   return !call.success.empty();
}

class EveryCall : public testing::TestWithParam<ServiceCall>
{
protected:
   const ServiceCall& call = GetParam();
};

// Those to which the service can answer with a status of its own.
class EveryCallWithAStatus : public EveryCall
{
};

std::vector<ServiceCall> callsWithAStatus()
{
   std::vector<ServiceCall> calls = serviceCalls();
   std::erase_if(calls, [](const ServiceCall& call) { return call.method == "isDebug"; });
   return calls;
}

std::string nameOf(const testing::TestParamInfo<ServiceCall>& info)
{
   return info.param.method;
}

INSTANTIATE_TEST_SUITE_P(All, EveryCall, testing::ValuesIn(serviceCalls()), nameOf);
INSTANTIATE_TEST_SUITE_P(All, EveryCallWithAStatus, testing::ValuesIn(callsWithAStatus()), nameOf);

TEST_P(EveryCall, SendsExactlyItsRequestAndGivesTheResult)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_THAT(session.requests(), ElementsAre(call.request));
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(status.growCalls(), 0);
}

TEST_P(EveryCall, WithAnErrorInTheStatusNothingIsSentAndNothingChanges)
{
   PeerSession session(answeringPlainly());
   CheckedStatus failed(-5, kError);
   EXPECT_EQ(call.call(session, failed), call.failure);
   EXPECT_EQ(failed.code(), -5);
   EXPECT_EQ(failed.json(), kError);
   CheckedStatus clean;
   call.call(session, clean);
   EXPECT_THAT(session.requests(), ElementsAre(call.request)); // that of the second call
}

TEST_P(EveryCall, WarningStopsNothingAndSurvivesSuccess)
{
   PeerSession session(answeringPlainly());
   CheckedStatus status(5, kWarning);
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(status.code(), 5);
   EXPECT_EQ(status.json(), kWarning);
}

TEST_P(EveryCall, WarningIsReplacedByAFailureAndItsText)
{
   PeerSession session(answering(exceptionReply(call.method, 6, "broken")));
   CheckedStatus status(5, kWarning);
   EXPECT_EQ(call.call(session, status), call.failure);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_THAT(status.json(), StartsWith(kFaultLead));
}

TEST_P(EveryCall, ApplicationExceptionIsAFaultAndTheSessionGoesOn)
{
   const std::string broken = exceptionReply(call.method, 6, "broken");
   PeerSession session(Script()
                          .acceptVersion()
                          .answer([broken](const std::string&) { return broken; })
                          .answer([](const std::string& f) { return plainReply(methodOf(f)); }));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.failure);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_THAT(status.json(), StartsWith(kFaultLead));
   EXPECT_THAT(status.json(),
               HasSubstr(R"(,"component":"zerovaapi","Thrift::TApplicationException":"broken"})"));
   status.clear();
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(status.code(), 0);
}

TEST_P(EveryCall, EmptyReplyIsSuccessOnlyWithoutAResult)
{
   PeerSession session(answering(reply(call.method)));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.failure);
   EXPECT_EQ(status.code(), hasResult(call) ? -52024 : 0);
   if (hasResult(call)) {
      EXPECT_THAT(status.json(), HasSubstr(R"("Thrift::TApplicationException":")" + call.method +
                                           R"( failed: unknown result"})"));
   }
}

TEST_P(EveryCall, FieldsOfWrongTypesAndUnknownFieldsAreSkipped)
{
   WireBytes fields;
   fields.textField(0, "no result").i32Field(1, -5).textField(7, "unknown");
   fields.field(wire::kMap, 8).mapHeader(wire::kString, wire::kList, 1);
   fields.text("k").listHeader(wire::kBool, 2).byte(0).byte(1);
   PeerSession session(answering(reply(call.method, fields)));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.failure);
   EXPECT_EQ(status.code(), hasResult(call) ? -52024 : 0);
}

TEST_P(EveryCall, StrayRepliesAreSkippedAndTheNextWholeMessageIsTheReply)
{
   const std::string right = plainReply(call.method);
   PeerSession session(answering(textListReply("another", {"a", "b"}) + right));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(call.call(session, status), call.success);
}

TEST_P(EveryCall, CallMessageIsSkippedAndTheNextWholeMessageIsTheReply)
{
   WireBytes stray;
   stray.message(wire::kCall, call.method).i32Field(0, 99).textField(1, "x").stop();
   PeerSession session(answering(stray.frame() + plainReply(call.method)));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(status.code(), 0);
}

TEST_P(EveryCall, SequenceIdOfTheReplyIsNotLookedAt)
{
   std::string seventh = plainReply(call.method);
   seventh[4 + 4 + 4 + call.method.size() + 3] = 7; // behind both lengths and the version word
   PeerSession session(answering(seventh));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(status.code(), 0);
}

TEST_P(EveryCall, HeaderWithoutAVersionWordIsAccepted)
{
   const std::string strict = plainReply(call.method);
   const std::size_t body = 4 + 4 + 4 + call.method.size() + 4;
   WireBytes old;
   old.messageWithoutVersion(wire::kReply, call.method).raw(strict.substr(body));
   PeerSession session(answering(old.frame()));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(status.code(), 0);
}

// The service ends the connection behind each byte of the reply in turn.
TEST_P(EveryCall, ReplyThatIsCutAnywhereIsACommunicationsFault)
{
   const std::string whole = plainReply(call.method);
   std::vector<Script> scripts;
   for (std::size_t length = 0; length < whole.size(); ++length)
      scripts.push_back(sendingOnce(whole, length));
   RemotePeer peer(scripts);
   for (std::size_t length = 0; length < whole.size(); ++length) {
      SCOPED_TRACE(length);
      CheckedStatus status;
      const zerovaapi_Session session = zerovaapi_createRemoteSession(peer.host().c_str(), status);
      ASSERT_NE(session, nullptr) << status.json();
      EXPECT_EQ(call.call(session, status), call.failure);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_THAT(status.json(), StartsWith(kFaultLead));
      const bool inLength = length > 0 && length < 4;
      EXPECT_THAT(status.json(),
                  HasSubstr(inLength
                               ? R"("Thrift::TTransportException":)"
                                 R"("No more data to read after partial frame header."})"
                               : R"("Thrift::TTransportException":"No more data to read."})"));
      status.clear();
      EXPECT_EQ(call.call(session, status), call.failure);
      EXPECT_EQ(status.code(), -52024);
      zerovaapi_destroySession(session);
   }
}

TEST_P(EveryCall, ConnectionThatIsResetIsACommunicationsFault)
{
   PeerSession session(Script().acceptVersion().receive().reset());
   for (int i = 0; i < 3; ++i) {
      CheckedStatus status;
      EXPECT_EQ(call.call(session, status), call.failure);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_THAT(status.json(), HasSubstr(R"("Thrift::TTransportException":")"));
   }
}

TEST_P(EveryCall, GarbageIsACommunicationsFault)
{
   const std::vector<std::string> garbage = {
      WireBytes().raw("garbage garbage garbage garbage").frame(), // a name of 1.7 GB
      WireBytes().i32(static_cast<int32_t>(0x80020002u)).text(call.method).frame(), // version 2
      WireBytes().i32(static_cast<int32_t>(0xFFFFFFFFu)).frame(),
      WireBytes().message(wire::kReply, call.method).byte(99).frame(), // no such type
      WireBytes().message(wire::kReply, call.method).field(wire::kString, 5).i32(-1).frame(),
      WireBytes().frame(), // an empty frame
      WireBytes().frameAnnouncing(-1),
      WireBytes().frameAnnouncing(16384001),
      "HTTP/1.0 400 Bad Request\r\n\r\n",
   };
   for (const std::string& bytes : garbage) {
      SCOPED_TRACE(testing::PrintToString(bytes));
      PeerSession session(sendingOnce(bytes));
      CheckedStatus status;
      EXPECT_EQ(call.call(session, status), call.failure);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_THAT(status.json(),
                  MatchesPattern(R"(.*,"Thrift::T(Transport|Protocol)Exception":".+"\})"));
   }
}

// A caller's resize may refuse at any call; the watchful status tells when a text does not parse.
TEST_P(EveryCall, RefusedBufferLosesTextButNeverTheCode)
{
   const std::string longText = "long " + std::string(1500, 'J');
   PeerSession session(answering(exceptionReply(call.method, 6, longText)));
   CheckedStatus undisturbed;
   call.call(session, undisturbed);
   ASSERT_EQ(undisturbed.code(), -52024);
   ASSERT_GT(undisturbed.growCalls(), 2);
   for (int n = 1; n <= undisturbed.growCalls(); ++n) {
      SCOPED_TRACE(n);
      CheckedStatus status;
      status.refuseFrom(n);
      EXPECT_EQ(call.call(session, status), call.failure);
      EXPECT_EQ(status.code(), -52024);
      EXPECT_EQ(status.json().find(longText), std::string::npos);
   }
}

TEST_P(EveryCallWithAStatus, ServiceFailurePassesThroughUnchangedAndTheSessionGoesOn)
{
   const std::string refusal = statusReply(call.method, -1, "{}");
   PeerSession session(Script()
                          .acceptVersion()
                          .answer([refusal](const std::string&) { return refusal; })
                          .answer([](const std::string& f) { return plainReply(methodOf(f)); }));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.failure);
   EXPECT_EQ(status.code(), -1);
   EXPECT_EQ(status.json(), "{}");
   status.clear();
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(status.code(), 0);
}

TEST_P(EveryCallWithAStatus, ServiceWarningIsAWarning)
{
   PeerSession session(answering(statusReply(call.method, 12, R"({"a":[1,null]})")));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.failure);
   EXPECT_EQ(status.code(), 12);
   EXPECT_EQ(status.json(), R"({"a":[1,null]})");
}

TEST_P(EveryCallWithAStatus, ServiceStatusOfCodeZeroLeavesTheStatusClean)
{
   PeerSession session(answering(statusReply(call.method, 0, R"({"a":1})")));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.failure);
   EXPECT_EQ(status.code(), 0);
   EXPECT_FALSE(status.hasText());
}

TEST_P(EveryCallWithAStatus, ResultBesideAStatusWins)
{
   if (!hasResult(call)) return; // nothing to win: a status is all that such a reply can hold
   std::string frame = plainReply(call.method);
   WireBytes both;
   both.raw(frame.substr(4, frame.size() - 5)); // without the length and the last stop
   both.field(wire::kStruct, 1).i32Field(1, -5).textField(2, "{}").stop().stop();
   PeerSession session(answering(both.frame()));
   CheckedStatus status;
   EXPECT_EQ(call.call(session, status), call.success);
   EXPECT_EQ(status.code(), 0);
}

std::string lineIn(const std::string& json)
{
   const std::string key = R"("line":)";
   const std::size_t at = json.find(key);
   if (at == std::string::npos) return "none";
   return json.substr(at + key.size(), json.find(',', at) - at - key.size());
}

TEST(Lines, AreOneForEachFunctionWhateverFailed)
{
   std::set<std::string> lines;
   for (const ServiceCall& call : serviceCalls()) {
      SCOPED_TRACE(call.method);
      PeerSession session(Script()
                             .acceptVersion()
                             .receive()
                             .send(exceptionReply(call.method, 6, "broken"))
                             .receive()
                             .close());
      CheckedStatus application;
      call.call(session, application);
      CheckedStatus transport;
      call.call(session, transport);
      EXPECT_THAT(application.json(), HasSubstr("TApplicationException"));
      EXPECT_THAT(transport.json(), HasSubstr("TTransportException"));
      EXPECT_EQ(lineIn(application.json()), lineIn(transport.json()));
      lines.insert(lineIn(application.json()));
   }
   EXPECT_EQ(lines.count("none"), 0u);
   EXPECT_EQ(lines.size(), serviceCalls().size());
}

} // namespace
