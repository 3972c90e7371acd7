// What the stubs make of replies, whole and otherwise.
#include "transport/client_framing.h"
#include "transport/client_protocol.h"

#include "APIv1.h"
#include "service/wire_bytes.h"
#include "unit/transport/counted_heap.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thrift/TApplicationException.h>

namespace {

using apache::thrift::TApplicationException;
using apache::thrift::TConfiguration;
using apache::thrift::protocol::TProtocolException;
using apache::thrift::transport::TMemoryBuffer;
using apache::thrift::transport::TTransportException;
using zerova::ThriftStatus;
using zerova::test::WireBytes;
namespace wire = zerova::test::wire;

// A client and the replies that wait for it.
struct Replies
{
   explicit Replies(const std::string& bytes, std::shared_ptr<TConfiguration> limits = nullptr)
   {
      const auto bottom = std::make_shared<TMemoryBuffer>(
         reinterpret_cast<uint8_t*>(const_cast<char*>(bytes.data())),
         static_cast<uint32_t>(bytes.size()), TMemoryBuffer::COPY);
      framed = std::make_shared<zerova::ClientFraming>(bottom, limits);
      client =
         std::make_unique<zerova::APIv1Client>(std::make_shared<zerova::ClientProtocol>(framed));
   }

   std::vector<std::string> devices()
   {
      std::vector<std::string> names;
      client->recv_getRoutableDevices(names);
      return names;
   }

   std::shared_ptr<zerova::ClientFraming> framed;
   std::unique_ptr<zerova::APIv1Client> client;
};

template <typename Exception, typename Action>
std::pair<int, std::string> failureOf(Action action)
{
   try {
      action();
   } catch (const Exception& failure) {
      return {static_cast<int>(failure.getType()), failure.what()};
   }
   return {-1, "nothing was thrown"};
}

using Failure = std::pair<int, std::string>;
const Failure kEndOfData{TTransportException::END_OF_FILE, "No more data to read."};
const Failure kMissingResult{TApplicationException::MISSING_RESULT,
                             "isDebug failed: unknown result"};

std::string debugReply(const WireBytes& header)
{
   return WireBytes(header).boolField(0, true).stop().frame();
}

std::string deviceListHeader(uint8_t elementType, int32_t count, const std::string& behind = "")
{
   return WireBytes()
      .message(wire::kReply, "getRoutableDevices")
      .field(wire::kList, 0)
      .listHeader(elementType, count)
      .raw(behind)
      .frame();
}

TEST(Reply, SequenceIdDoesNotMatter)
{
   Replies replies(debugReply(WireBytes().message(wire::kReply, "isDebug", 7)));
   EXPECT_TRUE(replies.client->recv_isDebug());
}

TEST(Reply, HeaderWithoutAVersionWordIsAccepted)
{
   Replies replies(debugReply(WireBytes().messageWithoutVersion(wire::kReply, "isDebug")));
   EXPECT_TRUE(replies.client->recv_isDebug());
}

TEST(StrayReply, IsSkippedAndTheNextMessageIsTheReply)
{
   Replies replies(zerova::test::voidReply("reserveRoute") +
                   zerova::test::boolReply("isDebug", true));
   EXPECT_TRUE(replies.client->recv_isDebug());
}

TEST(StrayReply, MayHoldStructsInListsOfMaps)
{
   Replies replies(zerova::test::deviceListReply() + zerova::test::boolReply("isDebug", true));
   EXPECT_TRUE(replies.client->recv_isDebug());
}

TEST(StrayReply, IsFollowedByARightOneThatHoldsStructs)
{
   Replies replies(zerova::test::voidReply("version") + zerova::test::deviceListReply());
   std::vector<zerova::DeviceInfo> devices;
   replies.client->recv_getRouteInfo(devices);
   ASSERT_EQ(devices.size(), 1u);
   EXPECT_EQ(devices[0].terminals.size(), 1u);
}

TEST(StrayReply, AloneLeavesTheStubWaitingForMore)
{
   Replies replies(zerova::test::voidReply("version"));
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.client->recv_isDebug(); }), kEndOfData);
}

