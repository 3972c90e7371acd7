// Where a session's protocol does more than the class it is made of.
#ifndef TRANSPORT_CLIENT_PROTOCOL_H
#define TRANSPORT_CLIENT_PROTOCOL_H

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TVirtualProtocol.h>
#include <thrift/transport/TTransport.h>

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

public:
   explicit ClientProtocol(std::shared_ptr<apache::thrift::transport::TTransport> framed)
      : TVirtualProtocol(std::move(framed))
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
