#include "tools/simulator/service.h"

#include "service/standin/locator.h"
#include "service/stream.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <set>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

namespace zerova::simulator {

namespace {

using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::transport::TMemoryBuffer;
using Clock = std::chrono::steady_clock;
using test::Listener;

constexpr std::size_t kLengthSize = 4;
constexpr std::size_t kLongestLocatorRequest = 8192;
// Descriptors that the program needs beside those of its clients.
constexpr std::size_t kOwnDescriptors = 64;
constexpr int kBacklog = 1024;

enum class Kind
{
   kSession,
   kImmediate,
   kTcp,
   kLocator
};

const char* nameOf(Kind kind)
{
   switch (kind) {
   case Kind::kSession:
      return "local";
   case Kind::kImmediate:
      return "immediate";
   case Kind::kTcp:
      return "tcp";
   case Kind::kLocator:
      break;
   }
   return "locator";
}

[[noreturn]] void failWith(const char* what)
{
   throw std::system_error(errno, std::generic_category(), what);
}

std::size_t lengthAt(std::string_view bytes)
{
   std::uint32_t length = 0;
   std::memcpy(&length, bytes.data(), sizeof length);
   return ntohl(length);
}

std::string framed(std::string_view body)
{
   const std::uint32_t length = htonl(static_cast<std::uint32_t>(body.size()));
   std::string frame(reinterpret_cast<const char*>(&length), sizeof length);
   return frame.append(body);
}

// The method's name in a message, empty if there is none to be had. Newer messages begin with a version
// and the type, older ones with the name.
std::string_view methodIn(std::string_view message)
{
   if (message.size() >= kLengthSize && (static_cast<unsigned char>(message[0]) & 0x80) != 0)
      message.remove_prefix(kLengthSize);
   if (message.size() < kLengthSize) return {};
   const std::size_t length = lengthAt(message);
   return message.size() - kLengthSize < length ? std::string_view()
                                                : message.substr(kLengthSize, length);
}

std::size_t raisedDescriptorLimit()
{
   rlimit limit{};
   if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) failWith("getrlimit");
   limit.rlim_cur = limit.rlim_max;
   // What cannot be raised stays as it is.
   ::setrlimit(RLIMIT_NOFILE, &limit);
   if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) failWith("getrlimit");
   return limit.rlim_cur;
}

std::string timeNow()
{
   const auto now = std::chrono::system_clock::now();
   const auto seconds = std::chrono::time_point_cast<std::chrono::seconds>(now);
   const std::time_t time = std::chrono::system_clock::to_time_t(seconds);
   std::tm parts{};
   ::gmtime_r(&time, &parts);
   std::array<char, 64> text{};
   const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
   const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(now - seconds).count();
   std::string digits = std::to_string(micros);
   digits.insert(0, 6 - digits.size(), '0');
   return std::string(text.data(), length) + "." + digits + "Z";
}

struct Peer
{
   int descriptor = -1;
   ConnectionId id = 0;
   Kind kind = Kind::kSession;
   bool isDeaf = false;       // nothing more is read or answered
   bool endsWhenSent = false; // the connection ends when all of out is sent
   bool hasSpoken = false;    // a whole request has come
   bool isWaiting = false;    // for a delayed answer
   std::uint32_t events = EPOLLIN;
   std::string in;
   std::string out;
};

} // namespace

class Service::Loop
{
public:
   // Delegates, so that the destructor takes back what was made before an endpoint was refused.
   Loop(Bench& bench, const ServiceOptions& options)
      : Loop(bench, options.isDebug)
   {
      most_ = options.mostConnections;
      const std::size_t descriptors = raisedDescriptorLimit();
      if (descriptors < most_ + kOwnDescriptors)
         most_ =
            descriptors > 2 * kOwnDescriptors ? descriptors - kOwnDescriptors : descriptors / 2;
      if (!options.endpointDir.empty()) {
         listen(Listener::local("com.zerova", options.endpointDir, kBacklog), Kind::kSession);
         listen(Listener::local("com.zerova.immediate", options.endpointDir, kBacklog),
                Kind::kImmediate);
         endpoints_.push_back("local " + options.endpointDir);
      }
      if (options.address.empty()) return;
      listen(Listener::tcp(options.address, options.port, kBacklog), Kind::kTcp);
      port_ = listeners_.back()->listener.port();
      endpoints_.push_back("tcp " + listeners_.back()->listener.description());
      if (!options.locatorPort) return;
      listen(Listener::tcp(options.address, *options.locatorPort, kBacklog), Kind::kLocator);
      endpoints_.push_back("locator " + listeners_.back()->listener.description());
   }

