#include "tools/zerovactl/relay.h"

#include "tools/zerovactl/failure.h"
#include "tools/zerovactl/service_connection.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"
#include "tools/zerovactl/temporary_path.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <condition_variable>
#include <cstring>
#include <fcntl.h>
#include <list>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace zerovactl {

namespace {

constexpr std::uint16_t kLocatorPort = 3580;
constexpr std::chrono::seconds kLongestStep{5};
constexpr std::uint32_t kNoAddress = 0xFFFFFFFF;

class Descriptor
{
public:
   explicit Descriptor(int number = -1)
      : number_(number)
   {
   }
   ~Descriptor() { reset(); }
   Descriptor(Descriptor&& other) noexcept
      : number_(std::exchange(other.number_, -1))
   {
   }
   Descriptor& operator=(Descriptor&& other) noexcept
   {
      std::swap(number_, other.number_);
      return *this;
   }
   int get() const { return number_; }
   void reset()
   {
      if (number_ >= 0) close(std::exchange(number_, -1));
   }

private:
   int number_;
};

Descriptor newSocket(int family)
{
   Descriptor made(socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
   if (made.get() < 0) throw ConnectionFailure(std::generic_category().message(errno));
   return made;
}

sockaddr_un addressOfPath(const std::string& path)
{
   sockaddr_un address = {};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof address.sun_path)
      throw ConnectionFailure("the path is too long for a socket");
   path.copy(address.sun_path, path.size());
   return address;
}

sockaddr_in addressOfHost(std::uint32_t host, std::uint16_t port)
{
   sockaddr_in address = {};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl(host);
   address.sin_port = htons(port);
   return address;
}

template <typename Address>
int connectOnce(const Descriptor& socket, const Address& address)
{
   const auto* const general = reinterpret_cast<const sockaddr*>(&address);
   return connect(socket.get(), general, sizeof address) == 0 ? 0 : errno;
}

Descriptor connectToPath(const std::string& path)
{
   const auto end = std::chrono::steady_clock::now() + kLongestStep;
   const sockaddr_un address = addressOfPath(path);
   Descriptor made = newSocket(AF_UNIX);
   int failure = connectOnce(made, address);
   // The service's queue is full, of which nothing tells the end.
   while (failure == EAGAIN && std::chrono::steady_clock::now() < end) {
      poll(nullptr, 0, 10);
      failure = connectOnce(made, address);
   }
   if (failure != 0)
      throw ConnectionFailure(path + ": " + std::generic_category().message(failure));
   return made;
}

Descriptor connectToHost(std::uint32_t host, std::uint16_t port)
{
   Descriptor made = newSocket(AF_INET);
   int failure = connectOnce(made, addressOfHost(host, port));
   if (failure == EINPROGRESS) {
      pollfd watched = {made.get(), POLLOUT, 0};
      const int time = static_cast<int>(std::chrono::milliseconds(kLongestStep).count());
      failure = poll(&watched, 1, time) == 1 ? pendingFailure(made.get()) : ETIMEDOUT;
   }
   if (failure != 0)
      throw ConnectionFailure(dotted(host) + ":" + std::to_string(port) + ": " +
                              std::generic_category().message(failure));
   // Small calls come one by one; none may wait for the one before it to be acknowledged.
   const int on = 1;
   setsockopt(made.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
   return made;
}

Descriptor connectToPlace(const Place& place)
{
   if (!place.path.empty()) return connectToPath(place.path);
   const std::uint32_t host = addressOf(place.host, kLongestStep);
   std::uint16_t port = place.port;
   if (port == 0) {
      const auto until = std::chrono::steady_clock::now() + kLongestStep;
      const auto locator = connectTo(host, kLocatorPort, until);
      port = askLocator(*locator, until);
   }
   return connectToHost(host, port);
}

template <typename Address>
Descriptor listenAt(int family, const Address& address, const std::string& name)
{
   Descriptor made = newSocket(family);
   const int on = 1;
   if (family == AF_INET) setsockopt(made.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
   const auto* const general = reinterpret_cast<const sockaddr*>(&address);
   if (bind(made.get(), general, sizeof address) != 0 || listen(made.get(), SOMAXCONN) != 0)
      throw Failure(kFailed, "cannot listen at " + shown(name) + ": " +
                                std::generic_category().message(errno));
   return made;
}

// A socket that nobody listens at any more is in the way of the next one.
void removeStale(const std::string& path, const sockaddr_un& address)
{
   struct stat file;
   if (lstat(path.c_str(), &file) != 0 || !S_ISSOCK(file.st_mode)) return;
   if (connectOnce(newSocket(AF_UNIX), address) == ECONNREFUSED) unlink(path.c_str());
}

std::uint16_t portOf(const Descriptor& listener)
{
   sockaddr_in address = {};
   socklen_t size = sizeof address;
   getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &size);
   return ntohs(address.sin_port);
}

// Bytes on their way in one direction.
struct Flow
{
   int from;
   int to;
   TraceKind kind;
   std::string waiting = {};
   bool isEnded = false; // nothing more comes
   bool isShut = false;  // and the other side knows

   bool reads() const { return !isEnded && waiting.empty(); }
   bool writes() const { return !waiting.empty(); }
};

bool isPassing(int failure)
{
   return failure == EAGAIN || failure == EWOULDBLOCK || failure == EINTR;
}

Place placeOfTcp(const std::string& text)
{
   Place place;
   const auto colon = text.rfind(':');
   place.host = text.substr(0, colon);
   if (colon == std::string::npos) return place;
   const char* const end = text.data() + text.size();
   const auto [stop, error] = std::from_chars(text.data() + colon + 1, end, place.port);
   if (error != std::errc() || stop != end || place.port == 0 || place.host.empty())
      throw Failure(kWrongUse, "\"" + shown(text) + "\" is no HOST:PORT");
   return place;
}

bool isAddress(const std::string& text)
{
   return platform::addressOfDottedText(text.substr(0, text.rfind(':')).c_str()) != kNoAddress;
}

} // namespace

Place placeToListen(const std::string& text)
{
   if (text.find('/') != std::string::npos) return {text, {}, 0};
   if (isAddress(text)) return placeOfTcp(text);
   if (text.find(':') != std::string::npos)
      throw Failure(kWrongUse, "\"" + shown(text) + "\" is no ADDRESS:PORT to listen at");
   return {endpointFolder() + "/" + text, {}, 0};
}

Place placeToConnect(const std::string& text)
{
   if (text.find('/') != std::string::npos) return {text, {}, 0};
   struct stat file;
   const std::string path = endpointFolder() + "/" + text;
   const bool isEndpoint = text.rfind("com.zerova", 0) == 0 || stat(path.c_str(), &file) == 0;
   if (isEndpoint) return {path, {}, 0};
   return placeOfTcp(text);
}

class Relay::Inside
{
public:
   Inside(const std::vector<RelayedPair>& pairs, Sink sink)
      : sink_(std::move(sink))
   {
      int ends[2];
      if (pipe2(ends, O_CLOEXEC) != 0)
         throw Failure(kFailed, std::generic_category().message(errno));
      stopped_ = Descriptor(ends[0]);
      stop_ = Descriptor(ends[1]);
      try {
         for (const RelayedPair& pair : pairs)
            add(pair);
      } catch (const ConnectionFailure& failure) {
         throw Failure(kFailed, std::string("cannot listen: ") + failure.what());
      }
      thread_ = std::thread([this] { accept(); });
   }

