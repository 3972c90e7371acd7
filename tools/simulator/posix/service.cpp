// All clients are served by one thread, so that a thousand of them cost little and a call never waits for
// a switch of threads.
#include "tools/simulator/service_loop.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>

namespace zerova::simulator {

namespace {

using test::Listener;

// Descriptors that the program needs beside those of its clients.
constexpr std::size_t kOwnDescriptors = 64;
constexpr int kBacklog = 1024;
// How many are accepted before others have their turn again.
constexpr int kMostAtOnce = 64;
// How long nobody is accepted when the system has no descriptors left, unless a connection ends.
constexpr std::chrono::milliseconds kPause{100};

[[noreturn]] void failWith(const char* what)
{
   throw std::system_error(errno, std::generic_category(), what);
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
   Listening(Listener from, Endpoint of)
      : listener(std::move(from))
      , endpoint(of)
   {
   }
   int descriptor() const { return static_cast<int>(listener.handle()); }

   Listener listener;
   Endpoint endpoint;
};

struct Watched : Source
{
   int descriptor = -1;
   std::function<void()> ready;
};

struct SocketClient : Source, Client
{
   ~SocketClient() override { close(); }
   void close()
   {
      if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
   }

   int descriptor = -1;
   std::uint32_t events = EPOLLIN;
};

class EpollLoop final : public Service::Loop
{
public:
   EpollLoop(Bench& bench, const ServiceOptions& options)
      : Loop(bench, options)
      , epoll_(::epoll_create1(EPOLL_CLOEXEC))
   {
      if (epoll_ < 0) failWith("epoll");
   }

   ~EpollLoop() override
   {
      // The first endpoint may have made the folder, so it goes last.
      while (!listeners_.empty())
         listeners_.pop_back();
      ::close(epoll_);
   }

   void open(const ServiceOptions& options)
   {
      const std::size_t descriptors = raisedDescriptorLimit();
      if (descriptors < mostConnections + kOwnDescriptors)
         mostConnections =
            descriptors > 2 * kOwnDescriptors ? descriptors - kOwnDescriptors : descriptors / 2;
      limitClients(mostConnections);
      openEndpoints(options, kBacklog);
   }

   void watch(test::NativeHandle handle, std::function<void()> ready) override
   {
      const int descriptor = static_cast<int>(handle);
      auto watched = std::make_unique<Watched>();
      watched->descriptor = descriptor;
      watched->ready = std::move(ready);
      add(descriptor, watched.get());
      watched_.push_back(std::move(watched));
   }

   void run() override
   {
      watch(stop.handle(), [this] { isStopped_ = true; });
      std::array<epoll_event, 256> events{};
      while (!isStopped_) {
         const int count =
            ::epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), timeout());
         if (count < 0 && errno != EINTR) failWith("epoll_wait");
         const std::lock_guard lock(busy);
         for (int i = 0; i < count; ++i)
            handle(events[static_cast<std::size_t>(i)]);
         sendDelayedAnswers();
         ended_.clear();
         tellChange();
         if (pausedUntil_ && *pausedUntil_ <= Clock::now()) acceptAgain();
      }
   }

private:
   void control(int operation, int descriptor, std::uint32_t events, Source* source) const
   {
      epoll_event event{};
      event.events = events;
      event.data.ptr = source;
      if (::epoll_ctl(epoll_, operation, descriptor, &event) != 0) failWith("epoll_ctl");
   }
   void add(int descriptor, Source* source) const
   {
      control(EPOLL_CTL_ADD, descriptor, EPOLLIN, source);
   }

   void listen(Listener listener, Endpoint endpoint) override
   {
      listeners_.push_back(std::make_unique<Listening>(std::move(listener), endpoint));
      add(listeners_.back()->descriptor(), listeners_.back().get());
   }