   ~Loop()
   {
      for (const auto& entry : connections_)
         ::close(entry.second->descriptor);
      // The first endpoint may have made the folder, so it goes last.
      while (!listeners_.empty())
         listeners_.pop_back();
      ::close(epoll_);
   }

   void watch(int descriptor, std::function<void()> ready)
   {
      auto watched = std::make_unique<Watched>();
      watched->descriptor = descriptor;
      watched->ready = std::move(ready);
      add(descriptor, watched.get());
      watched_.push_back(std::move(watched));
   }

   void run()
   {
      std::array<epoll_event, 256> events{};
      while (!isStopped_) {
         const int count =
            ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), untilNextAnswer());
         if (count < 0 && errno != EINTR) failWith("epoll_wait");
         for (int i = 0; i < count; ++i)
            handle(events[static_cast<std::size_t>(i)]);
         sendDelayed();
         ended_.clear();
         const bool hasChanged = std::exchange(hasChanged_, false);
         if (hasChanged && changed_) changed_();
      }
   }

   std::vector<std::string> endpoints_;
   std::uint16_t port_ = 0;
   std::size_t most_ = 0;
   Log log_;
   std::function<void()> changed_;
   bool isStopped_ = false;
   const std::shared_ptr<Calls>& calls() const { return calls_; }