TEST(StrayReply, NextMessageIsTheReplyWhateverItIs)
{
   const std::string stray = zerova::test::voidReply("version");
   Replies named(stray + zerova::test::boolReply("someOtherMethod", true));
   EXPECT_TRUE(named.client->recv_isDebug());
   Replies old(stray + debugReply(WireBytes().messageWithoutVersion(wire::kReply, "isDebug")));
   EXPECT_TRUE(old.client->recv_isDebug());
   Replies empty(stray + zerova::test::voidReply("isDebug"));
   EXPECT_EQ(failureOf<TApplicationException>([&] { empty.client->recv_isDebug(); }),
             kMissingResult);
}

TEST(StrayReply, ClientIsInStepAfterwards)
{
   Replies replies(zerova::test::voidReply("version") + zerova::test::boolReply("isDebug", true) +
                   zerova::test::i32Reply("getSystemChangeNumber", 5) +
                   zerova::test::voidReply("stray") +
                   zerova::test::i32Reply("getSystemChangeNumber", 6));
   EXPECT_TRUE(replies.client->recv_isDebug());
   EXPECT_EQ(replies.client->recv_getSystemChangeNumber(), 5);
   EXPECT_EQ(replies.client->recv_getSystemChangeNumber(), 6);
}

TEST(StrayCall, IsSkippedLikeAStrayReply)
{
   const std::string call = WireBytes().message(wire::kCall, "isDebug").stop().frame();
   Replies replies(call + zerova::test::boolReply("isDebug", true));
   EXPECT_TRUE(replies.client->recv_isDebug());
}

TEST(StrayCall, OfAnotherMethodCostsTwoMessages)
{
   const std::string call = WireBytes().message(wire::kCall, "version").stop().frame();
   const std::string lost = zerova::test::boolReply("isDebug", false);
   Replies replies(call + lost + zerova::test::boolReply("isDebug", true));
   EXPECT_TRUE(replies.client->recv_isDebug());
}

TEST(ExceptionReply, WithoutAMessageGivesTheTextOfItsType)
{
   Replies known(zerova::test::exceptionReply("isDebug", 1, ""));
   EXPECT_EQ(failureOf<TApplicationException>([&] { known.client->recv_isDebug(); }),
             Failure(1, "TApplicationException: Unknown method"));
   Replies unknown(zerova::test::exceptionReply("isDebug", 42, ""));
   EXPECT_EQ(failureOf<TApplicationException>([&] { unknown.client->recv_isDebug(); }),
             Failure(42, "TApplicationException: (Invalid exception type)"));
}

TEST(ExceptionReply, GivesItsMessage)
{
   Replies replies(zerova::test::exceptionReply("isDebug", 1, "no such thing"));
   EXPECT_EQ(failureOf<TApplicationException>([&] { replies.client->recv_isDebug(); }),
             Failure(1, "no such thing"));
}

TEST(ExceptionReply, LeavesTheStreamInStep)
{
   Replies replies(zerova::test::exceptionReply("isDebug", 1, "x") +
                   zerova::test::boolReply("isDebug", true));
   EXPECT_THROW(replies.client->recv_isDebug(), TApplicationException);
   EXPECT_TRUE(replies.client->recv_isDebug());
}

TEST(StatusReply, IsThrownAsACopyThatOutlivesTheReply)
{
   ThriftStatus caught;
   {
      Replies replies(zerova::test::statusReply("reserveRoute", -5, std::string(1000, 'd')));
      try {
         replies.client->recv_reserveRoute();
      } catch (const ThriftStatus& status) {
         caught = status;
      }
   }
   EXPECT_EQ(caught.code, -5);
   EXPECT_EQ(caught.description, std::string(1000, 'd'));
}

TEST(Reply, WithoutAResultIsAMissingResult)
{
   Replies replies(zerova::test::voidReply("isDebug"));
   EXPECT_EQ(failureOf<TApplicationException>([&] { replies.client->recv_isDebug(); }),
             kMissingResult);
}

TEST(Reply, WithAWrongVersionWordIsRefused)
{
   Replies replies(WireBytes().raw("\x80\x02").i16(2).text("isDebug").i32(0).stop().frame());
   EXPECT_EQ(failureOf<TProtocolException>([&] { replies.client->recv_isDebug(); }),
             Failure(TProtocolException::BAD_VERSION, "Bad version identifier"));
}

