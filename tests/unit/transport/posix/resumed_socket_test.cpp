// The calls beneath Thrift's TCP socket.
#include "platform/posix/resumed_socket.h"

#include "service/loopback_address.h"
#include "service/stream.h"
#include "support/signals.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/posix/call_faults.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using zerova::test::Listener;
using zerova::test::LoopbackAddress;
using zerova::test::StopSignal;
using zerova::test::Stream;

constexpr int kMany = 1000;

class Descriptor
{
public:
   explicit Descriptor(int number)
      : number_(number)
   {
   }
   ~Descriptor() { close(number_); }
   Descriptor(const Descriptor&) = delete;
   Descriptor& operator=(const Descriptor&) = delete;

   operator int() const { return number_; }

private:
   int number_;
};

int newSocket()
{
   return platform::uninheritedSocket(AF_INET, SOCK_STREAM, 0);
}

// 0 or the number of the failure.
int connectTo(int descriptor, const std::string& host, uint16_t port)
{
   sockaddr_in peer{};
   peer.sin_family = AF_INET;
   peer.sin_port = htons(port);
   inet_pton(AF_INET, host.c_str(), &peer.sin_addr);
   return platform::resumedConnect(descriptor, reinterpret_cast<const sockaddr*>(&peer),
                                   sizeof(peer)) == 0
             ? 0
             : errno;
}

TEST(ResumedSocket, IsClosedInANewProgramFromItsMakingOn)
{
   const Descriptor made(newSocket());
   EXPECT_TRUE(descriptors::isKeptFromChildren(made));
   const faults::Failing failing(faults::Call::kSocket, EMFILE);
   EXPECT_EQ(newSocket(), -1);
   EXPECT_EQ(errno, EMFILE);
}

TEST(ResumedSocket, ConnectsAndPassesOnWhyItCannot)
{
   const LoopbackAddress host;
   const Listener listener = Listener::tcp(host.text());
   const Descriptor accepted(newSocket());
   EXPECT_EQ(connectTo(accepted, host.text(), listener.port()), 0);
   EXPECT_EQ(connectTo(accepted, host.text(), listener.port()), EISCONN);
   const Descriptor refused(newSocket());
   EXPECT_EQ(connectTo(refused, host.text(), 1), ECONNREFUSED);
   EXPECT_EQ(connectTo(-1, host.text(), 1), EBADF);
}

// A listener without room leaves a connect under way; the system tries again after a second.
class InterruptedConnect : public testing::Test
{
protected:
   // Connects. After a hundred signals change() makes an end of the waiting.
   template <typename Change>
   int connectUntil(Change change)
   {
      const Descriptor own(newSocket());
      const Signals signals;
      const auto changed = std::async(std::launch::async, [&] {
         while (signals.count() < 100)
            std::this_thread::yield();
         change();
      });
      return connectTo(own, host.text(), port);
   }

   const LoopbackAddress host;
   std::unique_ptr<Listener> listener =
      std::make_unique<Listener>(Listener::tcp(host.text(), 0, 0));
   const uint16_t port = listener->port();
   const Stream other = Stream::connectTcp(host.text(), port);
};

TEST_F(InterruptedConnect, GoesOnUntilThereIsRoom)
{
   const StopSignal never;
   EXPECT_EQ(connectUntil([&] { listener->accept(never); }), 0);
}

TEST_F(InterruptedConnect, GoesOnUntilItIsRefused)
{
   EXPECT_EQ(connectUntil([&] { listener.reset(); }), ECONNREFUSED);
}

TEST(InterruptedTransfer, IsBegunAgainAsOftenAsItTakes)
{
   int ends[2] = {-1, -1};
   ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
   const Descriptor one(ends[0]);
   const Descriptor other(ends[1]);
   {
      const faults::Failing interrupted(faults::Call::kSend, EINTR, kMany);
      EXPECT_EQ(platform::resumedSend(one, "bytes", 5, MSG_NOSIGNAL), 5);
      EXPECT_TRUE(interrupted.hasHappened());
   }
   std::array<char, 8> buffer = {};
   const faults::Failing interrupted(faults::Call::kReceive, EINTR, kMany);
   EXPECT_EQ(platform::resumedReceive(other, buffer.data(), buffer.size(), 0), 5);
   EXPECT_TRUE(interrupted.hasHappened());
   EXPECT_STREQ(buffer.data(), "bytes");
}

TEST(InterruptedTransfer, PassesOnEveryOtherFailure)
{
   const int closed = platform::uninheritedSocket(AF_INET, SOCK_STREAM, 0);
   ASSERT_EQ(close(closed), 0);
   char byte = 0;
   EXPECT_EQ(platform::resumedSend(closed, &byte, 1, MSG_NOSIGNAL), -1);
   EXPECT_EQ(errno, EBADF);
   EXPECT_EQ(platform::resumedReceive(closed, &byte, 1, 0), -1);
   EXPECT_EQ(errno, EBADF);
}

} // namespace
