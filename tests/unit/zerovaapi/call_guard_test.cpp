#include "source/zerovaapi/call_guard.h"

#include "service/checked_status.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace zerova;
using apache::thrift::TApplicationException;
using apache::thrift::protocol::TProtocolException;
using apache::thrift::transport::TTransportException;
using test::CheckedStatus;

constexpr GuardSite kCall{255, kCommunicationsFault};
constexpr GuardSite kConnect{99, kServiceNotAvailable};
constexpr int kFailure = -1;

// What a document of the library begins with; the reporter's own pair follows.
std::string document(const std::string& constant, int line, const std::string& pair = "")
{
   return R"({"error_constant":")" + constant + R"(","file":"source\\zerovaapi\\api","line":)" +
          std::to_string(line) + R"(,"component":"zerovaapi")" + pair + "}";
}

template <typename Exception>
int throwInGuard(quelerr_Status* status, GuardSite site, const Exception& exception)
{
   return guarded(status, site, kFailure, [&]() -> int { throw exception; });
}

ThriftStatus serviceFailure(int32_t code, const std::string& description)
{
   ThriftStatus failure;
   failure.__set_code(code);
   failure.__set_description(description);
   return failure;
}

class DerivedTransportException : public TTransportException
{
public:
   DerivedTransportException()
      : TTransportException(INTERNAL_ERROR)
   {
   }
   const char* what() const noexcept override { return "Server isn't trusted!"; }
};

TEST(CallGuard, ReturnsWhatTheBodyReturnsAndLeavesTheStatusAlone)
{
   CheckedStatus status;
   EXPECT_EQ(guarded(status, kCall, kFailure, [] { return 7; }), 7);
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(status.growCalls(), 0);
}

TEST(CallGuard, WithAnErrorOnEntryTheBodyDoesNotRun)
{
   CheckedStatus status(-5, R"({"a":1})");
   bool ran = false;
   EXPECT_EQ(guarded(status, kCall, kFailure,
                     [&] {
                        ran = true;
                        return 7;
                     }),
             kFailure);
   guarded(status, kCall, [&] { ran = true; });
   EXPECT_FALSE(ran);
   EXPECT_EQ(status.code(), -5);
   EXPECT_EQ(status.json(), R"({"a":1})");
}

TEST(CallGuard, WithAWarningOnEntryTheBodyRunsAndTheWarningStays)
{
   CheckedStatus status(5, R"({"a":1})");
   EXPECT_EQ(guarded(status, kCall, kFailure, [] { return 7; }), 7);
   EXPECT_EQ(status.code(), 5);
   EXPECT_EQ(status.json(), R"({"a":1})");
}

TEST(CallGuard, WithoutTheLookOnEntryTheBodyRunsOnAnError)
{
   CheckedStatus status(-5, "{}");
   EXPECT_EQ(caught(status, kCall, kFailure, [] { return 7; }), 7);
}

TEST(CallGuard, ServiceFailurePassesCodeAndTextThroughUnchanged)
{
   CheckedStatus status;
   EXPECT_EQ(throwInGuard(status, kCall, serviceFailure(-1, "{}")), kFailure);
   EXPECT_EQ(status.code(), -1);
   EXPECT_EQ(status.json(), "{}");
}

TEST(CallGuard, ServiceFailureOfCodeZeroOnACleanStatusDoesNothing)
{
   CheckedStatus status;
   EXPECT_EQ(throwInGuard(status, kCall, serviceFailure(0, R"({"a":1})")), kFailure);
   EXPECT_EQ(status.code(), 0);
   EXPECT_FALSE(status.hasText());
}

TEST(CallGuard, ServiceWarningIsKeptAsAWarning)
{
   CheckedStatus status;
   EXPECT_EQ(throwInGuard(status, kCall, serviceFailure(12, R"({"a":1})")), kFailure);
   EXPECT_EQ(status.code(), 12);
   EXPECT_EQ(status.json(), R"({"a":1})");
}

TEST(CallGuard, SecondServiceWarningDoesNotTouchTheFirst)
{
   CheckedStatus status(5, R"({"first":1})");
   throwInGuard(status, kCall, serviceFailure(12, R"({"second":1})"));
   EXPECT_EQ(status.code(), 5);
   EXPECT_EQ(status.json(), R"({"first":1})");
}

