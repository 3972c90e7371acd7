// Sessions on the pipes of the system, which can be busy, be dropped in two ways and leave handles
// behind.
#include "exports/peer_session.h"
#include "service/acceptor.h"
#include "service/checked_status.h"
#include "service/locator_peer.h"
#include "service/windows/handles.h"
#include "service/wire_bytes.h"
#include "support/heap_in_use.h"
#include "support/matches_pattern.h"
#include "support/open_descriptors.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <windows.h>

namespace {

using namespace zerova::test;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char* kPipe = R"(\\.\pipe\com.zerova)";

milliseconds since(steady_clock::time_point start)
{
   return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

// A pipe whose one instance has its client.
class BusyPipe
{
public:
   BusyPipe()
      : server_(CreateNamedPipeA(kPipe, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED, PIPE_TYPE_BYTE,
                                 1, 4096, 4096, 0, nullptr))
      , client_(CreateFileA(kPipe, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr))
   {
      EXPECT_NE(server_, INVALID_HANDLE_VALUE);
      EXPECT_NE(client_, INVALID_HANDLE_VALUE);
   }
   ~BusyPipe()
   {
      CloseHandle(client_);
      if (server_ != INVALID_HANDLE_VALUE) CloseHandle(server_);
   }
   BusyPipe(const BusyPipe&) = delete;
   BusyPipe& operator=(const BusyPipe&) = delete;

   // Lets go of the client and returns the connection of the next one.
   Stream freeForTheNext(const StopSignal& stop)
   {
      DisconnectNamedPipe(server_);
      Transfer connecting;
      const bool isDone = ConnectNamedPipe(server_, connecting.record()) != FALSE;
      connecting.wait(server_, isDone, stop);
      return Stream(reinterpret_cast<NativeHandle>(std::exchange(server_, INVALID_HANDLE_VALUE)));
   }

private:
   HANDLE server_;
   const HANDLE client_;
};

// Answers every call and keeps nothing.
void answerAll(Stream& stream, const StopSignal& stop)
{
   std::string received;
   char piece[4096];
   while (const std::size_t count = stream.read(piece, sizeof piece, stop)) {
      received.append(piece, count);
      if (received.size() < 4) continue;
      const auto length = static_cast<std::uint8_t>(received[3]); // all requests here are short
      if (received.size() < 4u + length) continue;
      const std::string method = methodOf(received);
      received.clear();
      if (!stream.write(plainReply(method), stop)) return;
   }
}

TEST(BusyPipe, ThatStaysSoIsWaitedForTwice)
{
   const BusyPipe busy;
   EXPECT_EQ(CreateFileA(kPipe, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr),
             INVALID_HANDLE_VALUE);
   EXPECT_EQ(GetLastError(), DWORD{ERROR_PIPE_BUSY});
   CheckedStatus status;
   const auto start = steady_clock::now();
   EXPECT_EQ(zerovaapi_createSession(status), nullptr);
   EXPECT_GE(since(start), milliseconds(5900));
   EXPECT_LT(since(start), milliseconds(20000));
   EXPECT_EQ(status.code(), -89168);
   EXPECT_THAT(status.json(), ContainsPattern(R"("Unable to open pipe"\}$)"));
}

TEST(BusyPipe, ThatIsFreedWithinTheWaitIsHad)
{
   BusyPipe busy;
   StopSignal stop;
   const auto start = steady_clock::now();
   std::thread freeing([&] {
      Sleep(500); // nothing tells that the caller waits
      Stream stream = busy.freeForTheNext(stop);
      answerAll(stream, stop);
   });
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createSession(status);
   EXPECT_LT(since(start), milliseconds(3000));
   EXPECT_GE(since(start), milliseconds(400));
   EXPECT_NE(session, nullptr) << status.json();
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   zerovaapi_destroySession(session);
   stop.raise();
   freeing.join();
}

enum class Drop
{
   close,
   disconnect
};

class DroppedPipe : public testing::TestWithParam<Drop>
{
protected:
   // The end of a script, as the service of this parameter makes it.
   static Script& drop(Script& script)
   {
      return GetParam() == Drop::close ? script.close() : script.reset();
   }
   static Script dropping(Script script) { return drop(script); }

   // A call and its successors, which fail at the start of their writing.
   static void expectBroken(zerovaapi_Session session, const char* first)
   {
      for (const char* text : {first, "TPipe: write failed"}) {
         CheckedStatus status;
         EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 0);
         EXPECT_EQ(status.code(), -52024);
         EXPECT_THAT(
            status.json(),
            ContainsPattern(std::string("\"Thrift::TTransportException\":\"") + text + "\"\\}$"));
      }
   }
};

// An end may come before the reading is started or while it is under way.
constexpr const char* kBrokenRead = "(getOverlappedResultWithTimeout|TPipe: read) failed";

INSTANTIATE_TEST_SUITE_P(By, DroppedPipe, testing::Values(Drop::close, Drop::disconnect),
                         [](const auto& drop) {
                            return drop.param == Drop::close ? "Close" : "Disconnect";
                         });

TEST_P(DroppedPipe, BeforeTheVersionIsAnsweredIsTriedAgainUntilTheServiceAnswers)
{
   RawPeer service(Listener::local("com.zerova"),
                   {dropping(Script()), dropping(Script().receive()), answeringPlainly()});
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createSession(status);
   ASSERT_NE(session, nullptr) << status.json();
   EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(service.connectionCount(), 3u);
   zerovaapi_destroySession(session);
}

TEST_P(DroppedPipe, BeforeACallFailsIt)
{
   std::promise<void> opened;
   RawPeer service(Listener::local("com.zerova"), dropping(Script().acceptVersion().call(
                                                     [&opened] { opened.get_future().wait(); })));
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createSession(status);
   opened.set_value();
   ASSERT_NE(session, nullptr) << status.json();
   ASSERT_TRUE(service.waitUntilFinished(0));
   expectBroken(session, "TPipe: write failed");
   zerovaapi_destroySession(session);
}

TEST_P(DroppedPipe, WhileAnAnswerIsWaitedForFailsTheCall)
{
   RawPeer service(Listener::local("com.zerova"), dropping(Script().acceptVersion().receive()));
   CheckedStatus status;
   const zerovaapi_Session session = zerovaapi_createSession(status);
   ASSERT_NE(session, nullptr) << status.json();
   expectBroken(session, kBrokenRead);
   zerovaapi_destroySession(session);
}

TEST_P(DroppedPipe, WithinAnAnswerFailsTheCall)
{
   const std::string whole = plainReply("getSystemChangeNumber");
   for (const std::size_t length : {std::size_t{2}, std::size_t{4}, whole.size() - 1}) {
      SCOPED_TRACE(length);
      RawPeer service(Listener::local("com.zerova"),
                      dropping(Script().acceptVersion().receive().send(whole, length)));
      CheckedStatus status;
      const zerovaapi_Session session = zerovaapi_createSession(status);
      ASSERT_NE(session, nullptr) << status.json();
      expectBroken(session, kBrokenRead);
      zerovaapi_destroySession(session);
   }
}

void refuseAll(Stream& stream, const StopSignal& stop)
{
   char piece[4096];
   if (stream.read(piece, sizeof piece, stop) > 0)
      stream.write(statusReply("version", -77, R"({"why":"busy"})"), stop);
}

// Handles and bytes of the process behind rounds of action, the service of which is gone by then.
struct Held
{
   std::size_t handles;
   std::size_t bytes;
};

Held heldBehind(int rounds, void (*serve)(Stream&, const StopSignal&),
                const std::function<void()>& action)
{
   {
      const Acceptor service(Listener::local("com.zerova"), "service", serve);
      for (int i = 0; i < rounds; ++i)
         action();
   }
   return {openDescriptors(), heapBytesInUse()};
}

// The head of a block takes 16 bytes, so one that each session leaves behind adds 16,000.
constexpr std::size_t kOfAllocators = 8'000;
// Threads that meet at a lock for the first time make it a handle.
constexpr std::size_t kOfLocks = 8;

TEST(Sessions, ThousandLeaveHandlesAndHeapAsTheyWere)
{
   const auto useOne = [] {
      CheckedStatus status;
      const zerovaapi_Session session = zerovaapi_createSession(status);
      EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7) << status.json();
      zerovaapi_destroySession(session);
   };
   const Held before = heldBehind(20, answerAll, useOne);
   const Held after = heldBehind(1000, answerAll, useOne);
   EXPECT_LE(after.handles, before.handles + kOfLocks);
   EXPECT_LT(after.bytes, before.bytes + kOfAllocators);
}

