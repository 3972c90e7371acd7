// Where a session's frame layer does more than the class it is made of.
#ifndef TRANSPORT_CLIENT_FRAMING_H
#define TRANSPORT_CLIENT_FRAMING_H

#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TTransportException.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace zerova {

// The limit on the size of a message is one for each message. The base begins a new count only with
// the next request, so that a stray reply would count against the right one.
//
// When memory runs out in the middle of a call, the base is left with half a request, which the
// next one would be sent behind, or in the middle of a reply, which the next call would take for
// its own. Lack of memory passes, so the session must not be lost to it.
class ClientFraming : public apache::thrift::transport::TFramedTransport
{
   using TTransportException = apache::thrift::transport::TTransportException;

public:
   // The base has no buffer before the first frame, and yet reads at an offset from it.
   explicit ClientFraming(const std::shared_ptr<TTransport>& transport,
                          const std::shared_ptr<apache::thrift::TConfiguration>& limits = nullptr)
      : TFramedTransport(transport, limits)
   {
      rBuf_.reset(new uint8_t[0]);
      setReadBuffer(rBuf_.get(), 0);
   }

   // Forgets what of a request was not sent and what of a frame was not read.
   void dropUnfinished()
   {
      initPointers();
      setReadBuffer(rBuf_.get(), 0);
   }

   uint32_t readEnd() override
   {
      resetConsumedMessageSize();
      return TFramedTransport::readEnd();
   }

   // The protocol asks here for the bytes of a text that goes on behind its frame, and told that
   // there are none it reserves the whole length before it reads. A length may be a lie, so what
   // follows is gathered first; the outcome is the one that reading would have had.
   const uint8_t* borrowSlow(uint8_t*, uint32_t* length) override
   {
      checkReadBytesAvailable(*length);
      std::vector<uint8_t> gathered(rBase_, rBound_);
      setReadBuffer(rBuf_.get(), 0); // if the rest does not come, the next call must not find these
      while (gathered.size() < *length) {
         if (!readFrame() || rBase_ == rBound_)
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
   // As the base does, except that a frame for which there is no memory is read away, and that a
   // length and the bytes behind it are received together.
   bool readFrame() override
   {
      uint32_t length = 0;
      if (!readLength(length)) return false;
      if (length > rBufSize_) {
         uint8_t* const larger = new (std::nothrow) uint8_t[length];
         if (!larger) {
            discard(length);
            throw std::bad_alloc();
         }
         rBuf_.reset(larger);
         rBufSize_ = length;
         setReadBuffer(larger, 0);
      }
      readBytes(rBuf_.get(), length);
      setReadBuffer(rBuf_.get(), length);
      return true;
   }

private:
   // False when the connection has ended before the first byte.
   bool readLength(uint32_t& length)
   {
      constexpr uint32_t kSize = 4;
      if (aheadEnd_ - aheadBegin_ < kSize) {
         std::copy(ahead_.begin() + aheadBegin_, ahead_.begin() + aheadEnd_, ahead_.begin());
         aheadEnd_ -= std::exchange(aheadBegin_, 0);
      }
      while (aheadEnd_ - aheadBegin_ < kSize) {
         const uint32_t room = static_cast<uint32_t>(ahead_.size()) - aheadEnd_;
         const uint32_t count = transport_->read(ahead_.data() + aheadEnd_, room);
         if (count == 0 && aheadEnd_ == 0) return false;
         if (count == 0)
            throw TTransportException(TTransportException::END_OF_FILE,
                                      "No more data to read after partial frame header.");
         aheadEnd_ += count;
      }
      for (uint32_t i = 0; i < kSize; ++i)
         length = length << 8 | ahead_[aheadBegin_++];
      if (static_cast<int32_t>(length) < 0)
         throw TTransportException("Frame size has negative value");
      if (length > maxFrameSize_)
         throw TTransportException(TTransportException::CORRUPTED_DATA,
                                   "Received an oversized frame");
      return true;
   }

   void readBytes(uint8_t* bytes, uint32_t length)
   {
      const uint32_t count = std::min(length, aheadEnd_ - aheadBegin_);
      std::copy_n(ahead_.data() + aheadBegin_, count, bytes);
      aheadBegin_ += count;
      if (count < length) transport_->readAll(bytes + count, length - count);
   }

   void discard(uint32_t length)
   {
      std::array<uint8_t, 4096> bytes;
      while (length > 0) {
         const uint32_t part = std::min(length, static_cast<uint32_t>(bytes.size()));
         readBytes(bytes.data(), part);
         length -= part;
      }
   }

   // What was received behind the last bytes read: a small frame comes whole with its length, and
   // asking the system for each apart is what a small call can spare.
   std::array<uint8_t, 1024> ahead_;
   uint32_t aheadBegin_ = 0;
   uint32_t aheadEnd_ = 0;
};

} // namespace zerova

#endif