TEST(CallGuard, ApplicationExceptionIsACommunicationsFault)
{
   CheckedStatus status;
   const TApplicationException e(TApplicationException::MISSING_RESULT, "no \"result\"");
   EXPECT_EQ(throwInGuard(status, kCall, e), kFailure);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_EQ(status.json(), document("nTamrixS100::tStatus::kCommunicationsFault", 255,
                                     R"(,"Thrift::TApplicationException":"no \"result\"")"));
}

TEST(CallGuard, TransportExceptionIsACommunicationsFault)
{
   CheckedStatus status;
   const TTransportException e(TTransportException::END_OF_FILE, "No more data to read.");
   EXPECT_EQ(throwInGuard(status, kCall, e), kFailure);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_EQ(status.json(), document("nTamrixS100::tStatus::kCommunicationsFault", 255,
                                     R"(,"Thrift::TTransportException":"No more data to read.")"));
}

TEST(CallGuard, ClassDerivedFromTransportExceptionEndsInItsClause)
{
   CheckedStatus status;
   throwInGuard(status, kCall, DerivedTransportException());
   EXPECT_EQ(status.code(), -52024);
   EXPECT_EQ(status.json(), document("nTamrixS100::tStatus::kCommunicationsFault", 255,
                                     R"(,"Thrift::TTransportException":"Server isn't trusted!")"));
}

TEST(CallGuard, ProtocolExceptionIsACommunicationsFault)
{
   CheckedStatus status;
   EXPECT_EQ(throwInGuard(status, kCall, TProtocolException(TProtocolException::NEGATIVE_SIZE)),
             kFailure);
   EXPECT_EQ(status.code(), -52024);
   EXPECT_EQ(status.json(),
             document("nTamrixS100::tStatus::kCommunicationsFault", 255,
                      R"(,"Thrift::TProtocolException":"TProtocolException: Negative size")"));
}

TEST(CallGuard, ExceptionThatIsAStatusIsAdopted)
{
   CheckedStatus source(-52006, R"({"reason":"gone"})");
   CheckedStatus status;
   EXPECT_EQ(throwInGuard(status, kCall, quelerr::ExceptionBase(*source.operator->())), kFailure);
   EXPECT_EQ(status.code(), -52006);
   EXPECT_EQ(status.json(), R"({"reason":"gone"})");
}

TEST(CallGuard, ExceptionThatIsAStatusLosesToAnEarlierError)
{
   CheckedStatus source(-52006, R"({"reason":"gone"})");
   CheckedStatus status(-5, R"({"a":1})");
   caught(status, kCall, kFailure,
          [&]() -> int { throw quelerr::ExceptionBase(*source.operator->()); });
   EXPECT_EQ(status.code(), -5);
   EXPECT_EQ(status.json(), R"({"a":1})");
}

TEST(CallGuard, BadAllocIsOutOfMemoryWithoutAnErrorConstant)
{
   CheckedStatus status;
   EXPECT_EQ(throwInGuard(status, kCall, std::bad_alloc()), kFailure);
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(status.json(),
             R"({"file":"source\\zerovaapi\\api","line":255,"component":"zerovaapi"})");
}

TEST(CallGuard, AnyOtherStandardExceptionIsASoftwareFault)
{
   CheckedStatus status;
   const std::overflow_error e("overflow while operating on SafeInt");
   EXPECT_EQ(throwInGuard(status, kCall, e), kFailure);
   EXPECT_EQ(status.code(), -52003);
   EXPECT_EQ(status.json(),
             document("nTamrixS100::tStatus::kSoftwareFault", 255,
                      R"(,"std_exception_what":"overflow while operating on SafeInt")"));
}

TEST(CallGuard, ExceptionOfAnotherKindPassesThroughAndLeavesTheStatusAlone)
{
   CheckedStatus status;
   EXPECT_THROW(throwInGuard(status, kCall, 42), int);
   EXPECT_EQ(status.code(), 0);
   EXPECT_FALSE(status.hasText());
}

TEST(CallGuard, WhileConnectingTheThreeClausesSayServiceNotAvailable)
{
   const std::string constant = "zerova::errors::kErrorZerovaServiceNotAvailable";
   CheckedStatus application;
   throwInGuard(application, kConnect, TApplicationException("a"));
   EXPECT_EQ(application.code(), -89168);
   EXPECT_EQ(application.json(), document(constant, 99, R"(,"Thrift::TApplicationException":"a")"));
   CheckedStatus transport;
   throwInGuard(transport, kConnect, TTransportException("t"));
   EXPECT_EQ(transport.code(), -89168);
   EXPECT_EQ(transport.json(), document(constant, 99, R"(,"Thrift::TTransportException":"t")"));
   CheckedStatus protocol;
   throwInGuard(protocol, kConnect, TProtocolException("p"));
   EXPECT_EQ(protocol.code(), -89168);
   EXPECT_EQ(protocol.json(), document(constant, 99, R"(,"Thrift::TProtocolException":"p")"));
}

TEST(CallGuard, WhileConnectingTheOtherClausesStayAsTheyAre)
{
   CheckedStatus service;
   throwInGuard(service, kConnect, serviceFailure(-7, R"({"a":1})"));
   EXPECT_EQ(service.code(), -7);
   CheckedStatus source(-52006, "{}");
   CheckedStatus adopted;
   throwInGuard(adopted, kConnect, quelerr::ExceptionBase(*source.operator->()));
   EXPECT_EQ(adopted.code(), -52006);
   CheckedStatus memory;
   throwInGuard(memory, kConnect, std::bad_alloc());
   EXPECT_EQ(memory.code(), -52000);
   CheckedStatus other;
   throwInGuard(other, kConnect, std::runtime_error("r"));
   EXPECT_EQ(other.code(), -52003);
   EXPECT_EQ(other.json(),
             document("nTamrixS100::tStatus::kSoftwareFault", 99, R"(,"std_exception_what":"r")"));
}

TEST(CallGuard, WarningIsReplacedByTheFailureAndItsText)
{
   CheckedStatus status(5, R"({"warning":1})");
   throwInGuard(status, kCall, std::bad_alloc());
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(status.json(),
             R"({"file":"source\\zerovaapi\\api","line":255,"component":"zerovaapi"})");
}

TEST(CallGuard, FailureAfterAnErrorWritesNothingIntoTheErrorsText)
{
   CheckedStatus status(-5, R"({"a":1})");
   caught(status, kCall, kFailure, []() -> int { throw TTransportException("late"); });
   caught(status, kCall, kFailure, []() -> int { throw std::bad_alloc(); });
   caught(status, kCall, kFailure, []() -> int { throw serviceFailure(-9, "{}"); });
   fail(status, kInvalidParameter, 1, "late");
   EXPECT_EQ(status.code(), -5);
   EXPECT_EQ(status.json(), R"({"a":1})");
}

TEST(CallGuard, WhatTheBodyBuiltIsReleasedWhateverEndedIt)
{
   const auto built = std::make_shared<int>(1);
   CheckedStatus status;
   guarded(status, kCall, kFailure, [held = built]() -> int { throw std::bad_alloc(); });
   status.clear();
   EXPECT_THROW(guarded(status, kCall, kFailure, [held = built]() -> int { throw 42; }), int);
   EXPECT_EQ(built.use_count(), 1);
}

TEST(CallGuard, FailureWithoutASentenceHasNoDebugMember)
{
   CheckedStatus status;
   fail(status, kMemoryFull, 31, nullptr);
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(status.json(), document("nTamrixS100::tStatus::kMemoryFull", 31));
}

TEST(CallGuard, FailureWithASentenceEndsInTheDebugMember)
{
   CheckedStatus status;
   fail(status, kFeatureUnsupported, 31, "use another");
   EXPECT_EQ(status.code(), -52002);
   EXPECT_EQ(status.json(), document("nTamrixS100::tStatus::kFeatureUnsupported", 31,
                                     R"(,"zerovaapi_debug":"use another")"));
}

TEST(CallGuard, LongDescriptionOfTheServiceArrivesWhole)
{
   const std::string text = R"({"a":")" + std::string(5000, 'J') + R"("})";
   CheckedStatus status;
   throwInGuard(status, kCall, serviceFailure(-1, text));
   EXPECT_EQ(status.json(), text);
}

TEST(CallGuard, DescriptionThatIsNoJsonArrivesAsItIs)
{
   CheckedStatus status;
   status.allowAnyText();
   throwInGuard(status, kCall, serviceFailure(-1, "not json"));
   EXPECT_EQ(status.json(), "not json");
}

// A caller's resize may refuse at any call: the code stands, and what is written parses.
TEST(CallGuard, RefusalOfTheBufferLosesTextButNeverTheCode)
{
   const std::string longText(3000, 'x');
   int calls = 0;
   {
      CheckedStatus status;
      throwInGuard(status, kCall, TTransportException(longText));
      calls = status.growCalls();
   }
   ASSERT_GT(calls, 2);
   for (int n = 1; n <= calls; ++n) {
      SCOPED_TRACE(n);
      CheckedStatus fromThenOn;
      fromThenOn.refuseFrom(n);
      throwInGuard(fromThenOn, kCall, TTransportException(longText));
      EXPECT_EQ(fromThenOn.code(), -52024);
      EXPECT_EQ(fromThenOn.hasText(), n > 1);
      EXPECT_EQ(fromThenOn.json().find(longText), std::string::npos);
      CheckedStatus once;
      once.refuseOnly(n);
      throwInGuard(once, kCall, TTransportException(longText));
      EXPECT_EQ(once.code(), -52024);
   }
}

TEST(CallGuard, RefusalOfTheBufferLeavesTheServicesCode)
{
   CheckedStatus status;
   status.refuseFrom(1);
   throwInGuard(status, kCall, serviceFailure(-1, R"({"a":1})"));
   EXPECT_EQ(status.code(), -1);
   EXPECT_FALSE(status.hasText());
}

} // namespace
