// The bottom transport of a local session: a byte stream to the service over a named pipe.
#ifndef TRANSPORT_PIPE_TRANSPORT_H
#define TRANSPORT_PIPE_TRANSPORT_H

#include "transport/access_verifier.h"
#include "transport/pipe_handles.h"

#include <thrift/TNonCopyable.h>
#include <thrift/transport/TVirtualTransport.h>

#include <cstdint>
#include <memory>
#include <string>

namespace apache::thrift::transport {
inline namespace verified_pipe {

// An open pipe. One read and one write may run at once.
class TPipeImpl : private TNonCopyable
{
public:
   virtual ~TPipeImpl() = default;
   virtual uint32_t read(uint8_t* buffer, uint32_t length) = 0;
   virtual void write(const uint8_t* buffer, uint32_t length) = 0;
   virtual platform::Handle getPipeHandle() = 0;
   virtual void setPipeHandle(platform::Handle pipe) = 0;
   virtual platform::Handle getWrtPipeHandle() { return platform::kInvalidHandle; }
   virtual void setWrtPipeHandle(platform::Handle) {}
   virtual bool isBufferedDataAvailable() { return false; }
   virtual platform::Handle getNativeWaitHandle() { return platform::kInvalidHandle; }
};

class TNamedPipeImpl : public TPipeImpl
{
public:
   uint32_t read(uint8_t* buffer, uint32_t length) override;
   void write(const uint8_t* buffer, uint32_t length) override;
   platform::Handle getPipeHandle() override { return Pipe_.get(); }
   // Takes the handle over and closes the present one.
   void setPipeHandle(platform::Handle pipe) override;

private:
   const int32_t writeTimeoutMs = -1;
   const int32_t readTimeoutMs = -1;
   TManualResetEvent read_event_;
   TManualResetEvent write_event_;
   TAutoHandle Pipe_;
};

class TPipe : public TVirtualTransport<TPipe, TTransportDefaults>
{
public:
   // A name with two backslashes in a row is a full path; any other gets the prefix of local pipes.
   explicit TPipe(const std::string& pipename, std::shared_ptr<TConfiguration> config = nullptr);
   ~TPipe() override = default;

   bool isOpen() const override { return impl_ != nullptr; }
   // Waits while the pipe is busy; fails at once if there is none.
   void open() override;
   void close() override { impl_.reset(); }

   // What one transfer delivers. The end of the connection is an exception, never 0 bytes.
   uint32_t read(uint8_t* buffer, uint32_t length);
   void write(const uint8_t* buffer, uint32_t length);

   // Of an open pipe: whether read would not have to wait.
   bool canRead() const { return platform::canRead(impl_->getPipeHandle()); }

   const std::string& getPipename() const { return pipename_; }
   // Null puts back the verifier that trusts everyone. Borrowed: must outlive the transport.
   void setVerifier(TPureAccessVerifier* next) { verifier = next ? next : &defaultVerifier; }

private:
   void accept(TAutoHandle& pipe);

   std::shared_ptr<TPipeImpl> impl_;
   const std::string pipename_;
   const int32_t connectWaitMs = 3000;
   TDoNotCareAccessVerifier defaultVerifier;
   TPureAccessVerifier* verifier = &defaultVerifier;
};

} // namespace verified_pipe
} // namespace apache::thrift::transport

#endif
