// A session whose transport is memory: what it sends is kept, what it receives was put there.
#ifndef TESTS_UNIT_ZEROVAAPI_MEMORY_SESSION_H
#define TESTS_UNIT_ZEROVAAPI_MEMORY_SESSION_H

#include "service/wire_bytes.h"
#include "source/zerovaapi/handles.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>
#include <thrift/transport/TVirtualTransport.h>

#include <algorithm>
#include <memory>
#include <string>

namespace zerova::test {

class MemoryWire : public apache::thrift::transport::TVirtualTransport<MemoryWire>
{
public:
   bool isOpen() const override { return true; }
   uint32_t read(uint8_t* buffer, uint32_t length)
   {
      const size_t count = std::min<size_t>(length, incoming.size() - read_);
      std::copy_n(incoming.begin() + static_cast<ptrdiff_t>(read_), count, buffer);
      read_ += count;
      return static_cast<uint32_t>(count);
   }
   void write(const uint8_t* bytes, uint32_t length)
   {
      outgoing.append(reinterpret_cast<const char*>(bytes), length);
   }
   // The next call sends into an empty outgoing and reads reply.
   void answerWith(std::string reply)
   {
      incoming = std::move(reply);
      answerAgain();
   }
   // The same with the reply of before. Allocates nothing.
   void answerAgain()
   {
      read_ = 0;
      outgoing.clear();
   }

   std::string incoming;
   std::string outgoing;

private:
   size_t read_ = 0;
};

class MemorySession
{
public:
   MemorySession()
   {
      // Room for every message of the tests, so that no call makes it grow.
      wire->outgoing.reserve(4096);
   }

   operator zerovaapi_Session() { return wrap<zerovaapi_Session>(&session); }

   std::shared_ptr<MemoryWire> wire = std::make_shared<MemoryWire>();
   std::shared_ptr<apache::thrift::transport::TTransport> framed =
      std::make_shared<apache::thrift::transport::TFramedTransport>(wire);
   std::shared_ptr<apache::thrift::protocol::TProtocol> protocol =
      std::make_shared<apache::thrift::protocol::TBinaryProtocol>(framed);
   ClientSession session{wire, framed, protocol, APIv1Client(protocol)};
};

} // namespace zerova::test

#endif
