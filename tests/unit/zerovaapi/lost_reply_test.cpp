// What the next call finds when memory ran out in the middle of one.
#include "faults/fixed_status.h"
#include "service/wire_bytes.h"
#include "source/zerovaapi/handles.h"
#include "support/failing_malloc.h"
#include "support/heap_watch.h"
#include "transport/client_framing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thrift/transport/TTransportException.h>
#include <thrift/transport/TVirtualTransport.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace zerova;
using namespace zerova::test;
using apache::thrift::transport::TTransportException;
using apache::thrift::transport::TVirtualTransport;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kMethod = "getRoutableDevices";
constexpr const char* kNextMethod = "getSystemChangeNumber";
constexpr int32_t kNextAnswer = 4711;
constexpr uint8_t kSet = 14;
constexpr uint8_t kDouble = 4;
// Too long to live inside a string object.
const std::string kLong(100, 'd');

// Answers the first request with the first text, and so on.
class AnsweringWire : public TVirtualTransport<AnsweringWire>
{
public:
   explicit AnsweringWire(std::vector<std::string> answers)
      : answers_(std::move(answers))
   {
      size_t size = 0;
      for (const std::string& answer : answers_)
         size += answer.size();
      incoming_.reserve(size);
      outgoing.reserve(1u << 16);
   }

   bool isOpen() const override { return isOpen_; }
   void close() override { isOpen_ = false; }
   uint32_t read(uint8_t* buffer, uint32_t length)
   {
      const size_t count = std::min<size_t>(length, incoming_.size() - read_);
      std::copy_n(incoming_.data() + read_, count, buffer);
      read_ += count;
      return static_cast<uint32_t>(count);
   }
   void write(const uint8_t* bytes, uint32_t length)
   {
      if (!isOpen_) throw TTransportException(TTransportException::NOT_OPEN, "Called write on it");
      outgoing.append(reinterpret_cast<const char*>(bytes), length);
      if (requests < answers_.size()) incoming_ += answers_[requests];
      ++requests;
   }

   std::string outgoing;
   size_t requests = 0;

private:
   const std::vector<std::string> answers_;
   std::string incoming_;
   size_t read_ = 0;
   bool isOpen_ = true;
};

// A session as the library builds it. Its next call is answered behind these.
struct Stack
{
   explicit Stack(std::vector<std::string> answers)
   {
      answers.push_back(i32Reply(kNextMethod, kNextAnswer));
      wire = std::make_shared<AnsweringWire>(std::move(answers));
      session = makeClientSession(wire);
   }

   operator zerovaapi_Session() { return wrap<zerovaapi_Session>(session.get()); }

   std::shared_ptr<AnsweringWire> wire;
   std::unique_ptr<ClientSession> session;
};

enum class Next
{
   isRight,
   findsTheConnectionClosed,
   isWrong
};

void PrintTo(Next next, std::ostream* out)
{
   *out << (next == Next::isRight                    ? "right"
            : next == Next::findsTheConnectionClosed ? "closed"
                                                     : "wrong");
}

Next makeNextCall(Stack& stack)
{
   FixedStatus status;
   const int32_t answer = zerovaapi_getSystemChangeNumber(stack, status);
   if (status.code() == 0 && answer == kNextAnswer && stack.wire->isOpen()) return Next::isRight;
   const bool saysSo = std::string(status.text()).find("Called write on it") != std::string::npos;
   return status.code() == -52024 && saysSo ? Next::findsTheConnectionClosed : Next::isWrong;
}

// Makes a call that is answered like this, each time with another allocation failing behind the
// sending, and then the next call.
std::set<Next> nextCallsAfter(const std::string& answer)
{
   std::set<Next> found;
   bool failed = true;
   for (size_t n = 1; failed; ++n) {
      Stack stack({answer});
      FixedStatus status;
      char** devices = nullptr;
      {
         HeapWatch watch;
         watch.failNth(n);
         devices = zerovaapi_getRoutableDevices(stack, status);
         failed = watch.hasFailed();
      }
      zerovaapi_destroyStringArray(devices);
      if (!failed || stack.wire->requests == 0) continue;
      EXPECT_EQ(status.code(), -52000) << n << status.text();
      found.insert(makeNextCall(stack));
   }
   return found;
}

WireBytes result(const WireBytes& header)
{
   return WireBytes(header)
      .field(wire::kList, 0)
      .listHeader(wire::kString, 2)
      .text(kLong)
      .text("e");
}

WireBytes reply(const std::string& method = kMethod)
{
   return result(WireBytes().message(wire::kReply, method)).stop();
}

