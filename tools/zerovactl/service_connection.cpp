#include "tools/zerovactl/service_connection.h"

#include "tools/zerovactl/system.h"

#include <cstdlib>
#include <future>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>

namespace zerovactl {

namespace {

using std::chrono::milliseconds;

std::int32_t leftUntil(Moment until)
{
   const auto left = std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now());
   if (left.count() <= 0) throw ConnectionSilent("no answer");
   return static_cast<std::int32_t>(left.count());
}

// Closes its handle whatever becomes of who was to have it.
class Owned
{
public:
   using Close = void (*)(platform::Handle);
   Owned(platform::Handle handle, Close close)
      : handle_(handle)
      , close_(close)
   {
   }
   ~Owned()
   {
      if (handle_ != platform::kInvalidHandle) close_(handle_);
   }
   Owned(Owned&& other) noexcept
      : handle_(std::exchange(other.handle_, platform::kInvalidHandle))
      , close_(other.close_)
   {
   }
   Owned& operator=(Owned&&) = delete;
   platform::Handle get() const { return handle_; }

private:
   platform::Handle handle_;
   Close close_;
};

Owned newEvent()
{
   platform::Handle event = platform::kInvalidHandle;
   if (const int failure = platform::createEvent(event); failure != 0)
      throw ConnectionFailure(systemText(failure));
   return {event, platform::closeEvent};
}

class PipeConnection : public Connection
{
public:
   explicit PipeConnection(Owned pipe)
      : pipe_(std::move(pipe))
      , event_(newEvent())
   {
   }

   std::size_t receive(char* bytes, std::size_t size, Moment until) override
   {
      platform::PipeTransfer transfer{event_.get()};
      require(platform::startRead(pipe_.get(), bytes, static_cast<std::uint32_t>(size), transfer));
      return finish(transfer, until);
   }

   void send(const std::string& bytes, Moment until) override
   {
      std::size_t sent = 0;
      while (sent < bytes.size()) {
         platform::PipeTransfer transfer{event_.get()};
         require(platform::startWrite(pipe_.get(), bytes.data() + sent,
                                      static_cast<std::uint32_t>(bytes.size() - sent), transfer));
         sent += finish(transfer, until);
      }
   }

private:
   static void require(int failure)
   {
      if (failure != 0) throw ConnectionFailure("the connection was closed");
   }

   std::size_t finish(platform::PipeTransfer& transfer, Moment until) const
   {
      std::int32_t left = 0;
      try {
         left = leftUntil(until);
      } catch (...) {
         platform::cancelTransfer(pipe_.get(), transfer);
         throw;
      }
      if (platform::waitForTransfer(transfer, left).result != platform::TransferWait::ended) {
         platform::cancelTransfer(pipe_.get(), transfer);
         throw ConnectionSilent("no answer");
      }
      std::uint32_t count = 0;
      require(platform::finishTransfer(pipe_.get(), transfer, false, count));
      return count;
   }

   Owned pipe_;
   Owned event_;
};

static_assert(std::is_same_v<platform::Socket, platform::Handle> &&
              platform::kInvalidSocket == platform::kInvalidHandle);

class SocketLibrary
{
public:
   SocketLibrary() { platform::startSockets(); }
   ~SocketLibrary() { platform::stopSockets(); }
   SocketLibrary(const SocketLibrary&) = delete;
   SocketLibrary& operator=(const SocketLibrary&) = delete;
};

Owned newSocket()
{
   Owned made(platform::createTcpSocket(),
              [](platform::Socket socket) { platform::closeSocket(socket); });
   if (made.get() == platform::kInvalidSocket || !platform::setNonBlocking(made.get()))
      throw ConnectionFailure("no socket to be had: " + systemText(lastSocketFailure()));
   return made;
}

class SocketConnection : public Connection
{
public:
   void connect(std::uint32_t address, std::uint16_t port, Moment until)
   {
      const auto start = platform::startConnect(socket_.get(), address, port);
      if (start == platform::ConnectStart::failed)
         throw ConnectionFailure(systemText(lastSocketFailure()));
      if (start == platform::ConnectStart::connected) return;
      wait(true, until);
      if (const int failure = pendingFailure(socket_.get()); failure != 0)
         throw ConnectionFailure(systemText(failure));
   }

