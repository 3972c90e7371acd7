// Where a session's protocol does more than the class it is made of.
#ifndef TRANSPORT_CLIENT_PROTOCOL_H
#define TRANSPORT_CLIENT_PROTOCOL_H

#include "transport/client_framing.h"
#include "transport/reply_scan.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TVirtualProtocol.h>
#include <thrift/transport/TTransport.h>
#include <thrift/transport/TTransportException.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace zerova {

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
   using TType = apache::thrift::protocol::TType;

public:
   explicit ClientProtocol(const std::shared_ptr<ClientFraming>& framed)
      : TVirtualProtocol(std::shared_ptr<apache::thrift::transport::TTransport>(framed))
      , framed_(*framed)
   {
   }

   uint32_t writeMessageBegin(const std::string& name, const TMessageType type,
                              const int32_t sequenceId)
   {
      framed_.beginRequest();
      return Binary::writeMessageBegin(name, type, sequenceId);
   }

   uint32_t readMessageBegin(std::string& name, TMessageType& type, int32_t& sequenceId)
   {
      const uint32_t size = Binary::readMessageBegin(name, type, sequenceId);
      place_ = Place::kBehindHeader;
      return size;
   }

   uint32_t readMessageEnd()
   {
      place_ = Place::kOutside;
      if (!std::exchange(isSkipped_, false)) framed_.endReply();
      return Binary::readMessageEnd();
   }

   // A stub that has skipped a stray reply goes straight on to a result struct. The next message on
   // the wire has a header, as every one has, and it is read here; whatever the message is, it is
   // the reply.
   uint32_t readStructBegin(std::string& name)
   {
      if (place_ == Place::kOutside) readHeaderOfNextReply();
      place_ = Place::kInside;
      return Binary::readStructBegin(name);
   }

   // The stubs skip a field that they do not know, or all of a message that is not the reply.
   uint32_t skip(TType type)
   {
      const bool isWhole = place_ != Place::kInside;
      const Skipping skipping(*this);
      const uint32_t size = TVirtualProtocol::skip(type);
      isSkipped_ = isWhole;
      return size;
   }

   void checkReadBytesAvailable(TList& list) override
   {
      checkCount(list.size_, Binary::getMinSerializedSize(list.elemType_));
   }

   void checkReadBytesAvailable(TSet& set) override
   {
      checkCount(set.size_, Binary::getMinSerializedSize(set.elemType_));
   }

   void checkReadBytesAvailable(TMap& map) override
   {
      checkCount(map.size_, Binary::getMinSerializedSize(map.keyType_) +
                               Binary::getMinSerializedSize(map.valueType_));
   }

private:
   enum class Place
   {
      kOutside, // of any message
      kBehindHeader,
      kInside
   };

   class Skipping
   {
   public:
      explicit Skipping(ClientProtocol& protocol)
         : protocol_(protocol)
      {
         protocol_.isSkipping_ = true;
      }
      ~Skipping() { protocol_.isSkipping_ = false; }
      Skipping(const Skipping&) = delete;
      Skipping& operator=(const Skipping&) = delete;

   private:
      ClientProtocol& protocol_;
   };

   void readHeaderOfNextReply()
   {
      std::string name;
      TMessageType type;
      int32_t sequenceId = 0;
      readMessageBegin(name, type, sequenceId);
   }

   // The first check is the base's own: it takes a struct for 0 bytes and keeps the low 32 bits of
   // the product (in signed arithmetic, which is not defined), so false counts pass it, and the
   // stubs would reserve what is announced. For what is skipped nothing would be reserved: there
   // the data ends too early, and waiting for more of it could last for ever.
   void checkCount(int count, int elementSize)
   {
      const uint32_t elements = static_cast<uint32_t>(count);
      framed_.checkReadBytesAvailable(
         static_cast<int32_t>(elements * static_cast<uint32_t>(elementSize)));
      if (!isFalseCount(elements, framed_.bytesLeftInFrame())) return;
      using apache::thrift::transport::TTransportException;
      if (isSkipping_)
         throw TTransportException(TTransportException::END_OF_FILE, "No more data to read.");
      throw std::bad_alloc();
   }

   ClientFraming& framed_; // the base holds it
   Place place_ = Place::kOutside;
   bool isSkipping_ = false;
   bool isSkipped_ = false; // the message that is being read
};

} // namespace zerova

#endif
