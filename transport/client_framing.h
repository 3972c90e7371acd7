// Where a session's frame layer does more than the class it is made of.
#ifndef TRANSPORT_CLIENT_FRAMING_H
#define TRANSPORT_CLIENT_FRAMING_H

#include "transport/answer_wait.h"
#include "transport/reply_scan.h"

#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TTransportException.h>
#include <thrift/transport/TVirtualTransport.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace zerova {

// The limit on the size of a message is one for each message, and holds for all that is received
// for it, in as many frames as it takes and whether it is kept or skipped. The base begins a new
// count only with the next request, and counts texts alone.
//
// When memory runs out in the middle of a call, the base is left with half a request, which the
// next one would be sent behind, or in the middle of a reply, which the next call would take for
// its own. Lack of memory passes, so the session is not lost to it where that can be helped.
class ClientFraming : public apache::thrift::transport::TVirtualTransport<
                         ClientFraming, apache::thrift::transport::TFramedTransport>
{
   using TFramedTransport = apache::thrift::transport::TFramedTransport;
   using TTransportException = apache::thrift::transport::TTransportException;

public:
   // The base has no buffer before the first frame, and yet reads at an offset from it.
   explicit ClientFraming(const std::shared_ptr<TTransport>& transport,
                          const std::shared_ptr<apache::thrift::TConfiguration>& limits = nullptr)
      : TVirtualTransport(transport, limits)
   {
      rBuf_.reset(new uint8_t[0]);
      setReadBuffer(rBuf_.get(), 0);
   }

   // From now on answers are waited for with watch; without one they are slept for.
   void watchAnswers(std::unique_ptr<AnswerWatch> watch) { watch_ = std::move(watch); }

   // Forgets what was written of a request that was never sent: it may have been too large, or
   // memory ran out.
   void beginRequest()
   {
      setWriteBuffer(wBuf_.get(), wBufSize_);
      wBase_ += kLengthSize;
   }

   // From here on the connection has something of this call on it.
   void flush() override
   {
      awaitsReply_ = true;
      beginMessage();
      if (watch_) wait_.ask(*watch_);
      TFramedTransport::flush();
   }

   // The awaited reply has been read to its end; a message that was skipped is none.
   void endReply() { awaitsReply_ = false; }

   uint32_t readEnd() override
   {
      resetConsumedMessageSize();
      beginMessage();
      return TFramedTransport::readEnd();
   }

   // Receives the awaited reply and leaves it unread. Nothing, if something is left in front of it.
   std::span<const uint8_t> receiveWholeReply()
   {
      if (rBase_ != rBound_) return {};
      if (!readFrame() || rBase_ == rBound_)
         throw TTransportException(TTransportException::END_OF_FILE, "No more data to read.");
      return {rBase_, rBound_};
   }

   // All of it has been read.
   void endWholeReply()
   {
      setReadBuffer(rBuf_.get(), 0);
      endReply();
      readEnd();
   }

   // Forgets the call that is under way. False unless the next call finds the connection as if that
   // one had not been made: of a request that was sent, the reply has to be seen to have come, and
   // to be the whole of what is forgotten.
   bool dropUnfinished()
   {
      if (!awaitsReply_) return true;
      const bool inStep =
         reply_ == Reply::kDropped || (reply_ == Reply::kInOneFrame && holdsReply());
      setReadBuffer(rBuf_.get(), 0);
      awaitsReply_ = false;
      return inStep;
   }

   uint32_t bytesLeftInFrame() const { return static_cast<uint32_t>(rBound_ - rBase_); }

   uint32_t read(uint8_t* bytes, uint32_t length)
   {
      const uint32_t count = TFramedTransport::read(bytes, length);
      countConsumedMessageBytes(static_cast<long>(count));
      return count;
   }

   uint32_t readAll(uint8_t* bytes, uint32_t length)
   {
      if (length > bytesLeftInFrame())
         return apache::thrift::transport::readAll(*this, bytes, length);
      countConsumedMessageBytes(static_cast<long>(length)); // no frame is as large as a long
      return TFramedTransport::readAll(bytes, length);
   }

   // The protocol asks here for the bytes of a text that goes on behind its frame, and told that
   // there are none it reserves the whole length before it reads. A length may be a lie, so what
   // follows is gathered first; the outcome is the one that reading would have had.
   const uint8_t* borrowSlow(uint8_t*, uint32_t* length) override
   {
      checkReadBytesAvailable(static_cast<long>(*length)); // a text has 31 bits of length
      std::vector<uint8_t> gathered(rBase_, rBound_);
      setReadBuffer(rBuf_.get(), 0); // if the rest does not come, the next call must not find these
      while (gathered.size() < *length) {
         if (!receiveFrame(static_cast<uint32_t>(gathered.size())) || rBase_ == rBound_)
            throw TTransportException(TTransportException::END_OF_FILE, "No more data to read.");
         gathered.insert(gathered.end(), rBase_, rBound_);
      }
      const uint32_t size = static_cast<uint32_t>(gathered.size());
      rBuf_.reset(new uint8_t[size]);
      rBufSize_ = size;
      std::copy(gathered.begin(), gathered.end(), rBuf_.get());
      setReadBuffer(rBuf_.get(), size);
      *length = size;
      return rBase_;
   }

protected:
   bool readFrame() override { return receiveFrame(0); }

private:
   static constexpr uint32_t kLengthSize = 4;

   // What has been received of the message that comes next, as far as it can be the awaited reply.
   enum class Reply
   {
      kNothing,
      kInOneFrame, // which holds nothing else in front
      kDropped,    // was that, whole, and has been read away
      kUnknown
   };

   // What is left of a frame stands in front of the message, or is where it begins.
   void beginMessage() { reply_ = rBase_ == rBound_ ? Reply::kNothing : Reply::kUnknown; }

   // As the base's readFrame does, except for the limit, that a reply for which there is no memory
   // is read away, and that a length and the bytes behind it are received together.
   // held: how many bytes of the message have been received and not been read yet.
   bool receiveFrame(uint32_t held)
   {
      uint32_t length = 0;
      if (!readLength(length)) return false;
      checkReadBytesAvailable(static_cast<long>(held) + static_cast<long>(length));
      const bool isFirst = std::exchange(reply_, Reply::kUnknown) == Reply::kNothing;
      if (length > rBufSize_) {
         uint8_t* const larger = new (std::nothrow) uint8_t[length];
         if (!larger) {
            if (isFirst && skipsReply(length)) reply_ = Reply::kDropped;
            throw std::bad_alloc();
         }
         rBuf_.reset(larger);
         rBufSize_ = length;
      }
      setReadBuffer(rBuf_.get(), 0); // if the frame does not come whole
      readBytes(rBuf_.get(), length);
      setReadBuffer(rBuf_.get(), length);
      if (isFirst) reply_ = Reply::kInOneFrame;
      return true;
   }

   // False when the connection has ended before the first byte.
   bool readLength(uint32_t& length)
   {
      if (aheadEnd_ - aheadBegin_ < kLengthSize) {
         std::copy(ahead_.begin() + aheadBegin_, ahead_.begin() + aheadEnd_, ahead_.begin());
         aheadEnd_ -= std::exchange(aheadBegin_, 0);
      }
      while (aheadEnd_ - aheadBegin_ < kLengthSize) {
         const uint32_t room = static_cast<uint32_t>(ahead_.size()) - aheadEnd_;
         const uint32_t count = receiveAhead(room);
         if (count == 0 && aheadEnd_ == 0) return false;
         if (count == 0)
            throw TTransportException(TTransportException::END_OF_FILE,
                                      "No more data to read after partial frame header.");
         aheadEnd_ += count;
      }
      for (uint32_t i = 0; i < kLengthSize; ++i)
         length = length << 8 | ahead_[aheadBegin_++];
      if (static_cast<int32_t>(length) < 0)
         throw TTransportException("Frame size has negative value");
      if (length > maxFrameSize_)
         throw TTransportException(TTransportException::CORRUPTED_DATA,
                                   "Received an oversized frame");
      return true;
   }

   // Only what a frame begins with is waited for; the rest of it is on its way.
   uint32_t receiveAhead(uint32_t room)
   {
      const bool isAwaited = watch_ && aheadEnd_ == 0;
      if (isAwaited) wait_.begin(*watch_);
      const uint32_t count = transport_->read(ahead_.data() + aheadEnd_, room);
      if (isAwaited) wait_.end(*watch_);
      return count;
   }

   void readBytes(uint8_t* bytes, uint32_t length)
   {
      const uint32_t count = std::min(length, aheadEnd_ - aheadBegin_);
      std::copy_n(ahead_.data() + aheadBegin_, count, bytes);
      aheadBegin_ += count;
      if (count < length) transport_->readAll(bytes + count, length - count);
   }

   // The name of the method that was called: a request stays in its buffer until the next one.
   std::string_view calledMethod() const
   {
      constexpr size_t kAt = 8; // behind the length of the frame and the version
      const uint8_t* const length = wBuf_.get() + kAt;
      const size_t size = static_cast<size_t>(length[2]) << 8 | length[3];
      return {reinterpret_cast<const char*>(length) + kLengthSize, size};
   }

   bool holdsReply() const
   {
      const std::span<const uint8_t> frame(rBuf_.get(), rBound_);
      return ReplyScan(static_cast<uint32_t>(frame.size()), [frame] { return frame; })
         .findsReplyTo(calledMethod());
   }

   // Reads a frame away if it is the reply; else leaves off in the middle.
   bool skipsReply(uint32_t length)
   {
      std::array<uint8_t, 1024> bytes;
      uint32_t left = length;
      const auto more = [&] {
         const uint32_t part = std::min(left, static_cast<uint32_t>(bytes.size()));
         readBytes(bytes.data(), part);
         left -= part;
         return std::span<const uint8_t>(bytes.data(), part);
      };
      if (!ReplyScan(length, more).findsReplyTo(calledMethod())) return false;
      while (left > 0)
         more();
      return true;
   }

   // What was received behind the last bytes read: a small frame comes whole with its length, and
   // asking the system for each apart is what a small call can spare.
   std::array<uint8_t, 1024> ahead_;
   uint32_t aheadBegin_ = 0;
   uint32_t aheadEnd_ = 0;

   std::unique_ptr<AnswerWatch> watch_; // may be null
   AnswerWait wait_;

   bool awaitsReply_ = false;
   Reply reply_ = Reply::kNothing;
};

} // namespace zerova

#endif
