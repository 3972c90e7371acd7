// What a session reads its replies from: bytes that stand ready, and then the end.
#ifndef FUZZ_REPLY_TRANSPORTS_H
#define FUZZ_REPLY_TRANSPORTS_H

#include <thrift/transport/TTransport.h>

#include <cstddef>
#include <memory>
#include <string>

using ReplyTransport = std::shared_ptr<apache::thrift::transport::TTransport>;

// From memory, at most mostAtOnce bytes with one read.
ReplyTransport replyFromMemory(const std::string& bytes, size_t mostAtOnce);

// From the other end of a pair of sockets, by the code of remote sessions and by that of local ones.
// The bytes must fit into what a socket holds.
ReplyTransport replyFromSocket(const std::string& bytes);
ReplyTransport replyFromPipe(const std::string& bytes);

#endif
