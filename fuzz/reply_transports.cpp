#include "fuzz/reply_transports.h"

#include "fuzz/require.h"
#include "transport/pipe_transport.h"

#include <thrift/transport/TSocket.h>
#include <thrift/transport/TTransportException.h>
#include <thrift/transport/TVirtualTransport.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

using namespace apache::thrift::transport;

namespace {

class MemoryTransport : public TVirtualTransport<MemoryTransport, TTransportDefaults>
{
public:
   MemoryTransport(const std::string& bytes, size_t mostAtOnce)
      : bytes_(bytes)
      , mostAtOnce_(mostAtOnce)
   {
   }

   bool isOpen() const override { return isOpen_; }
   void close() override { isOpen_ = false; }

   uint32_t read(uint8_t* buffer, uint32_t length)
   {
      const size_t count = std::min({size_t{length}, mostAtOnce_, bytes_.size() - position_});
      std::memcpy(buffer, bytes_.data() + position_, count);
      position_ += count;
      return static_cast<uint32_t>(count);
   }

   void write(const uint8_t*, uint32_t)
   {
      if (!isOpen_) throw TTransportException(TTransportException::NOT_OPEN);
   }

private:
   const std::string bytes_;
   const size_t mostAtOnce_;
   size_t position_ = 0;
   bool isOpen_ = true;
};

// The two ends of a connection; whoever makes it hands one on.
struct Connection
{
   int ours = -1;
   int theirs = -1;

   explicit Connection(const std::string& bytes)
   {
      int ends[2];
      require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
      ours = ends[0];
      theirs = ends[1];
      require(send(theirs, bytes.data(), bytes.size(), MSG_DONTWAIT) ==
              static_cast<ssize_t>(bytes.size()));
      require(shutdown(theirs, SHUT_WR) == 0);
   }
   Connection(const Connection&) = delete;
   Connection& operator=(const Connection&) = delete;
   ~Connection() { close(theirs); }
};

class SocketReply : private Connection, public TSocket
{
public:
   explicit SocketReply(const std::string& bytes)
      : Connection(bytes)
      , TSocket(ours)
   {
   }
};

// An open pipe, as the pipe transport holds it, without the way by which it was opened.
class PipeReply : public TVirtualTransport<PipeReply, TTransportDefaults>
{
public:
   explicit PipeReply(const std::string& bytes)
      : connection_(bytes)
   {
      pipe_.setPipeHandle(connection_.ours);
   }

   bool isOpen() const override { return isOpen_; }
   void close() override
   {
      pipe_.setPipeHandle(platform::kInvalidHandle);
      isOpen_ = false;
   }
   uint32_t read(uint8_t* buffer, uint32_t length) { return pipe_.read(buffer, length); }
   void write(const uint8_t* buffer, uint32_t length) { pipe_.write(buffer, length); }

private:
   const Connection connection_;
   TNamedPipeImpl pipe_;
   bool isOpen_ = true;
};

} // namespace

ReplyTransport replyFromMemory(const std::string& bytes, size_t mostAtOnce)
{
   return std::make_shared<MemoryTransport>(bytes, mostAtOnce);
}

ReplyTransport replyFromSocket(const std::string& bytes)
{
   return std::make_shared<SocketReply>(bytes);
}

ReplyTransport replyFromPipe(const std::string& bytes)
{
   return std::make_shared<PipeReply>(bytes);
}