// A stray reply and a right one that each take more than half of what a message may have.
TEST(MessageSize, IsCountedForEachMessage)
{
   const std::string stray = zerova::test::textListReply("stray", {std::string(600, 's')});
   const std::string right =
      zerova::test::textListReply("getRoutableDevices", {std::string(600, 'd')});
   Replies replies(stray + right, std::make_shared<TConfiguration>(1000));
   EXPECT_EQ(replies.devices(), std::vector<std::string>{std::string(600, 'd')});
}

TEST(MessageSize, IsLimited)
{
   Replies replies(zerova::test::textListReply("getRoutableDevices", {std::string(1001, 'd')}),
                   std::make_shared<TConfiguration>(1000));
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }),
             Failure(TTransportException::END_OF_FILE, "MaxMessageSize reached"));
}

const Failure kTooMuch{TTransportException::END_OF_FILE, "MaxMessageSize reached"};

std::shared_ptr<TConfiguration> limitedTo(size_t size)
{
   return std::make_shared<TConfiguration>(static_cast<int>(size));
}

// The same bytes in frames of at most so many.
std::string inFramesOf(size_t most, const std::string& bytes)
{
   std::string frames;
   for (size_t at = 0; at < bytes.size(); at += most)
      frames += WireBytes().raw(bytes.substr(at, most)).frame();
   return frames;
}

// A reply with a bit of everything that is kept, and of everything that is skipped.
std::string variedReply()
{
   return WireBytes()
      .message(wire::kReply, "getRoutableDevices")
      .i32Field(90, 1)
      .textField(91, "skipped")
      .field(wire::kList, 92)
      .listHeader(wire::kI32, 40)
      .raw(std::string(160, 'i'))
      .field(wire::kMap, 93)
      .mapHeader(wire::kBool, wire::kStruct, 1)
      .byte(1)
      .stop()
      .field(wire::kList, 0)
      .listHeader(wire::kString, 2)
      .text("one")
      .text(std::string(300, 'd'))
      .stop()
      .bytes();
}

TEST(MessageSize, IsReachedExactlyInHoweverManyFrames)
{
   const std::string reply = variedReply();
   const std::vector<std::string> devices{"one", std::string(300, 'd')};
   for (size_t frame = 1; frame <= reply.size(); ++frame) {
      SCOPED_TRACE(frame);
      const std::string frames = inFramesOf(frame, reply);
      // The next message has the whole limit again.
      Replies fits(frames + frames, limitedTo(reply.size()));
      EXPECT_EQ(fits.devices(), devices);
      EXPECT_EQ(fits.devices(), devices);
      Replies exceeds(frames, limitedTo(reply.size() - 1));
      EXPECT_EQ(failureOf<TTransportException>([&] { exceeds.devices(); }), kTooMuch);
   }
}

TEST(MessageSize, HoldsForTheWholeFrameInWhichTheMessageEnds)
{
   const std::string reply = variedReply();
   Replies replies(WireBytes().raw(reply).raw("more").frame(), limitedTo(reply.size() + 3));
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }), kTooMuch);
}

TEST(MessageSize, IsLookedAtBeforeAnythingIsReservedForAFrame)
{
   Replies replies(WireBytes().i32(16000000).bytes(), limitedTo(15999999));
   countedHeap::takeLargestRequest();
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }), kTooMuch);
   EXPECT_LT(countedHeap::takeLargestRequest(), 10000u);
}

TEST(MessageSize, HoldsForWhatIsGatheredOfAText)
{
   const std::string reply = zerova::test::textListReply("getRoutableDevices", {"x"}).substr(4);
   const size_t head = reply.size() - 6; // up to the text's length
   const auto frames = [&](size_t inLastFrame) {
      return WireBytes().raw(reply.substr(0, head)).i32(900).raw(std::string(400, 'd')).frame() +
             WireBytes().raw(std::string(499, 'd')).frame() +
             WireBytes().raw("d").stop().raw(std::string(inLastFrame - 2, 'x')).frame();
   };
   const size_t received = head + 4 + 400 + 499;
   Replies fits(frames(50), limitedTo(received + 50));
   EXPECT_EQ(fits.devices(), std::vector<std::string>{std::string(900, 'd')});
   Replies exceeds(frames(51), limitedTo(received + 50));
   EXPECT_EQ(failureOf<TTransportException>([&] { exceeds.devices(); }), kTooMuch);
}