   ~Inside()
   {
      stop_.reset();
      if (thread_.joinable()) thread_.join();
      {
         std::unique_lock lock(countMutex_);
         ended_.wait(lock, [this] { return count_ == 0; });
      }
   }
   Inside(const Inside&) = delete;
   Inside& operator=(const Inside&) = delete;

   const std::vector<std::string>& places() const { return places_; }

private:
   struct Listener
   {
      Descriptor socket;
      Place to;
      std::uint16_t port = 0; // that a locator tells; 0: it relays
   };

   void add(const RelayedPair& pair)
   {
      if (!pair.listen.path.empty()) {
         const sockaddr_un address = addressOfPath(pair.listen.path);
         removeStale(pair.listen.path, address);
         listeners_.push_back({listenAt(AF_UNIX, address, pair.listen.path), pair.to});
         made_.emplace_back(pair.listen.path);
         places_.push_back(pair.listen.path);
         return;
      }
      const std::string& host = pair.listen.host;
      const std::uint32_t number = platform::addressOfDottedText(host.c_str());
      Descriptor service = listenAt(AF_INET, addressOfHost(number, pair.listen.port),
                                    host + ":" + std::to_string(pair.listen.port));
      const std::uint16_t port = portOf(service);
      listeners_.push_back({std::move(service), pair.to});
      places_.push_back(host + ":" + std::to_string(port));
      if (pair.listen.port != 0) return;
      const std::string locator = host + ":" + std::to_string(kLocatorPort);
      listeners_.push_back(
         {listenAt(AF_INET, addressOfHost(number, kLocatorPort), locator), pair.to, port});
      places_.back() += ", locator " + locator;
   }

   void tell(std::uint32_t connection, TraceKind kind, std::string bytes = {})
   {
      const std::lock_guard lock(mutex_);
      sink_({std::chrono::system_clock::now(), connection, kind, std::move(bytes)});
   }

