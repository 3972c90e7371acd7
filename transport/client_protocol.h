// Where a session's frame layer and protocol do more than the classes they are made of.
#ifndef TRANSPORT_CLIENT_PROTOCOL_H
#define TRANSPORT_CLIENT_PROTOCOL_H

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TVirtualProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace zerova {

// The limit on the size of a message is one for each message. The base begins a new count only with
// the next request, so that a stray reply would count against the right one.
class ClientFraming : public apache::thrift::transport::TFramedTransport
{
public:
   using TFramedTransport::TFramedTransport;

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

private:
   using TTransportException = apache::thrift::transport::TTransportException;
};

class ClientProtocol
   : public apache::thrift::protocol::TVirtualProtocol<
        ClientProtocol,
        apache::thrift::protocol::TBinaryProtocolT<apache::thrift::transport::TTransport>>
{
   using Binary = apache::thrift::protocol::TBinaryProtocolT<apache::thrift::transport::TTransport>;
   using TList = apache::thrift::protocol::TList;
   using TSet = apache::thrift::protocol::TSet;
   using TMap = apache::thrift::protocol::TMap;
   using TMessageType = apache::thrift::protocol::TMessageType;

public:
   explicit ClientProtocol(std::shared_ptr<apache::thrift::transport::TTransport> framed)
      : TVirtualProtocol(framed)
   {
   }

   uint32_t readMessageBegin(std::string& name, TMessageType& type, int32_t& sequenceId)
   {
      const uint32_t size = Binary::readMessageBegin(name, type, sequenceId);
      inMessage_ = true;
      return size;
   }

   uint32_t readMessageEnd()
   {
      inMessage_ = false;
      return Binary::readMessageEnd();
   }

   // A stub that has skipped a stray reply goes straight on to a result struct. The next message on
   // the wire has a header, as every one has, and it is read here; whatever the message is, it is
   // the reply.
   uint32_t readStructBegin(std::string& name)
   {
      if (!inMessage_) readHeaderOfNextReply();
      return Binary::readStructBegin(name);
   }

   void checkReadBytesAvailable(TList& list)
   {
      checkCount(list.size_, Binary::getMinSerializedSize(list.elemType_));
   }

   void checkReadBytesAvailable(TSet& set)
   {
      checkCount(set.size_, Binary::getMinSerializedSize(set.elemType_));
   }

   void checkReadBytesAvailable(TMap& map)
   {
      checkCount(map.size_, Binary::getMinSerializedSize(map.keyType_) +
                               Binary::getMinSerializedSize(map.valueType_));
   }

private:
   static constexpr uint32_t kElementsTakenOnTrust = 1048576;

   void readHeaderOfNextReply()
   {
      std::string name;
      TMessageType type;
      int32_t sequenceId = 0;
      readMessageBegin(name, type, sequenceId);
   }

   // The first check is the base's own: it takes a struct for 0 bytes and keeps the low 32 bits of
   // the product (in signed arithmetic, which is not defined), so false counts pass it, and the
   // stubs would reserve what is announced. No element is smaller than a byte, so a count above
   // that of the bytes left in the frame is false; a small one costs little and runs into the end
   // of the data.
   void checkCount(int count, int elementSize)
   {
      const uint32_t elements = static_cast<uint32_t>(count);
      trans_->checkReadBytesAvailable(
         static_cast<int32_t>(elements * static_cast<uint32_t>(elementSize)));
      if (elements <= kElementsTakenOnTrust) return;
      uint32_t bytesLeft = 0;
      trans_->borrow(nullptr, &bytesLeft); // asked for none, it tells how many there are
      if (elements > bytesLeft) throw std::bad_alloc();
   }

   bool inMessage_ = false;
};

} // namespace zerova

#endif