TEST(MessageSize, IsThatOfTheMessageAlsoForAnAnnouncedText)
{
   const std::string head = WireBytes()
                               .message(wire::kReply, "getRoutableDevices")
                               .field(wire::kList, 90)
                               .listHeader(wire::kI32, 100)
                               .raw(std::string(400, 'i'))
                               .field(wire::kList, 0)
                               .listHeader(wire::kString, 1)
                               .bytes();
   const auto announcing = [&](int32_t length) {
      return WireBytes().raw(head).i32(length).frame();
   };
   const size_t limit = head.size() + 4 + 500;
   Replies fits(announcing(500), limitedTo(limit));
   EXPECT_EQ(failureOf<TTransportException>([&] { fits.devices(); }), kEndOfData);
   Replies exceeds(announcing(501), limitedTo(limit));
   EXPECT_EQ(failureOf<TTransportException>([&] { exceeds.devices(); }), kTooMuch);
}

// A reply with one text, as long as it takes to fill a frame of the given size.
std::string replyOfSize(size_t size)
{
   const size_t around = zerova::test::textListReply("getRoutableDevices", {""}).size() - 4;
   return zerova::test::textListReply("getRoutableDevices", {std::string(size - around, 'x')});
}

TEST(FrameSize, Of16384000BytesIsRead)
{
   Replies replies(replyOfSize(16384000));
   EXPECT_EQ(replies.devices().size(), 1u);
}

TEST(FrameSize, Of16384001BytesIsRefused)
{
   Replies replies(replyOfSize(16384001));
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }),
             Failure(TTransportException::CORRUPTED_DATA, "Received an oversized frame"));
}

TEST(FrameSize, BelowZeroIsRefused)
{
   Replies replies(WireBytes().i32(-1).bytes());
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }),
             Failure(TTransportException::UNKNOWN, "Frame size has negative value"));
}

TEST(FrameSize, CutShortIsTold)
{
   Replies replies(WireBytes().i16(0).bytes());
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }),
             Failure(TTransportException::END_OF_FILE,
                     "No more data to read after partial frame header."));
}

// A reply of one text that announces a length, and what there is of the text.
std::string replyAnnouncing(int32_t length, const std::string& present)
{
   return WireBytes()
      .message(wire::kReply, "getRoutableDevices")
      .field(wire::kList, 0)
      .listHeader(wire::kString, 1)
      .i32(length)
      .raw(present)
      .frame();
}

TEST(TextLength, ThatLiesReservesOnlyWhatHasCome)
{
   Replies replies(replyAnnouncing(100000000, "short"));
   countedHeap::takeLargestRequest();
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }), kEndOfData);
   EXPECT_LT(countedHeap::takeLargestRequest(), 10000u);
}

TEST(TextLength, AboveTheSizeOfAMessageIsRefused)
{
   Replies replies(replyAnnouncing(104857601, "short"));
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }),
             Failure(TTransportException::END_OF_FILE, "MaxMessageSize reached"));
}

TEST(TextLength, MayReachOverSeveralFrames)
{
   Replies replies(replyAnnouncing(9, "one") + WireBytes().raw("two").frame() +
                   WireBytes().raw("six").stop().frame() +
                   zerova::test::boolReply("isDebug", true));
   EXPECT_EQ(replies.devices(), std::vector<std::string>{"onetwosix"});
   EXPECT_TRUE(replies.client->recv_isDebug());
}

TEST(TextLength, WhoseRestDoesNotComeLeavesNothingThatTheNextCallCouldTakeForItsReply)
{
   const Failure endOfData(TTransportException::END_OF_FILE, "No more data to read.");
   const std::string reply =
      WireBytes().message(wire::kReply, "isDebug").boolField(0, true).stop().bytes();
   for (const int32_t lengthOfNextFrame : {1, 5000}) {
      Replies replies(replyAnnouncing(1000, reply) + WireBytes().i32(lengthOfNextFrame).bytes());
      EXPECT_EQ(failureOf<TTransportException>([&] { replies.devices(); }), endOfData);
      EXPECT_EQ(failureOf<TTransportException>([&] { replies.client->recv_isDebug(); }), endOfData);
   }
}