   void accept()
   {
      std::uint32_t count = 0;
      for (;;) {
         std::vector<pollfd> watched = {{stopped_.get(), POLLIN, 0}};
         for (const Listener& listener : listeners_)
            watched.push_back({listener.socket.get(), POLLIN, 0});
         if (poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR) return;
         if (watched[0].revents != 0) return;
         for (std::size_t i = 0; i < listeners_.size(); ++i) {
            if (watched[i + 1].revents == 0) continue;
            const Listener& listener = listeners_[i];
            Descriptor client(
               accept4(listener.socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (client.get() < 0) {
               if (errno == EMFILE || errno == ENFILE) poll(nullptr, 0, 50);
               continue;
            }
            const std::uint32_t number = listener.port == 0 ? ++count : 0;
            begin([this, &listener, number, own = std::move(client)] {
               if (listener.port == 0)
                  serve(own, listener.to, number);
               else
                  locate(own, listener.port);
            });
         }
      }
   }

   // A thread of its own for each connection, which nobody but the destructor waits for.
   template <typename Work>
   void begin(Work work)
   {
      {
         const std::lock_guard lock(countMutex_);
         ++count_;
      }
      try {
         std::thread([this, own = std::move(work)]() mutable {
            {
               const Work done = std::move(own);
               done();
            }
            end();
         }).detach();
      } catch (const std::system_error&) {
         end(); // what was begun for the client has gone with the work, which ends its connection
      }
   }

   void end()
   {
      const std::lock_guard lock(countMutex_);
      --count_;
      ended_.notify_one();
   }

   // As the library asks: whatever is asked for, there is one service here.
   void locate(const Descriptor& client, std::uint16_t port)
   {
      std::string request;
      while (request.find("\r\n\r\n") == std::string::npos && request.size() < 8192) {
         pollfd watched[] = {{client.get(), POLLIN, 0}, {stopped_.get(), POLLIN, 0}};
         if (poll(watched, 2, -1) < 0 && errno != EINTR) return;
         if (watched[1].revents != 0) return;
         char bytes[1024];
         const ssize_t size = read(client.get(), bytes, sizeof bytes);
         if (size == 0 || (size < 0 && !isPassing(errno))) return;
         if (size > 0) request.append(bytes, static_cast<std::size_t>(size));
      }
      const std::string reply = "HTTP/1.0 200 OK\r\n\r\nMapping=" + std::to_string(port) + "\r\n";
      if (send(client.get(), reply.data(), reply.size(), MSG_NOSIGNAL) < 0) return;
   }

   void serve(const Descriptor& client, const Place& to, std::uint32_t number)
   {
      Descriptor service;
      try {
         service = connectToPlace(to);
      } catch (const ConnectionFailure& failure) {
         tell(number, TraceKind::kUnreachable, failure.what());
         return;
      }
      tell(number, TraceKind::kOpened);
      Flow flows[] = {{client.get(), service.get(), TraceKind::kFromClient},
                      {service.get(), client.get(), TraceKind::kFromService}};
      while (!(flows[0].isShut && flows[1].isShut) && step(flows, number)) {
      }
      tell(number, TraceKind::kClosed);
   }

   // False when there is nothing more to be done.
   bool step(Flow (&flows)[2], std::uint32_t number)
   {
      pollfd watched[] = {
         {stopped_.get(), POLLIN, 0}, {-1, 0, 0}, {-1, 0, 0}, {-1, 0, 0}, {-1, 0, 0}};
      for (int i = 0; i < 2; ++i) {
         if (flows[i].reads()) watched[1 + i] = {flows[i].from, POLLIN, 0};
         if (flows[i].writes()) watched[3 + i] = {flows[i].to, POLLOUT, 0};
      }
      if (poll(watched, 5, -1) < 0) return errno == EINTR;
      if (watched[0].revents != 0) return false;
      for (int i = 0; i < 2; ++i) {
         Flow& flow = flows[i];
         if (watched[1 + i].revents != 0 && !receive(flow, number)) return false;
         if ((watched[3 + i].revents != 0 || flow.writes()) && !pass(flow)) return false;
         if (flow.isEnded && flow.waiting.empty() && !flow.isShut) {
            shutdown(flow.to, SHUT_WR);
            flow.isShut = true;
         }
      }
      return true;
   }

   bool receive(Flow& flow, std::uint32_t number)
   {
      std::string bytes(std::size_t{64} * 1024, '\0');
      const ssize_t size = read(flow.from, bytes.data(), bytes.size());
      if (size < 0) return isPassing(errno);
      if (size == 0) {
         flow.isEnded = true;
         return true;
      }
      bytes.resize(static_cast<std::size_t>(size));
      tell(number, flow.kind, bytes);
      flow.waiting = std::move(bytes);
      return true;
   }

   static bool pass(Flow& flow)
   {
      const ssize_t size =
         send(flow.to, flow.waiting.data(), flow.waiting.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
      if (size < 0) return isPassing(errno);
      flow.waiting.erase(0, static_cast<std::size_t>(size));
      return true;
   }

   Sink sink_;
   std::mutex mutex_; // of the sink
   std::vector<Listener> listeners_;
   std::list<TemporaryPath> made_;
   std::vector<std::string> places_;
   Descriptor stopped_; // readable when all is to end
   Descriptor stop_;
   std::thread thread_;
   std::mutex countMutex_;
   std::condition_variable ended_;
   int count_ = 0; // of connections
};

Relay::Relay(const std::vector<RelayedPair>& pairs, Sink sink)
   : inside_(std::make_unique<Inside>(pairs, std::move(sink)))
{
}

Relay::~Relay() = default;

const std::vector<std::string>& Relay::places() const
{
   return inside_->places();
}

} // namespace zerovactl
