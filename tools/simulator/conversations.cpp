#include "tools/simulator/conversations.h"

#include "tools/simulator/locator_reply.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>

namespace zerova::simulator {

namespace {

using apache::thrift::protocol::TBinaryProtocol;
using apache::thrift::transport::TMemoryBuffer;

constexpr std::size_t kLengthSize = 4;
constexpr std::size_t kLongestLocatorRequest = 8192;

const char* nameOf(Endpoint endpoint)
{
   switch (endpoint) {
   case Endpoint::kSession:
      return "local";
   case Endpoint::kImmediate:
      return "immediate";
   case Endpoint::kTcp:
      return "tcp";
   case Endpoint::kLocator:
      break;
   }
   return "locator";
}

std::size_t lengthAt(std::string_view bytes)
{
   std::size_t length = 0;
   for (const char c : bytes.substr(0, kLengthSize))
      length = length << 8 | static_cast<unsigned char>(c);
   return length;
}

std::string framed(std::string_view body)
{
   std::string frame;
   frame.reserve(kLengthSize + body.size());
   for (const int shift : {24, 16, 8, 0})
      frame += static_cast<char>(body.size() >> shift & 0xFF);
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

// 2026-11-21T13:36:03.120417Z
std::string timeNow()
{
   using std::chrono::floor;
   const auto now = std::chrono::system_clock::now();
   const auto day = floor<std::chrono::days>(now);
   const std::chrono::year_month_day date(day);
   const std::chrono::hh_mm_ss time(floor<std::chrono::microseconds>(now - day));
   std::array<char, 64> text{};
   std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ",
                 static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                 static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                 static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()),
                 static_cast<int>(time.subseconds().count()));
   return text.data();
}

// Nothing is read from who has not taken the last answer.
bool isBusy(const Client& client)
{
   return client.isWaiting || !client.out.empty();
}

} // namespace

Conversations::Conversations(Bench& bench, const ServiceOptions& options)
   : bench_(bench)
   , calls_(std::make_shared<Calls>(bench, options.isDebug))
   , processor_(calls_)
   , plan_(bench.topology().faults)
   , most_(options.mostConnections)
{
}

void Conversations::setLog(Service::Log log)
{
   calls_->recordCalls(static_cast<bool>(log));
   log_ = std::move(log);
}

bool Conversations::makeRoom()
{
   return clients_.size() < most_ || endOldestSilent();
}

bool Conversations::endOldestSilent()
{
   if (silent_.empty()) return false;
   end(*clients_.at(*silent_.begin()));
   return true;
}

void Conversations::begin(const std::shared_ptr<Client>& client, Endpoint endpoint)
{
   client->id = nextId_++;
   client->endpoint = endpoint;
   silent_.insert(client->id);
   clients_.emplace(client->id, client);
   if (endpoint == Endpoint::kLocator) return;
   ++callerCount_;
   hasChanged_ = true;
   log(Json{{"connection", client->id}, {"event", "open"}, {"endpoint", nameOf(endpoint)}});
}

void Conversations::end(Client& client)
{
   client.hasEnded = true;
   silent_.erase(client.id);
   held_ -= client.in.size();
   if (client.isWaiting)
      std::erase_if(delayed_, [&](const auto& one) { return one.second == client.id; });
   if (client.endpoint != Endpoint::kLocator) {
      bench_.endConnection(client.id);
      plan_.forget(client.id);
      --callerCount_;
      hasChanged_ = true;
      log(Json{{"connection", client.id}, {"event", "end"}});
   }
   const auto entry = clients_.find(client.id);
   const std::shared_ptr<Client> last = std::move(entry->second);
   clients_.erase(entry);
   disconnect(last);
}

void Conversations::receive(Client& client, std::string_view bytes)
{
   if (client.isDeaf) return;
   if (client.in.empty()) return take(client, bytes);
   keep(client, bytes);
   if (!client.hasEnded) takeKept(client);
}

void Conversations::sent(Client& client)
{
   client.out.shrink_to_fit();
   if (client.endsWhenSent) return end(client);
   if (!client.in.empty() && !client.isDeaf) takeKept(client);
}

// Looks at no byte of a request that is not whole again, however small the pieces are.
void Conversations::takeKept(Client& client)
{
   const bool mayBeWhole =
      client.endpoint == Endpoint::kLocator ||
      (client.in.size() >= kLengthSize && (lengthAt(client.in) > kLongestRequest ||
                                           client.in.size() - kLengthSize >= lengthAt(client.in)));
   if (!mayBeWhole || isBusy(client)) return;
   const std::string all = std::exchange(client.in, {});
   held_ -= all.size();
   take(client, all);
}

// Keeps the beginning of a request for its rest.
void Conversations::keep(Client& client, std::string_view bytes)
{
   client.in.append(bytes);
   held_ += bytes.size();
   while (held_ > kMostHeldBytes) {
      const auto longest = std::ranges::max_element(
         clients_, {}, [](const auto& entry) { return entry.second->in.size(); });
      end(*longest->second);
   }
}

void Conversations::take(Client& client, std::string_view bytes)
{
   if (client.endpoint == Endpoint::kLocator) return answerLocator(client, bytes);
   while (bytes.size() >= kLengthSize && !client.isDeaf && !isBusy(client)) {
      const std::size_t length = lengthAt(bytes);
      if (length == 0 || length > kLongestRequest) return end(client);
      if (bytes.size() - kLengthSize < length) break;
      const std::string_view message = bytes.substr(kLengthSize, length);
      bytes.remove_prefix(kLengthSize + length);
      if (!client.hasSpoken) silent_.erase(client.id);
      client.hasSpoken = true;
      answer(client, message);
      if (client.hasEnded) return;
   }
   if (!bytes.empty() && !client.isDeaf) keep(client, bytes);
}

void Conversations::answerLocator(Client& client, std::string_view bytes)
{
   if (bytes.find("\r\n\r\n") == std::string_view::npos && bytes.size() < kLongestLocatorRequest)
      return keep(client, bytes);
   client.out = locatorReply(bytes, port_);
   client.endsWhenSent = true;
   send(client);
}

void Conversations::answer(Client& client, std::string_view message)
{
   const auto begin = Clock::now();
   const Fault* const fault = plan_.next(methodIn(message), client.id);
   calls_->setCaller(client.id, client.endpoint == Endpoint::kImmediate ? RouteLifetime::IMMEDIATE
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

void Conversations::deliver(Client& client, std::string_view body, const Fault* fault)
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
      break;
   case Fault::Action::kError:
      client.out = framed(body);
   }
   send(client);
}

void Conversations::log(const Json& event) const
{
   if (!log_) return;
   Json timed = {{"time", timeNow()}};
   timed.update(event);
   log_(lineOf(timed));
}

void Conversations::logCall(const Client& client, std::string_view method, const Fault* fault,
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
   event["duration_us"] = std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
   if (fault) event["fault"] = nameOf(fault->action);
   log(event);
}

std::optional<Clock::time_point> Conversations::nextDelayedAnswer() const
{
   if (delayed_.empty()) return std::nullopt;
   return delayed_.begin()->first;
}

void Conversations::sendDelayedAnswers()
{
   while (!delayed_.empty() && delayed_.begin()->first <= Clock::now()) {
      const ConnectionId id = delayed_.begin()->second;
      delayed_.erase(delayed_.begin());
      Client& client = *clients_.at(id);
      client.isWaiting = false;
      send(client);
   }
}

} // namespace zerova::simulator