private:
   Loop(Bench& bench, bool isDebug)
      : bench_(bench)
      , calls_(std::make_shared<Calls>(bench, isDebug))
      , processor_(calls_)
      , plan_(bench.topology().faults)
      , epoll_(::epoll_create1(EPOLL_CLOEXEC))
   {
      if (epoll_ < 0) failWith("epoll");
   }

   // What epoll gives back.
   struct Source
   {
      Source() = default;
      virtual ~Source() = default;
      Source(const Source&) = delete;
      Source& operator=(const Source&) = delete;
   };
   struct Listening : Source
   {
      Listening(Listener from, Kind of)
         : listener(std::move(from))
         , kind(of)
      {
      }
      Listener listener;
      Kind kind;
   };
   struct Watched : Source
   {
      int descriptor = -1;
      std::function<void()> ready;
   };
   struct Client : Source, Peer
   {
   };

   void add(int descriptor, Source* source) const
   {
      epoll_event event{};
      event.events = EPOLLIN;
      event.data.ptr = source;
      if (::epoll_ctl(epoll_, EPOLL_CTL_ADD, descriptor, &event) != 0) failWith("epoll_ctl");
   }

   void listen(Listener listener, Kind kind)
   {
      listeners_.push_back(std::make_unique<Listening>(std::move(listener), kind));
      add(static_cast<int>(listeners_.back()->listener.handle()), listeners_.back().get());
   }

   void handle(const epoll_event& event)
   {
      auto* const source = static_cast<Source*>(event.data.ptr);
      if (auto* const listening = dynamic_cast<Listening*>(source)) return acceptAll(*listening);
      if (auto* const watched = dynamic_cast<Watched*>(source)) return watched->ready();
      auto* const client = dynamic_cast<Client*>(source);
      // Ended by what another event of the same round brought about.
      if (!client || client->descriptor < 0) return;
      if ((event.events & EPOLLOUT) != 0) send(*client);
      if (client->descriptor >= 0 && (event.events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0)
         receive(*client);
   }

   void acceptAll(const Listening& listening)
   {
      for (;;) {
         const int descriptor = ::accept4(static_cast<int>(listening.listener.handle()), nullptr,
                                          nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
         if (descriptor < 0) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            if (errno == EAGAIN) return;
            // Out of descriptors or memory: one that said nothing makes room, or the rest waits.
            if (!endOldestSilent()) return;
            continue;
         }
         if (connections_.size() >= most_ && !endOldestSilent()) {
            ::close(descriptor);
            continue;
         }
         welcome(descriptor, listening.kind);
      }
   }

   void welcome(int descriptor, Kind kind)
   {
      const int on = 1;
      if (kind == Kind::kTcp || kind == Kind::kLocator)
         ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      auto client = std::make_unique<Client>();
      client->descriptor = descriptor;
      client->id = nextId_++;
      client->kind = kind;
      add(descriptor, client.get());
      silent_.insert(client->id);
      if (kind != Kind::kLocator)
         log(Json{{"connection", client->id}, {"event", "open"}, {"endpoint", nameOf(kind)}});
      connections_.emplace(client->id, std::move(client));
   }

   bool endOldestSilent()
   {
      if (silent_.empty()) return false;
      end(*connections_.at(*silent_.begin()));
      return true;
   }

   void end(Client& client)
   {
      ::close(std::exchange(client.descriptor, -1));
      silent_.erase(client.id);
      held_ -= client.in.size();
      if (client.kind != Kind::kLocator) {
         bench_.endConnection(client.id);
         hasChanged_ = true;
         log(Json{{"connection", client.id}, {"event", "end"}});
      }
      const auto entry = connections_.find(client.id);
      ended_.push_back(std::move(entry->second)); // events of this round may still name it
      connections_.erase(entry);
   }

   void receive(Client& client)
   {
      const ssize_t count = ::recv(client.descriptor, buffer_.data(), buffer_.size(), 0);
      if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
      if (count <= 0) return end(client);
      const std::string_view bytes(buffer_.data(), static_cast<std::size_t>(count));
      if (client.isDeaf) return;
      if (client.in.empty()) return take(client, bytes);
      keep(client, bytes);
      if (client.descriptor >= 0) takeKept(client);
   }

   // Looks at no byte of a request that is not whole again, however small the pieces are.
   void takeKept(Client& client)
   {
      const bool mayBeWhole =
         client.kind == Kind::kLocator || (client.in.size() >= kLengthSize &&
                                           (lengthAt(client.in) > kLongestRequest ||
                                            client.in.size() - kLengthSize >= lengthAt(client.in)));
      if (!mayBeWhole || isBusy(client)) return;
      const std::string all = std::exchange(client.in, {});
      held_ -= all.size();
      take(client, all);
   }

   // Keeps the beginning of a request for its rest.
   void keep(Client& client, std::string_view bytes)
   {
      client.in.append(bytes);
      held_ += bytes.size();
      while (held_ > kMostHeldBytes) {
         const auto longest = std::ranges::max_element(
            connections_, {}, [](const auto& entry) { return entry.second->in.size(); });
         end(*longest->second);
      }
   }

   void take(Client& client, std::string_view bytes)
   {
      if (client.kind == Kind::kLocator) return answerLocator(client, bytes);
      while (bytes.size() >= kLengthSize && !client.isDeaf && !isBusy(client)) {
         const std::size_t length = lengthAt(bytes);
         if (length == 0 || length > kLongestRequest) return end(client);
         if (bytes.size() - kLengthSize < length) break;
         const std::string_view message = bytes.substr(kLengthSize, length);
         bytes.remove_prefix(kLengthSize + length);
         if (!client.hasSpoken) silent_.erase(client.id);
         client.hasSpoken = true;
         answer(client, message);
         if (client.descriptor < 0) return;
      }
      if (!bytes.empty() && !client.isDeaf) keep(client, bytes);
   }

   // Nothing is read from who has not taken the last answer.
   static bool isBusy(const Client& client) { return client.isWaiting || !client.out.empty(); }

   void answerLocator(Client& client, std::string_view bytes)
   {
      if (bytes.find("\r\n\r\n") == std::string_view::npos && bytes.size() < kLongestLocatorRequest)
         return keep(client, bytes);
      client.out = standin::Locator::replyTo(bytes, port_);
      client.endsWhenSent = true;
      send(client);
   }

   void answer(Client& client, std::string_view message)
   {
      const auto begin = Clock::now();
      const Fault* const fault = plan_.next(methodIn(message));
      calls_->setCaller(client.id, client.kind == Kind::kImmediate ? RouteLifetime::IMMEDIATE
                                                                   : RouteLifetime::SESSION);
      calls_->setError(fault && fault->action == Fault::Action::kError ? fault : nullptr);
      const auto in = std::make_shared<TMemoryBuffer>(
         reinterpret_cast<std::uint8_t*>(const_cast<char*>(message.data())),
         static_cast<std::uint32_t>(message.size()));
      const auto out = std::make_shared<TMemoryBuffer>();
      // Texts and lists cannot be longer than the request, whatever length they announce.
      const auto limit = static_cast<std::int32_t>(message.size());
      try {
         // False for a message that is no call.
         if (!processor_.process(std::make_shared<TBinaryProtocol>(in, limit, limit, false, true),
                                 std::make_shared<TBinaryProtocol>(out), nullptr))
            return end(client);
      } catch (const std::exception&) {
         // The client does not speak the protocol.
         return end(client);
      }
      hasChanged_ = true;
      std::uint8_t* data = nullptr;
      std::uint32_t size = 0;
      out->getBuffer(&data, &size);
      const std::string_view body(reinterpret_cast<const char*>(data), size);
      if (log_) logCall(client, methodIn(message), fault, Clock::now() - begin);
      deliver(client, body, fault);
   }

   void deliver(Client& client, std::string_view body, const Fault* fault)
   {
      switch (fault ? fault->action : Fault::Action::kError) {
      case Fault::Action::kDrop:
         return end(client);
      case Fault::Action::kHang:
         client.isDeaf = true;
         return;
      case Fault::Action::kCut:
         client.out = framed(body).substr(0, kLengthSize);
         client.endsWhenSent = true;
         break;
      case Fault::Action::kGarbage:
         client.out = fault->bytes;
         client.isDeaf = true;
         break;
      case Fault::Action::kDelay:
         client.out = framed(body);
         client.isWaiting = true;
         delayed_.emplace(Clock::now() + std::chrono::milliseconds(fault->delayMs), client.id);
         return listenTo(client);
      case Fault::Action::kError:
         client.out = framed(body);
      }
      send(client);
   }

   void send(Client& client)
   {
      if (client.isWaiting) return;
      while (!client.out.empty()) {
         const ssize_t count =
            ::send(client.descriptor, client.out.data(), client.out.size(), MSG_NOSIGNAL);
         if (count < 0 && errno == EINTR) continue;
         if (count < 0 && errno == EAGAIN) return listenTo(client);
         if (count < 0) return end(client);
         client.out.erase(0, static_cast<std::size_t>(count));
      }
      client.out.shrink_to_fit();
      if (client.endsWhenSent) return end(client);
      listenTo(client);
      // What came while the answer waited.
      if (!client.in.empty() && !client.isDeaf) takeKept(client);
   }

   void listenTo(Client& client) const
   {
      std::uint32_t wanted = client.isWaiting ? 0U : std::uint32_t{EPOLLIN};
      if (!client.out.empty() && !client.isWaiting) wanted = EPOLLOUT;
      if (wanted == client.events) return;
      epoll_event event{};
      event.events = wanted;
      event.data.ptr = static_cast<Source*>(&client);
      if (::epoll_ctl(epoll_, EPOLL_CTL_MOD, client.descriptor, &event) != 0) failWith("epoll_ctl");
      client.events = wanted;
   }

   int untilNextAnswer() const
   {
      if (delayed_.empty()) return -1;
      const auto left =
         std::chrono::ceil<std::chrono::milliseconds>(delayed_.begin()->first - Clock::now());
      return static_cast<int>(std::max<std::int64_t>(0, left.count()));
   }

   void sendDelayed()
   {
      while (!delayed_.empty() && delayed_.begin()->first <= Clock::now()) {
         const ConnectionId id = delayed_.begin()->second;
         delayed_.erase(delayed_.begin());
         const auto found = connections_.find(id);
         if (found == connections_.end()) continue;
         found->second->isWaiting = false;
         send(*found->second);
      }
   }

   void log(const Json& event) const
   {
      if (!log_) return;
      Json timed = {{"time", timeNow()}};
      timed.update(event);
      log_(lineOf(timed));
   }

   void logCall(const Client& client, std::string_view method, const Fault* fault,
                Clock::duration duration)
   {
      Json event = {{"connection", client.id}, {"method", method}};
      const Call& call = calls_->last();
      if (call.method == method) {
         event["arguments"] = call.arguments;
         event["code"] = call.code;
         if (!call.result.is_null()) event["result"] = call.result;
      } else
         event["unknown"] = true;
      event["duration_us"] =
         std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
      if (fault) event["fault"] = nameOf(fault->action);
      log(event);
   }

   Bench& bench_;
   std::shared_ptr<Calls> calls_;
   APIv1Processor processor_;
   FaultPlan plan_;
   int epoll_;
   bool hasChanged_ = false;
   ConnectionId nextId_ = 1;
   std::size_t held_ = 0; // bytes of requests that are not whole
   std::vector<std::unique_ptr<Listening>> listeners_;
   std::vector<std::unique_ptr<Watched>> watched_;
   std::unordered_map<ConnectionId, std::unique_ptr<Client>> connections_;
   std::vector<std::unique_ptr<Client>> ended_;
   std::set<ConnectionId> silent_; // those that have not said anything whole
   std::multimap<Clock::time_point, ConnectionId> delayed_;
   std::array<char, 65536> buffer_{};
};

Service::Service(Bench& bench, const ServiceOptions& options)
   : loop_(std::make_unique<Loop>(bench, options))
{
}

Service::~Service() = default;

const std::vector<std::string>& Service::endpoints() const
{
   return loop_->endpoints_;
}

std::uint16_t Service::port() const
{
   return loop_->port_;
}

std::size_t Service::mostConnections() const
{
   return loop_->most_;
}

void Service::setLog(Log log)
{
   loop_->calls()->recordCalls(static_cast<bool>(log));
   loop_->log_ = std::move(log);
}

void Service::setChanged(std::function<void()> changed)
{
   loop_->changed_ = std::move(changed);
}

void Service::watch(int descriptor, std::function<void()> ready)
{
   loop_->watch(descriptor, std::move(ready));
}

void Service::run()
{
   loop_->run();
}

void Service::stop()
{
   loop_->isStopped_ = true;
}

} // namespace zerova::simulator