TEST(TextLength, BelowZeroIsRefused)
{
   Replies replies(replyAnnouncing(-1, ""));
   EXPECT_EQ(failureOf<TProtocolException>([&] { replies.devices(); }),
             Failure(TProtocolException::NEGATIVE_SIZE, "TProtocolException: Negative size"));
}

TEST(ElementCount, AboveWhatTheFrameHoldsIsRefusedBeforeAnythingIsReserved)
{
   for (const uint8_t type : {wire::kString, wire::kStruct, wire::kMap, wire::kList}) {
      Replies replies(deviceListHeader(type, 0x40000000, std::string(500, '\0')));
      countedHeap::takeLargestRequest();
      EXPECT_THROW(replies.devices(), std::bad_alloc) << "element type " << int{type};
      EXPECT_LT(countedHeap::takeLargestRequest(), 10000u);
   }
}

TEST(ElementCount, OfStructsThatLieIsRefusedToo)
{
   Replies replies(WireBytes()
                      .message(wire::kReply, "getRouteInfo")
                      .field(wire::kList, 0)
                      .listHeader(wire::kStruct, 1048577)
                      .raw(std::string(1000, '\0'))
                      .frame());
   std::vector<zerova::DeviceInfo> devices;
   countedHeap::takeLargestRequest();
   EXPECT_THROW(replies.client->recv_getRouteInfo(devices), std::bad_alloc);
   EXPECT_LT(countedHeap::takeLargestRequest(), 10000u);
}

TEST(ElementCount, OfAMapIsHeldToTheSame)
{
   Replies replies(WireBytes()
                      .message(wire::kReply, "getTerminalNamesAndAttributesForDevice")
                      .field(wire::kList, 0)
                      .listHeader(wire::kMap, 1)
                      .mapHeader(wire::kStruct, wire::kStruct, 1048577)
                      .raw(std::string(1000, '\0'))
                      .frame());
   std::vector<std::map<std::string, zerova::Attribute>> terminals;
   EXPECT_THROW(replies.client->recv_getTerminalNamesAndAttributesForDevice(terminals),
                std::bad_alloc);
}

TEST(ElementCount, OfASetInAnUnknownFieldIsHeldToTheSame)
{
   constexpr uint8_t kSet = 14;
   Replies replies(WireBytes()
                      .message(wire::kReply, "isDebug")
                      .field(kSet, 99)
                      .listHeader(wire::kStruct, 1048577)
                      .raw(std::string(1000, '\0'))
                      .frame());
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.client->recv_isDebug(); }), kEndOfData);
}

TEST(ElementCount, UpTo1048576IsTakenOnTrustAndRunsIntoTheEndOfTheData)
{
   Replies replies(WireBytes()
                      .message(wire::kReply, "isDebug")
                      .field(wire::kList, 99)
                      .listHeader(wire::kStruct, 1048576)
                      .frame());
   EXPECT_EQ(failureOf<TTransportException>([&] { replies.client->recv_isDebug(); }), kEndOfData);
}

TEST(ElementCount, AboveThatIsTakenIfTheFrameHoldsAsMany)
{
   const std::vector<std::string> names(1048577);
   Replies replies(zerova::test::textListReply("getRoutableDevices", names));
   EXPECT_EQ(replies.devices().size(), names.size());
}

TEST(ElementCount, AsManyAsBytesLeftIsTakenAndOneMoreIsNot)
{
   const auto reply = [](int32_t count) {
      return WireBytes()
         .message(wire::kReply, "isDebug")
         .field(wire::kList, 99)
         .listHeader(wire::kStruct, count)
         .raw(std::string(1048580, '\0')) // empty structs, then the end of the result
         .frame();
   };
   Replies fits(reply(1048579));
   EXPECT_EQ(failureOf<TApplicationException>([&] { fits.client->recv_isDebug(); }),
             kMissingResult);
   Replies fills(reply(1048580) + WireBytes().stop().frame());
   EXPECT_EQ(failureOf<TApplicationException>([&] { fills.client->recv_isDebug(); }),
             kMissingResult);
   Replies exceeds(reply(1048581));
   EXPECT_EQ(failureOf<TTransportException>([&] { exceeds.client->recv_isDebug(); }), kEndOfData);
}

