#include "bench/canned_service.h"

#include "bench/machine.h"
#include "bench/wire.h"
#include "service/acceptor.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace bench {

using zerova::test::Acceptor;
using zerova::test::Listener;
using zerova::test::StopSignal;
using zerova::test::Stream;

namespace {

constexpr uint16_t kLocatorPort = 3580;

bool receiveAll(Stream& stream, char* bytes, size_t count, const StopSignal& stop)
{
   while (count > 0) {
      const size_t got = stream.read(bytes, count, stop);
      if (got == 0) return false;
      bytes += got;
      count -= got;
   }
   return true;
}

} // namespace

class CannedService::Endpoints
{
public:
   Endpoints(const std::string& host, const Replies& replies, int core,
             std::chrono::microseconds work)
      : replies_(wholeOf(replies))
      , core_(core)
      , work_(work)
      , local_(Listener::local("com.zerova"), "local",
               [this](Stream& stream, const StopSignal& stop) { serve(stream, stop); })
      , tcp_(Listener::tcp(host), "tcp",
             [this](Stream& stream, const StopSignal& stop) { serve(stream, stop); })
      , locator_(Listener::tcp(host, kLocatorPort), "locator",
                 [this](Stream& stream, const StopSignal& stop) { answer(stream, stop); })
   {
   }

   int port() const { return tcp_.port(); }

private:
   static Replies wholeOf(const Replies& replies)
   {
      Replies whole;
      for (const auto& [name, body] : replies)
         whole[name] = framed(body);
      return whole;
   }

   void serve(Stream& stream, const StopSignal& stop) const
   {
      if (core_ >= 0) pinToCore(core_);
      std::vector<char> body;
      for (char length[4]; receiveAll(stream, length, sizeof length, stop);) {
         body.resize(lengthOf(length));
         if (!receiveAll(stream, body.data(), body.size(), stop)) break;
         if (work_.count() > 0) std::this_thread::sleep_for(work_);
         const auto reply = replies_.find(methodOf(body));
         if (reply == replies_.end() || !stream.write(reply->second, stop)) break;
      }
   }

   void answer(Stream& stream, const StopSignal& stop) const
   {
      std::string request;
      for (char byte = 0;
           request.find("\r\n\r\n") == std::string::npos && stream.read(&byte, 1, stop) == 1;)
         request += byte;
      stream.write("HTTP/1.0 200 OK\r\n\r\nPort=" + std::to_string(port()) + "\r\n", stop);
   }

   const Replies replies_;
   const int core_;
   const std::chrono::microseconds work_;
   Acceptor local_;
   Acceptor tcp_;
   Acceptor locator_;
};

CannedService::CannedService(const std::string&, const std::string& host, const Replies& replies,
                             int core, std::chrono::microseconds work)
   : endpoints_(std::make_unique<Endpoints>(host, replies, core, work))
{
}

CannedService::~CannedService() = default;

int CannedService::port() const
{
   return endpoints_->port();
}

class Connection::End
{
public:
   Stream stream;
   StopSignal never;
};

Connection::Connection(std::unique_ptr<End> end)
   : end_(std::move(end))
{
}

Connection::Connection(Connection&&) noexcept = default;

Connection::~Connection() = default;

Connection Connection::local(const std::string&)
{
   return Connection(std::unique_ptr<End>(new End{Stream::connectLocal("com.zerova"), {}}));
}

Connection Connection::tcp(const std::string& host, int port)
{
   return Connection(
      std::unique_ptr<End>(new End{Stream::connectTcp(host, static_cast<uint16_t>(port)), {}}));
}

void Connection::send(const std::string& bytes)
{
   if (end_->stream.write(bytes, end_->never)) return;
   std::fprintf(stderr, "a connection has broken\n");
   std::exit(1);
}

void Connection::receive(char* bytes, size_t count)
{
   if (receiveAll(end_->stream, bytes, count, end_->never)) return;
   std::fprintf(stderr, "a connection has broken\n");
   std::exit(1);
}

} // namespace bench
