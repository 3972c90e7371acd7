// The bytes of messages, and their exchange without any of our code.
#ifndef BENCH_WIRE_H
#define BENCH_WIRE_H

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/transport/TBufferTransports.h>

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstdlib>
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

inline std::string framed(const std::string& body)
{
   const uint32_t length = htonl(static_cast<uint32_t>(body.size()));
   return std::string(reinterpret_cast<const char*>(&length), sizeof length) + body;
}

// Sends a request and receives its reply into body, which grows to the largest. Ends the program
// when the connection breaks.
inline void exchangeRaw(int socket, const std::string& framedRequest, std::vector<char>& body)
{
   if (send(socket, framedRequest.data(), framedRequest.size(), MSG_NOSIGNAL) < 0) std::exit(1);
   uint32_t length = 0;
   if (recv(socket, &length, sizeof length, MSG_WAITALL) != sizeof length) std::exit(1);
   const size_t size = ntohl(length);
   if (body.size() < size) body.resize(size);
   for (size_t have = 0; have < size;) {
      const ssize_t count = recv(socket, body.data() + have, size - have, 0);
      if (count <= 0) std::exit(1);
      have += static_cast<size_t>(count);
   }
}

} // namespace bench

#endif
