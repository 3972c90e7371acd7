// A connected stream as the bottom of a server's protocol stack.
#ifndef TESTS_SERVICE_STREAM_TRANSPORT_H
#define TESTS_SERVICE_STREAM_TRANSPORT_H

#include "service/stream.h"

#include <thrift/transport/TVirtualTransport.h>

#include <cstdint>
#include <string_view>

namespace zerova::test {

// Borrows both. The end of the stream, also by the stop signal, reads as 0 bytes.
class StreamTransport : public apache::thrift::transport::TVirtualTransport<StreamTransport>
{
public:
   StreamTransport(Stream& stream, const StopSignal& stop)
      : stream_(stream)
      , stop_(stop)
   {
   }

   bool isOpen() const override { return stream_.end() == StreamEnd::kOpen; }

   std::uint32_t read(std::uint8_t* buffer, std::uint32_t length)
   {
      return static_cast<std::uint32_t>(
         stream_.read(reinterpret_cast<char*>(buffer), length, stop_));
   }

   void write(const std::uint8_t* buffer, std::uint32_t length)
   {
      using apache::thrift::transport::TTransportException;
      if (!stream_.write({reinterpret_cast<const char*>(buffer), length}, stop_))
         throw TTransportException(TTransportException::END_OF_FILE);
   }

private:
   Stream& stream_;
   const StopSignal& stop_;
};

} // namespace zerova::test

#endif
