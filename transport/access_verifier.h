// The check of the server at the other end of a local pipe.
#ifndef TRANSPORT_ACCESS_VERIFIER_H
#define TRANSPORT_ACCESS_VERIFIER_H

#include "platform/local_pipe.h"

#include <thrift/TNonCopyable.h>
#include <thrift/transport/TTransportException.h>

#include <cstdint>
#include <string>

// The inline namespace keeps these symbols apart from classes of the same names in Thrift's own
// sources.
namespace apache::thrift::transport {
inline namespace verified_pipe {

class TPureAccessVerifier
{
public:
   virtual ~TPureAccessVerifier() = default;
   // Extra flags for the call that opens the pipe; asked before each attempt to open.
   virtual uint32_t openFlags() = 0;
   // Whether the process at the other end may be trusted; asked before any byte goes through the
   // pipe, which the caller keeps and closes.
   virtual bool isServerTrusted(platform::Handle pipe) = 0;
};

class TDoNotCareAccessVerifier : public TPureAccessVerifier, private TNonCopyable
{
public:
   uint32_t openFlags() override { return 0; }
   bool isServerTrusted(platform::Handle) override { return true; }
};

class TLocalAuthException : public TTransportException
{
public:
   explicit TLocalAuthException(const std::string& message = {})
      : TTransportException(INTERNAL_ERROR, message)
   {
   }
   const char* what() const noexcept override
   {
      return message_.empty() ? "TLocalAuthException" : message_.c_str();
   }
};

} // namespace verified_pipe
} // namespace apache::thrift::transport

#endif