// A locator, which tells the port of the service, and the service.
class RemoteHost
{
public:
   const std::string& name() const { return address_.text(); }

private:
   void tellPort(Stream& stream, const StopSignal& stop) const
   {
      std::string request;
      char piece[256];
      while (request.find("\r\n\r\n") == std::string::npos) {
         const std::size_t count = stream.read(piece, sizeof piece, stop);
         if (count == 0) return;
         request.append(piece, count);
      }
      // An emulator makes much of each byte, and the reply needs no more than this.
      stream.write("Mapping=" + std::to_string(service_.port()) + "\n", stop);
   }

   const LoopbackAddress address_;
   const Acceptor service_{Listener::tcp(address_.text()), "service", answerAll};
   const Acceptor locator_{
      Listener::tcp(address_.text(), kLocatorPort), "locator",
      [this](Stream& stream, const StopSignal& stop) { tellPort(stream, stop); }};
};

TEST(Sessions, FiveHundredRemoteOnesLeaveHandlesAndHeapAsTheyWere)
{
   const auto useMany = [](int count) {
      const RemoteHost host;
      for (int i = 0; i < count; ++i) {
         CheckedStatus status;
         const zerovaapi_Session session =
            zerovaapi_createRemoteSession(host.name().c_str(), status);
         EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7) << status.json();
         zerovaapi_destroySession(session);
      }
   };
   useMany(20);
   const Held before{openDescriptors(), heapBytesInUse()};
   useMany(500);
   EXPECT_LE(openDescriptors(), before.handles + kOfLocks);
   EXPECT_LT(heapBytesInUse(), before.bytes + kOfAllocators);
}