// The code of a call for whose long reply there is no memory.
int32_t codeOfACallWithoutMemory(Stack& stack)
{
   FixedStatus status;
   HeapWatch watch;
   watch.failAbove(kLong.size());
   zerovaapi_getRoutableDevices(stack, status);
   return status.code();
}

TEST(LostReply, InAFrameThatNamesTheMethodLeavesTheConnectionInStep)
{
   EXPECT_THAT(nextCallsAfter(reply().frame()), ElementsAre(Next::isRight));
}

TEST(LostReply, MayHaveAHeaderWithoutAVersionWord)
{
   const WireBytes header = WireBytes().messageWithoutVersion(wire::kReply, kMethod);
   EXPECT_THAT(nextCallsAfter(result(header).stop().frame()), ElementsAre(Next::isRight));
}

TEST(LostReply, MayHoldFieldsOfEveryTypeThatNobodyAskedFor)
{
   WireBytes message = result(WireBytes().message(wire::kReply, kMethod));
   message.boolField(20, true).i32Field(21, 1).textField(22, "");
   message.field(3, 23).byte(1);                   // byte
   message.field(6, 24).i16(1);                    // i16
   message.field(10, 25).raw(std::string(8, 'x')); // i64
   message.field(kDouble, 26).raw(std::string(8, 'x'));
   message.field(kSet, 27).listHeader(kDouble, 2).raw(std::string(16, 'x'));
   message.field(wire::kMap, 28).mapHeader(wire::kString, wire::kList, 1);
   message.text("k").listHeader(wire::kStruct, 2).stop().boolField(1, true).stop();
   EXPECT_THAT(nextCallsAfter(message.stop().frame()), ElementsAre(Next::isRight));
}

TEST(LostReply, MayNestAsDeepAsAReplyCan)
{
   constexpr int kDepth = 50;
   WireBytes message = result(WireBytes().message(wire::kReply, kMethod));
   for (int depth = 0; depth < kDepth; ++depth)
      message.field(wire::kStruct, 99);
   message.raw(std::string(kDepth, '\0'));
   EXPECT_THAT(nextCallsAfter(message.stop().frame()), ElementsAre(Next::isRight));
}

TEST(LostReply, MayHaveMoreBehindItInItsFrame)
{
   for (const size_t size : {1u, 5000u})
      EXPECT_THAT(nextCallsAfter(reply().raw(std::string(size, 'x')).frame()),
                  ElementsAre(Next::isRight));
}

TEST(LostReply, OfACallBehindOneThatFailedInItsReplyLeavesTheConnectionInStep)
{
   const std::string lie = WireBytes()
                              .message(wire::kReply, kMethod)
                              .field(wire::kList, 99)
                              .listHeader(wire::kBool, 2000000)
                              .frame();
   Stack stack({lie, reply().frame()});
   FixedStatus first;
   zerovaapi_getRoutableDevices(stack, first);
   EXPECT_EQ(first.code(), -52024);
   EXPECT_EQ(codeOfACallWithoutMemory(stack), -52000);
   EXPECT_EQ(makeNextCall(stack), Next::isRight);
}

TEST(LostReply, MayBeAnExceptionForTheMethod)
{
   EXPECT_THAT(nextCallsAfter(exceptionReply(kMethod, 6, kLong)), ElementsAre(Next::isRight));
}

TEST(LostReply, MayBeARefusal)
{
   Stack stack({statusReply(kMethod, -77, kLong)});
   FixedStatus status;
   {
      HeapWatch watch;
      watch.failAbove(kLong.size() - 1); // not even the frame
      zerovaapi_getRoutableDevices(stack, status);
   }
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(makeNextCall(stack), Next::isRight);
}

TEST(LostReply, MayStandInAFrameBehindAStrayOne)
{
   // The stray is short enough for the buffer and has no texts, so that memory lasts beyond it.
   const std::string stray = WireBytes().message(wire::kReply, "x").stop().frame();
   Stack stack({stray + reply().frame()});
   FixedStatus status;
   {
      HeapWatch watch;
      watch.failAbove(50);
      zerovaapi_getRoutableDevices(stack, status);
   }
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(makeNextCall(stack), Next::isRight);
}

TEST(LostReply, ThatAnnouncesMoreThanAFrameCanHoldEndsWithItsFrame)
{
   const std::string lie = WireBytes()
                              .message(wire::kReply, kMethod)
                              .field(wire::kList, 0)
                              .listHeader(wire::kString, 2000000)
                              .text(kLong)
                              .frame();
   Stack stack({lie});
   FixedStatus status;
   EXPECT_EQ(zerovaapi_getRoutableDevices(stack, status), nullptr);
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(makeNextCall(stack), Next::isRight);
}