   std::size_t receive(char* bytes, std::size_t size, Moment until) override
   {
      wait(false, until);
      const std::int32_t count =
         platform::receiveBytes(socket_.get(), bytes, static_cast<std::int32_t>(size));
      if (count <= 0) throw ConnectionFailure("the connection was closed");
      return static_cast<std::size_t>(count);
   }

   void send(const std::string& bytes, Moment until) override
   {
      std::size_t sent = 0;
      while (sent < bytes.size()) {
         wait(true, until);
         const std::int32_t count = platform::sendBytes(
            socket_.get(), bytes.data() + sent, static_cast<std::int32_t>(bytes.size() - sent));
         if (count < 0) throw ConnectionFailure("the connection was closed");
         sent += static_cast<std::size_t>(count);
      }
   }

private:
   void wait(bool forRoom, Moment until)
   {
      platform::SocketWatch watch = {socket_.get(), !forRoom, forRoom, forRoom};
      if (platform::waitForSockets(&watch, 1, leftUntil(until)) != platform::SocketWait::ready)
         throw ConnectionSilent("no answer");
   }

   const SocketLibrary library_;
   Owned socket_ = newSocket();
};

std::string receiveExactly(Connection& connection, std::size_t size, Moment until)
{
   std::string bytes(size, '\0');
   std::size_t count = 0;
   while (count < size)
      count += connection.receive(bytes.data() + count, size - count, until);
   return bytes;
}

} // namespace

std::unique_ptr<Connection> connectionOver(platform::Handle pipe)
{
   return std::make_unique<PipeConnection>(Owned(pipe, platform::closePipe));
}

std::unique_ptr<Connection> connectTo(std::uint32_t address, std::uint16_t port, Moment until)
{
   auto connection = std::make_unique<SocketConnection>();
   connection->connect(address, port, until);
   return connection;
}

Message call(Connection& connection, const std::string& method, const std::string* argument,
             Moment until)
{
   connection.send(encodeCall(method, argument), until);
   const std::uint32_t length = frameLength(receiveExactly(connection, 4, until));
   if (length > kLargestFrame)
      throw ConnectionFailure("it answers, but not in the service's protocol");
   Message reply = decodeMessage(receiveExactly(connection, length, until));
   if (!reply.problem.empty())
      throw ConnectionFailure("it answers, but not in the service's protocol: " + reply.problem);
   return reply;
}

std::uint16_t askLocator(Connection& connection, Moment until)
{
   connection.send("GET Trevanta%2FZerova HTTP/1.0\r\n\r\n", until);
   std::string line;
   for (;;) {
      const char byte = receiveExactly(connection, 1, until)[0];
      if (byte != '\n') {
         if (byte != '\r') line += byte;
         if (line.size() > 1000) throw ConnectionFailure("what answers is no locator");
         continue;
      }
      const std::string_view text = line;
      for (const std::string_view key : {"Mapping=", "Port="}) {
         if (text.substr(0, key.size()) != key) continue;
         // As the library reads it: its low 16 bits.
         const auto port =
            static_cast<std::uint16_t>(std::strtol(text.data() + key.size(), nullptr, 10) & 0xFFFF);
         if (port == 0) throw ConnectionFailure("the locator names no port for Trevanta/Zerova");
         return port;
      }
      line.clear();
   }
}

std::uint32_t addressOf(const std::string& host, std::chrono::seconds time)
{
   const SocketLibrary library;
   static constexpr std::uint32_t kNone = 0xFFFFFFFF;
   if (const auto address = platform::addressOfDottedText(host.c_str()); address != kNone)
      return address;
   // The resolver cannot be told to stop; a thread that it holds ends with the process.
   std::promise<std::uint32_t> promise;
   auto answer = promise.get_future();
   std::thread([host, found = std::move(promise)]() mutable {
      const SocketLibrary own;
      std::uint32_t address = 0;
      found.set_value(platform::resolveName(host.c_str(), address) ? address : kNone);
   }).detach();
   if (answer.wait_for(time) != std::future_status::ready)
      throw ConnectionSilent("the resolver has not answered in " + std::to_string(time.count()) +
                             " s");
   const std::uint32_t address = answer.get();
   if (address == kNone) throw ConnectionFailure("unknown host");
   return address;
}

std::string dotted(std::uint32_t address)
{
   std::string text;
   for (int shift = 24; shift >= 0; shift -= 8)
      text += (text.empty() ? "" : ".") + std::to_string(address >> shift & 0xFF);
   return text;
}

} // namespace zerovactl
