// A service of the tests that knows no protocol: it plays a script on each connection, sends the
// bytes that the script holds and keeps the bytes that came.
#ifndef TESTS_SERVICE_RAW_PEER_H
#define TESTS_SERVICE_RAW_PEER_H

#include "service/stream.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zerova::test {

class Acceptor;

// What to do on one connection, step by step. A script that ends without close(), reset() or hold()
// closes. If the client ends the connection earlier, the rest is not played.
class Script
{
public:
   using Answer = std::function<std::string(const std::string& frame)>;
   static constexpr std::size_t kAll = static_cast<std::size_t>(-1);

   Script& receive();                        // one frame, kept with its length
   Script& receiveUntil(std::string ending); // text up to and with ending, kept as one frame
   Script& acceptVersion();                  // one frame, answered as a service accepts "version"
   Script& answer(Answer answer);            // one frame, answered with what answer gives for it
   Script& answerAll(Answer answer);         // each frame, until the client ends the connection
   Script& send(std::string bytes, std::size_t cutAfter = kAll); // at most so many of them
   Script& trickle(std::string bytes);                           // each byte in a packet of its own
   Script& call(std::function<void()> action);                   // on the peer's thread
   Script& close();
   Script& reset();
   Script& hold(); // keep the connection until the client or this peer ends, and what still comes

private:
   friend class RawPeer;
   enum class Kind
   {
      kReceive,
      kReceiveUntil,
      kAnswer,
      kAnswerAll,
      kSend,
      kTrickle,
      kCall,
      kReset,
      kClose,
      kHold
   };
   struct Step
   {
      Kind kind;
      std::string bytes = {};
      Answer answer = {};
      std::function<void()> action = {};
   };
   Script& add(Step step);

   std::vector<Step> steps_;
};

// What happened on one connection.
struct PeerRecord
{
   std::vector<std::string> frames; // each with its length in front, byte for byte
   std::string rest;                // what came after the last whole frame
   StreamEnd end = StreamEnd::kOpen;
   bool finished = false; // the script is done with
};

class RawPeer
{
public:
   // Plays scripts[0] on the first connection, scripts[1] on the second, and the last one on all
   // further ones. Starts at once.
   RawPeer(Listener listener, std::vector<Script> scripts);
   RawPeer(Listener listener, Script script);
   // Ends all connections, also held ones, and removes the endpoint.
   ~RawPeer();
   RawPeer(const RawPeer&) = delete;
   RawPeer& operator=(const RawPeer&) = delete;

   // Plays script on all connections that come from now on.
   void play(Script script);

   std::uint16_t port() const;
   std::size_t connectionCount() const;
   PeerRecord record(std::size_t connection) const; // the n-th connection, from 0
   std::vector<std::string> frames() const;         // of all connections, in the order of arrival

   // Wait for what is announced by the name, at most 30 s; false if it did not happen until then.
   bool waitForConnections(std::size_t count) const;
   bool waitForFrames(std::size_t count) const;
   bool waitUntilFinished(std::size_t connection) const;

private:
   class Play;

   Script nextScript();
   void serve(Stream& stream, const StopSignal& stop);
   template <typename Condition>
   bool waitFor(Condition condition) const;

   mutable std::mutex mutex_;
   mutable std::condition_variable changed_;
   std::vector<Script> scripts_; // the last one stays
   std::vector<PeerRecord> records_;
   std::vector<std::string> frames_;
   std::unique_ptr<Acceptor> acceptor_; // last: its threads use all of the above
};

} // namespace zerova::test

#endif