   void handle(const epoll_event& event)
   {
      auto* const source = static_cast<Source*>(event.data.ptr);
      if (auto* const listening = dynamic_cast<Listening*>(source)) return acceptAll(*listening);
      if (auto* const watched = dynamic_cast<Watched*>(source)) return watched->ready();
      auto* const client = dynamic_cast<SocketClient*>(source);
      // Ended by what another event of the same round brought about.
      if (!client || client->hasEnded) return;
      if ((event.events & EPOLLOUT) != 0) send(*client);
      if (!client->hasEnded && (event.events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) read(*client);
   }

   void acceptAll(const Listening& listening)
   {
      for (int left = kMostAtOnce; left > 0 && !pausedUntil_; --left) {
         const int descriptor =
            ::accept4(listening.descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
         if (descriptor < 0) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            if (errno == EAGAIN) return;
            // Out of descriptors or memory, which is told even if nobody waits.
            pollfd waiting = {listening.descriptor(), POLLIN, 0};
            if (::poll(&waiting, 1, 0) <= 0) return;
            // One that said nothing makes room, or the rest waits.
            if (!endOldestSilent()) acceptNobody();
            continue;
         }
         if (makeRoom())
            welcome(descriptor, listening.endpoint);
         else
            ::close(descriptor);
      }
   }

   // Who waits makes a listener ready all the time.
   void acceptNobody()
   {
      pausedUntil_ = Clock::now() + kPause;
      for (const auto& listening : listeners_)
         control(EPOLL_CTL_MOD, listening->descriptor(), 0, listening.get());
   }

   void acceptAgain()
   {
      pausedUntil_.reset();
      for (const auto& listening : listeners_)
         control(EPOLL_CTL_MOD, listening->descriptor(), EPOLLIN, listening.get());
   }

   void welcome(int descriptor, Endpoint endpoint)
   {
      const int on = 1;
      if (endpoint == Endpoint::kTcp || endpoint == Endpoint::kLocator)
         ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      const auto client = std::make_shared<SocketClient>();
      client->descriptor = descriptor;
      add(descriptor, client.get());
      begin(client, endpoint);
   }

   void read(SocketClient& client)
   {
      const ssize_t count = ::recv(client.descriptor, buffer_.data(), buffer_.size(), 0);
      if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
      if (count <= 0) return end(client);
      receive(client, {buffer_.data(), static_cast<std::size_t>(count)});
   }

   void send(Client& to) override
   {
      auto& client = static_cast<SocketClient&>(to);
      while (!client.isWaiting && !client.out.empty()) {
         const ssize_t count =
            ::send(client.descriptor, client.out.data(), client.out.size(), MSG_NOSIGNAL);
         if (count < 0 && errno == EINTR) continue;
         if (count < 0 && errno == EAGAIN) break;
         if (count < 0) return end(client);
         client.out.erase(0, static_cast<std::size_t>(count));
      }
      if (client.isWaiting)
         listenTo(client, 0);
      else if (!client.out.empty())
         listenTo(client, EPOLLOUT);
      else {
         listenTo(client, EPOLLIN);
         sent(client);
      }
   }

   void disconnect(const std::shared_ptr<Client>& client) override
   {
      static_cast<SocketClient&>(*client).close();
      ended_.push_back(client); // events of this round may still name it
      if (pausedUntil_) pausedUntil_ = Clock::now();
   }

   void listenTo(SocketClient& client, std::uint32_t events) const
   {
      if (events == client.events) return;
      control(EPOLL_CTL_MOD, client.descriptor, events, &client);
      client.events = events;
   }

   int timeout() const
   {
      auto due = nextDelayedAnswer();
      if (pausedUntil_) due = due ? std::min(*due, *pausedUntil_) : *pausedUntil_;
      if (!due) return -1;
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now());
      return static_cast<int>(std::max<std::int64_t>(0, left.count()));
   }

   const int epoll_;
   bool isStopped_ = false;
   std::optional<Clock::time_point> pausedUntil_; // nobody is accepted
   std::vector<std::unique_ptr<Listening>> listeners_;
   std::vector<std::unique_ptr<Watched>> watched_;
   std::vector<std::shared_ptr<Client>> ended_;
   std::array<char, 65536> buffer_{};
};

} // namespace

std::unique_ptr<Service::Loop> Service::Loop::make(Bench& bench, const ServiceOptions& options)
{
   auto loop = std::make_unique<EpollLoop>(bench, options);
   loop->open(options);
   return loop;
}

} // namespace zerova::simulator
