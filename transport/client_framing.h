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
   using TFramedTransport::TFramedTransport;

   // Forgets what of a request was not sent and what of a frame was not read.
   void dropUnfinished() { initPointers(); }

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
   // As the base does, except that a frame for which there is no memory is read away.
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
      }
      transport_->readAll(rBuf_.get(), length);
      setReadBuffer(rBuf_.get(), length);
      return true;
   }

private:
   // False when the connection has ended before the first byte.
   bool readLength(uint32_t& length)
   {
      std::array<uint8_t, 4> bytes{};
      for (uint32_t have = 0; have < bytes.size();) {
         const uint32_t count =
            transport_->read(bytes.data() + have, static_cast<uint32_t>(bytes.size()) - have);
         if (count == 0 && have == 0) return false;
         if (count == 0)
            throw TTransportException(TTransportException::END_OF_FILE,
                                      "No more data to read after partial frame header.");
         have += count;
      }
      for (const uint8_t byte : bytes)
         length = length << 8 | byte;
      if (static_cast<int32_t>(length) < 0)
         throw TTransportException("Frame size has negative value");
      if (length > maxFrameSize_)
         throw TTransportException(TTransportException::CORRUPTED_DATA,
                                   "Received an oversized frame");
      return true;
   }

   void discard(uint32_t length)
   {
      std::array<uint8_t, 4096> bytes;
      while (length > 0) {
         const uint32_t part = std::min(length, static_cast<uint32_t>(bytes.size()));
         transport_->readAll(bytes.data(), part);
         length -= part;
      }
   }
};

} // namespace zerova

#endif