// Another frame stands ready, which reading on would take for the rest.
TEST(ElementCount, ThatIsFalseInWhatIsOnlySkippedEndsTheDataAtTheCount)
{
   constexpr uint8_t kSet = 14;
   const auto begun = [](uint8_t type) {
      return WireBytes().message(wire::kReply, "isDebug").field(type, 99);
   };
   const std::vector<WireBytes> messages = {
      begun(wire::kList).listHeader(wire::kBool, 1048577),
      begun(kSet).listHeader(wire::kBool, 1048577),
      begun(wire::kMap).mapHeader(wire::kBool, wire::kBool, 1048577),
      begun(wire::kStruct).field(wire::kList, 1).listHeader(wire::kBool, 1048577),
      WireBytes()
         .message(wire::kReply, "stray")
         .field(wire::kList, 0)
         .listHeader(wire::kStruct, 1048577)};
   for (const WireBytes& message : messages) {
      Replies replies(message.frame() + zerova::test::boolReply("isDebug", true));
      EXPECT_EQ(failureOf<TTransportException>([&] { replies.client->recv_isDebug(); }),
                kEndOfData);
      EXPECT_TRUE(replies.client->recv_isDebug()) << "of the next frame nothing has been read";
   }
}

// What is read behind something that was skipped is kept again.
TEST(ElementCount, ThatIsFalseBehindASkippedFieldIsOutOfMemory)
{
   Replies replies(WireBytes()
                      .message(wire::kReply, "getRoutableDevices")
                      .textField(99, "skipped")
                      .field(wire::kList, 0)
                      .listHeader(wire::kString, 1048577)
                      .frame());
   EXPECT_THROW(replies.devices(), std::bad_alloc);
}

TEST(ElementCount, ChecksOfTheProtocolComeFirst)
{
   Replies tooMuch(deviceListHeader(wire::kI32, 30000000));
   EXPECT_EQ(failureOf<TTransportException>([&] { tooMuch.devices(); }),
             Failure(TTransportException::END_OF_FILE, "MaxMessageSize reached"));
   Replies negative(deviceListHeader(wire::kStruct, -1));
   EXPECT_EQ(failureOf<TProtocolException>([&] { negative.devices(); }),
             Failure(TProtocolException::NEGATIVE_SIZE, "TProtocolException: Negative size"));
   Replies noType(deviceListHeader(99, 0x40000000));
   EXPECT_EQ(failureOf<TProtocolException>([&] { noType.devices(); }),
             Failure(TProtocolException::UNKNOWN, "unrecognized type code"));
}

// A service in memory that answers each request at once.
class AnsweringWire : public apache::thrift::transport::TVirtualTransport<AnsweringWire>
{
public:
   bool isOpen() const override { return true; }
   void write(const uint8_t*, uint32_t) { answer_ = zerova::test::boolReply("isDebug", true); }
   uint32_t read(uint8_t* bytes, uint32_t length)
   {
      const auto count =
         static_cast<uint32_t>(answer_.copy(reinterpret_cast<char*>(bytes), length));
      answer_.erase(0, count);
      return count;
   }

private:
   std::string answer_;
};

// Each look at the clock is a microsecond after the last.
class CountingWatch final : public zerova::AnswerWatch
{
public:
   explicit CountingWatch(uint32_t& looks)
      : looks_(looks)
   {
   }
   bool hasCome() override
   {
      time_ -= 1000; // who polls is answered before who sleeps
      return ++looks_ > 0;
   }
   void yield() override {}
   int64_t now() override { return time_ += 1000; }

private:
   uint32_t& looks_;
   int64_t time_ = 0;
};

TEST(WatchedAnswer, IsPolledForByACallWhenAnswersHaveComeSoon)
{
   const auto framed = std::make_shared<zerova::ClientFraming>(std::make_shared<AnsweringWire>());
   zerova::APIv1Client client(std::make_shared<zerova::ClientProtocol>(framed));
   uint32_t looks = 0;
   framed->watchAnswers(std::make_unique<CountingWatch>(looks));
   for (uint32_t i = 0; i < zerova::AnswerWait::kSoonInRow; ++i)
      EXPECT_TRUE(client.isDebug());
   EXPECT_EQ(looks, 0u);
   EXPECT_TRUE(client.isDebug());
   EXPECT_EQ(looks, 1u);
}

} // namespace
