// What is said on the connections of a service, whatever carries the bytes: requests in, answers out, the
// faults among them, the log, and what one client may cost the others.
#ifndef TOOLS_SIMULATOR_CONVERSATIONS_H
#define TOOLS_SIMULATOR_CONVERSATIONS_H

#include "tools/simulator/calls.h"
#include "tools/simulator/fault_plan.h"
#include "tools/simulator/service.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace zerova::simulator {

using Clock = std::chrono::steady_clock;

enum class Endpoint
{
   kSession,
   kImmediate,
   kTcp,
   kLocator
};

struct Client
{
   Client() = default;
   virtual ~Client() = default;
   Client(const Client&) = delete;
   Client& operator=(const Client&) = delete;

   ConnectionId id = 0;
   Endpoint endpoint = Endpoint::kSession;
   bool hasEnded = false;
   bool isDeaf = false;       // nothing more is read or answered
   bool endsWhenSent = false; // the connection ends when all of out is sent
   bool hasSpoken = false;    // a whole request has come
   bool isWaiting = false;    // for a delayed answer
   std::string in;            // of a request that is not whole, or has to wait
   std::string out;           // to be sent, unless isWaiting
};

// One thread at a time uses it. The connections themselves are its heir's.
class Conversations
{
public:
   Conversations(Bench& bench, const ServiceOptions& options);
   virtual ~Conversations() = default;
   Conversations(const Conversations&) = delete;
   Conversations& operator=(const Conversations&) = delete;

   void setLog(Service::Log log);
   void setPort(std::uint16_t port) { port_ = port; } // that the locator tells

   // Room for one more, made if need be by the end of one that has said nothing.
   bool makeRoom();
   bool endOldestSilent(); // false: there is none
   void limitClients(std::size_t most) { most_ = most; }

   void begin(const std::shared_ptr<Client>& client, Endpoint endpoint);
   void receive(Client& client, std::string_view bytes);
   // All of out is gone: goes on with what came meanwhile.
   void sent(Client& client);
   void end(Client& client);

   std::optional<Clock::time_point> nextDelayedAnswer() const;
   void sendDelayedAnswers();

   // True once after calls and ends of connections that may have changed the bench.
   bool takeChange() { return std::exchange(hasChanged_, false); }
   // Those that can make calls.
   std::size_t clientCount() const { return callerCount_; }
   const auto& clients() const { return clients_; }

protected:
   // Sends what is in out, now or later, and calls sent() when all of it is gone. Called again when there
   // is more, or when nothing is to be read for a while.
   virtual void send(Client& client) = 0;
   // The client is not one of clients() any more.
   virtual void disconnect(const std::shared_ptr<Client>& client) = 0;

private:
   void take(Client& client, std::string_view bytes);
   void takeKept(Client& client);
   void keep(Client& client, std::string_view bytes);
   void answerLocator(Client& client, std::string_view bytes);
   void answer(Client& client, std::string_view message);
   void deliver(Client& client, std::string_view body, const Fault* fault);
   void log(const Json& event) const;
   void logCall(const Client& client, std::string_view method, const Fault* fault,
                Clock::duration duration);

   Bench& bench_;
   std::shared_ptr<Calls> calls_;
   APIv1Processor processor_;
   FaultPlan plan_;
   Service::Log log_;
   std::uint16_t port_ = 0;
   std::size_t most_;
   bool hasChanged_ = false;
   ConnectionId nextId_ = 1;
   std::size_t callerCount_ = 0;
   std::size_t held_ = 0; // bytes of requests that are not whole
   std::unordered_map<ConnectionId, std::shared_ptr<Client>> clients_;
   std::set<ConnectionId> silent_; // those that have not said anything whole
   std::multimap<Clock::time_point, ConnectionId> delayed_;
};

} // namespace zerova::simulator

#endif