TEST(LostReply, ThatWasReadToItsEndLeavesTheConnectionInStep)
{
   for (size_t index = 0;; ++index) {
      Stack stack({reply().frame()});
      FixedStatus status;
      bool failed = false;
      char** devices = nullptr;
      {
         const FailingMalloc failing(index); // the array of names comes from malloc
         devices = zerovaapi_getRoutableDevices(stack, status);
         failed = failing.hasFailed();
      }
      zerovaapi_destroyStringArray(devices);
      EXPECT_EQ(status.code(), failed ? -52000 : 0);
      if (stack.wire->requests > 0) {
         EXPECT_EQ(makeNextCall(stack), Next::isRight) << index;
      }
      if (!failed) break;
   }
}

// Nothing of it could be seen to be whole, and nothing has to be.
TEST(LostReply, ThatWasReadToItsEndMayHaveComeInManyFrames)
{
   WireBytes message = result(WireBytes().message(wire::kReply, kMethod));
   message.field(wire::kStruct, 99).stop().stop();
   std::string frames;
   for (const char byte : message.bytes())
      frames += WireBytes().byte(static_cast<uint8_t>(byte)).frame();
   const auto callWithout = [&](size_t allocation, size_t& count) {
      Stack stack({frames});
      FixedStatus status;
      char** devices = nullptr;
      {
         const FailingMalloc failing(allocation);
         devices = zerovaapi_getRoutableDevices(stack, status);
         count = failing.count();
      }
      zerovaapi_destroyStringArray(devices);
      EXPECT_EQ(makeNextCall(stack), Next::isRight);
      return status.code();
   };
   size_t count = 0;
   EXPECT_EQ(callWithout(SIZE_MAX, count), 0);
   EXPECT_EQ(callWithout(count - 1, count), -52000); // the array of names, which comes last
}

// Each of these hides that the answer is still to come, or that a part of it is.
TEST(LostReply, OfAnotherMethodClosesTheConnection)
{
   for (const std::string method : {"another", "getRoutableDevice", "getRoutableDevicesX",
                                    "getRoutableDeviceS", kNextMethod, ""})
      EXPECT_THAT(nextCallsAfter(reply(method).frame()),
                  ElementsAre(Next::findsTheConnectionClosed))
         << method;
}

TEST(LostReply, ThatIsNoReplyClosesTheConnection)
{
   const std::string call = result(WireBytes().message(wire::kCall, kMethod)).stop().frame();
   EXPECT_THAT(nextCallsAfter(call), ElementsAre(Next::findsTheConnectionClosed));
   const WireBytes old = WireBytes().messageWithoutVersion(wire::kCall, kMethod);
   EXPECT_THAT(nextCallsAfter(result(old).stop().frame()),
               ElementsAre(Next::findsTheConnectionClosed));
}

TEST(LostReply, ThatGoesOnInTheNextFrameClosesTheConnection)
{
   const std::string whole = reply().bytes();
   for (const size_t cut : {whole.size() - 1, whole.size() - 30, whole.size() / 2}) {
      const std::string frames =
         WireBytes().raw(whole.substr(0, cut)).frame() + WireBytes().raw(whole.substr(cut)).frame();
      EXPECT_THAT(nextCallsAfter(frames), ElementsAre(Next::findsTheConnectionClosed)) << cut;
   }
}

// A text that goes on in a frame which holds what could be the answer to this call, or to the next.
TEST(LostReply, WhoseRestLooksLikeAReplyClosesTheConnection)
{
   for (const std::string& trap : {i32Reply(kNextMethod, 1).substr(4), reply().bytes()}) {
      const std::string frames = WireBytes()
                                    .message(wire::kReply, kMethod)
                                    .field(wire::kList, 0)
                                    .listHeader(wire::kString, 1)
                                    .i32(static_cast<int32_t>(1 + trap.size()))
                                    .raw("d")
                                    .frame() +
                                 WireBytes().raw(trap).frame() + WireBytes().stop().frame();
      EXPECT_THAT(nextCallsAfter(frames), ElementsAre(Next::findsTheConnectionClosed));
   }
}

