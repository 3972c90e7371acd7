// The bytes of messages, and their exchange without any of our code.
#ifndef BENCH_WIRE_H
#define BENCH_WIRE_H

#include "bench/canned_service.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

// The body of a frame.
template <typename Message>
std::string message(const char* name, apache::thrift::protocol::TMessageType type,
                    const Message& content)
{
   const auto buffer = std::make_shared<apache::thrift::transport::TMemoryBuffer>();
   apache::thrift::protocol::TBinaryProtocol protocol(buffer);
   protocol.writeMessageBegin(name, type, 0);
   content.write(&protocol);
   protocol.writeMessageEnd();
   return buffer->getBufferAsString();
}

// A length as it stands in front of a frame.
inline std::string lengthBytes(size_t length)
{
   std::string bytes;
   for (int shift = 24; shift >= 0; shift -= 8)
      bytes += static_cast<char>(length >> shift & 0xFF);
   return bytes;
}

inline size_t lengthOf(const char* bytes)
{
   size_t length = 0;
   for (int i = 0; i < 4; ++i)
      length = length << 8 | static_cast<unsigned char>(bytes[i]);
   return length;
}

// The method that a request is to be sent to, from the body of its frame.
inline std::string methodOf(const std::vector<char>& body)
{
   return {body.data() + 8, lengthOf(body.data() + 4)};
}

inline std::string framed(const std::string& body)
{
   return lengthBytes(body.size()) + body;
}

// Sends a request and receives its reply into body, which grows to the largest.
inline void exchangeRaw(Connection& connection, const std::string& framedRequest,
                        std::vector<char>& body)
{
   connection.send(framedRequest);
   char length[4];
   connection.receive(length, sizeof length);
   const size_t size = lengthOf(length);
   if (body.size() < size) body.resize(size);
   connection.receive(body.data(), size);
}

} // namespace bench

#endif
