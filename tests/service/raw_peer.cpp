#include "service/raw_peer.h"

#include "service/acceptor.h"
#include "service/wire_bytes.h"

#include <array>
#include <chrono>
#include <utility>

namespace zerova::test {

Script& Script::add(Step step)
{
   steps_.push_back(std::move(step));
   return *this;
}

Script& Script::receive()
{
   return add({Kind::kReceive});
}

Script& Script::receiveUntil(std::string ending)
{
   return add({Kind::kReceiveUntil, std::move(ending)});
}

Script& Script::acceptVersion()
{
   return answer([](const std::string&) { return voidReply("version"); });
}

Script& Script::answer(Answer answer)
{
   return add({Kind::kAnswer, {}, std::move(answer)});
}

Script& Script::answerAll(Answer answer)
{
   return add({Kind::kAnswerAll, {}, std::move(answer)});
}

Script& Script::send(std::string bytes, std::size_t cutAfter)
{
   if (cutAfter < bytes.size()) bytes.resize(cutAfter);
   return add({Kind::kSend, std::move(bytes)});
}

Script& Script::trickle(std::string bytes)
{
   return add({Kind::kTrickle, std::move(bytes)});
}

Script& Script::call(std::function<void()> action)
{
   return add({Kind::kCall, {}, {}, std::move(action)});
}

Script& Script::close()
{
   return add({Kind::kClose});
}

Script& Script::reset()
{
   return add({Kind::kReset});
}

Script& Script::hold()
{
   return add({Kind::kHold});
}

// One connection. Tells the peer of everything that comes as soon as it has come.
class RawPeer::Play
{
public:
   Play(RawPeer& peer, Stream& stream, const StopSignal& stop, std::size_t index)
      : peer_(peer)
      , stream_(stream)
      , stop_(stop)
      , index_(index)
   {
   }

   void run(const Script& script)
   {
      for (const Script::Step& step : script.steps_)
         if (!perform(step)) break;
      stream_.close();
      note([&](PeerRecord& record) {
         record.rest = received_;
         record.end = stream_.end();
         record.finished = true;
      });
   }

private:
   // False when nothing more can be played.
   bool perform(const Script::Step& step)
   {
      switch (step.kind) {
      case Script::Kind::kReceive:
         return receiveFrame().has_value();
      case Script::Kind::kReceiveUntil:
         return receiveUntil(step.bytes);
      case Script::Kind::kAnswer:
         return answer(step.answer);
      case Script::Kind::kAnswerAll:
         while (answer(step.answer)) {
         }
         return false;
      case Script::Kind::kSend:
         return stream_.write(step.bytes, stop_);
      case Script::Kind::kTrickle:
         return trickle(step.bytes);
      case Script::Kind::kCall:
         step.action();
         return true;
      case Script::Kind::kReset:
         stream_.reset();
         return false;
      case Script::Kind::kClose:
         return false;
      case Script::Kind::kHold:
         do
            note([&](PeerRecord& record) { record.rest = received_; });
         while (readMore());
         return false;
      }
      return false;
   }

   bool readMore()
   {
      std::array<char, 65536> buffer;
      const std::size_t count = stream_.read(buffer.data(), buffer.size(), stop_);
      received_.append(buffer.data(), count);
      return count > 0;
   }

   std::string keep(std::size_t length)
   {
      std::string frame = received_.substr(0, length);
      received_.erase(0, length);
      note([&](PeerRecord& record) {
         record.frames.push_back(frame);
         record.rest = received_;
         peer_.frames_.push_back(frame);
      });
      return frame;
   }

   std::optional<std::string> receiveFrame()
   {
      constexpr std::size_t kPrefix = 4;
      std::size_t needed = kPrefix;
      for (;;) {
         while (received_.size() < needed)
            if (!readMore()) return std::nullopt;
         if (needed > kPrefix) return keep(needed);
         std::size_t length = 0;
         for (std::size_t i = 0; i < kPrefix; ++i)
            length = length << 8 | static_cast<std::uint8_t>(received_[i]);
         if (length == 0) return keep(kPrefix);
         needed += length;
      }
   }

   bool receiveUntil(const std::string& ending)
   {
      std::size_t at;
      while ((at = received_.find(ending)) == std::string::npos)
         if (!readMore()) return false;
      keep(at + ending.size());
      return true;
   }

   bool answer(const Script::Answer& answer)
   {
      const std::optional<std::string> frame = receiveFrame();
      return frame && stream_.write(answer(*frame), stop_);
   }

   bool trickle(const std::string& bytes)
   {
      for (std::size_t i = 0; i < bytes.size(); ++i)
         if (!stream_.write(std::string_view(bytes).substr(i, 1), stop_)) return false;
      return true;
   }

   template <typename Change>
   void note(Change change)
   {
      {
         const std::lock_guard lock(peer_.mutex_);
         change(peer_.records_[index_]);
      }
      peer_.changed_.notify_all();
   }

   RawPeer& peer_;
   Stream& stream_;
   const StopSignal& stop_;
   const std::size_t index_;
   std::string received_;
};

RawPeer::RawPeer(Listener listener, Script script)
   : RawPeer(std::move(listener), std::vector<Script>{std::move(script)})
{
}

RawPeer::RawPeer(Listener listener, std::vector<Script> scripts)
   : scripts_(scripts.rbegin(), scripts.rend())
   , acceptor_(std::make_unique<Acceptor>(
        std::move(listener), "raw-peer",
        [this](Stream& stream, const StopSignal& stop) { serve(stream, stop); }))
{
}

RawPeer::~RawPeer() = default;

void RawPeer::serve(Stream& stream, const StopSignal& stop)
{
   std::size_t index;
   Script script;
   {
      const std::lock_guard lock(mutex_);
      index = records_.size();
      records_.emplace_back();
      script = nextScript();
   }
   changed_.notify_all();
   Play(*this, stream, stop, index).run(script);
}

Script RawPeer::nextScript()
{
   if (scripts_.empty()) return {};
   Script script = scripts_.back();
   if (scripts_.size() > 1) scripts_.pop_back();
   return script;
}

void RawPeer::play(Script script)
{
   const std::lock_guard lock(mutex_);
   scripts_ = {std::move(script)};
}

std::uint16_t RawPeer::port() const
{
   return acceptor_->port();
}

std::size_t RawPeer::connectionCount() const
{
   const std::lock_guard lock(mutex_);
   return records_.size();
}

PeerRecord RawPeer::record(std::size_t connection) const
{
   const std::lock_guard lock(mutex_);
   return records_.at(connection);
}

std::vector<std::string> RawPeer::frames() const
{
   const std::lock_guard lock(mutex_);
   return frames_;
}

template <typename Condition>
bool RawPeer::waitFor(Condition condition) const
{
   std::unique_lock lock(mutex_);
   return changed_.wait_for(lock, std::chrono::seconds(30), condition);
}

bool RawPeer::waitForConnections(std::size_t count) const
{
   return waitFor([&] { return records_.size() >= count; });
}

bool RawPeer::waitForFrames(std::size_t count) const
{
   return waitFor([&] { return frames_.size() >= count; });
}

bool RawPeer::waitUntilFinished(std::size_t connection) const
{
   return waitFor([&] { return records_.size() > connection && records_[connection].finished; });
}

} // namespace zerova::test