// The same of a stray message that began behind the answer to the call before.
TEST(LostReply, InAFrameThatGoesOnWithAnEarlierMessageClosesTheConnection)
{
   const std::string trap = reply().bytes();
   const std::string stray = WireBytes()
                                .message(wire::kReply, "stray")
                                .field(wire::kString, 9)
                                .i32(static_cast<int32_t>(1 + trap.size()))
                                .raw("d")
                                .bytes();
   const std::string early = i32Reply(kNextMethod, kNextAnswer).substr(4) + stray;
   const std::string rest = WireBytes().raw(trap).frame() + WireBytes().stop().frame();
   bool failed = true;
   for (size_t n = 1; failed; ++n) {
      Stack stack({WireBytes().raw(early).frame(), rest + reply().frame()});
      ASSERT_EQ(makeNextCall(stack), Next::isRight);
      FixedStatus status;
      char** devices = nullptr;
      {
         HeapWatch watch;
         watch.failNth(n);
         devices = zerovaapi_getRoutableDevices(stack, status);
         failed = watch.hasFailed();
      }
      zerovaapi_destroyStringArray(devices);
      if (!failed || stack.wire->requests < 2) continue;
      // Behind the stray one the reply is in a frame of its own, and can be seen to be whole.
      const Next next = makeNextCall(stack);
      EXPECT_TRUE(next == Next::findsTheConnectionClosed || next == Next::isRight) << n;
   }
}

TEST(LostReply, WithAnotherVersionClosesTheConnection)
{
   const WireBytes header = WireBytes().raw("\x80\x02").i16(2).text(kMethod).i32(0);
   Stack stack({result(header).stop().frame()});
   FixedStatus status;
   {
      HeapWatch watch;
      watch.failAbove(50);
      zerovaapi_getRoutableDevices(stack, status);
   }
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(makeNextCall(stack), Next::findsTheConnectionClosed);
}

TEST(LostReply, BehindAnotherMessageInItsFrameClosesTheConnection)
{
   const std::string stray = WireBytes().message(wire::kReply, "x").stop().bytes();
   EXPECT_THAT(nextCallsAfter(WireBytes().raw(stray).raw(reply().bytes()).frame()),
               ElementsAre(Next::findsTheConnectionClosed));
}

TEST(LostReply, ThatCameBeforeTheCallClosesTheConnection)
{
   const std::string early = i32Reply(kNextMethod, kNextAnswer).substr(4) + reply().bytes();
   Stack stack({WireBytes().raw(early).frame(), reply().frame()});
   EXPECT_EQ(makeNextCall(stack), Next::isRight);
   EXPECT_EQ(codeOfACallWithoutMemory(stack), -52000);
   EXPECT_EQ(makeNextCall(stack), Next::findsTheConnectionClosed);
}

TEST(LostReply, InStructsTooDeepClosesTheConnection)
{
   WireBytes message;
   message.message(wire::kReply, kMethod);
   for (int depth = 0; depth < 100; ++depth)
      message.field(wire::kStruct, 1);
   message.raw(std::string(101, '\0'));
   Stack stack({message.frame()});
   FixedStatus status;
   {
      HeapWatch watch;
      watch.failAbove(100);
      zerovaapi_getRoutableDevices(stack, status);
   }
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(makeNextCall(stack), Next::findsTheConnectionClosed);
}

// A request of 2,000 bytes, which the buffer has to grow for.
const std::string kUri(2000, 'u');

TEST(LostRequest, IsNotSentInFrontOfTheNextOneWhicheverAllocationFails)
{
   const std::string whole =
      WireBytes().message(wire::kCall, "validateTerminalURI").textField(1, kUri).stop().frame();
   size_t n = 1;
   for (bool failed = true; failed; ++n) {
      const std::string answer = boolReply("validateTerminalURI", true);
      Stack stack({answer, answer});
      FixedStatus status;
      {
         HeapWatch watch;
         watch.failNth(n);
         zerovaapi_validateTerminalURI(stack, kUri.c_str(), status);
         failed = watch.hasFailed();
      }
      EXPECT_EQ(status.code(), failed ? -52000 : 0);
      const bool wasSent = stack.wire->requests > 0;
      FixedStatus again;
      EXPECT_TRUE(zerovaapi_validateTerminalURI(stack, kUri.c_str(), again)) << n << again.text();
      EXPECT_EQ(stack.wire->outgoing, wasSent ? whole + whole : whole) << n;
   }
   EXPECT_GT(n, 3u); // the copy of the text and the growing buffer, at least
}

TEST(LostRequest, ThatWasTooLargeIsNotSentInFrontOfTheNextOne)
{
   Stack stack({});
   const auto protocol = stack.session->protocol;
   protocol->writeMessageBegin("tooLarge", apache::thrift::protocol::T_CALL, 0);
   const uint8_t byte = 0;
   try {
      stack.session->framed->write(&byte, 0x7FFFFFFF); // refused before it is looked at
      FAIL() << "nothing was thrown";
   } catch (const TTransportException& failure) {
      EXPECT_THAT(failure.what(), HasSubstr("over 2 GB"));
   }
   EXPECT_EQ(makeNextCall(stack), Next::isRight);
   EXPECT_EQ(stack.wire->outgoing, WireBytes().message(wire::kCall, kNextMethod).stop().frame());
}

} // namespace