TEST(Sessions, ThousandThatAreRefusedLeaveHandlesAndHeapAsTheyWere)
{
   const auto tryOne = [] {
      CheckedStatus status;
      EXPECT_EQ(zerovaapi_createSession(status), nullptr);
      EXPECT_EQ(status.code(), -77);
   };
   const Held before = heldBehind(20, refuseAll, tryOne);
   const Held after = heldBehind(1000, refuseAll, tryOne);
   EXPECT_LE(after.handles, before.handles + kOfLocks);
   EXPECT_LT(after.bytes, before.bytes + kOfAllocators);
}

// Some hundred attempts.
TEST(Sessions, AttemptsThatFindNoServiceLeaveHandlesAndHeapAsTheyWere)
{
   const auto tryOne = [] {
      CheckedStatus status;
      EXPECT_EQ(zerovaapi_createSession(status), nullptr);
      EXPECT_EQ(status.code(), -89168);
   };
   tryOne();
   const std::size_t handles = openDescriptors();
   const std::size_t bytes = heapBytesInUse();
   tryOne();
   EXPECT_LE(openDescriptors(), handles + kOfLocks);
   EXPECT_LT(heapBytesInUse(), bytes + 1'000);
}

TEST(Sessions, EightThreadsHaveTheirOwn)
{
   const Acceptor service(Listener::local("com.zerova"), "service", answerAll);
   std::vector<std::thread> threads;
   for (int i = 0; i < 8; ++i)
      threads.emplace_back([] {
         CheckedStatus status;
         for (int round = 0; round < 50; ++round) {
            const zerovaapi_Session session = zerovaapi_createSession(status);
            ASSERT_NE(session, nullptr) << status.json();
            for (int call = 0; call < 10; ++call)
               EXPECT_EQ(zerovaapi_getSystemChangeNumber(session, status), 7);
            zerovaapi_destroySession(session);
         }
      });
   for (std::thread& thread : threads)
      thread.join();
}

} // namespace
