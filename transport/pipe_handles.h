// Owners of the system's handles.
#ifndef TRANSPORT_PIPE_HANDLES_H
#define TRANSPORT_PIPE_HANDLES_H

#include "platform/local_pipe.h"

#include <thrift/TNonCopyable.h>

#include <utility>

namespace apache::thrift::transport {
inline namespace verified_pipe {

class TAutoHandle : private TNonCopyable
{
public:
   explicit TAutoHandle(platform::Handle handle = platform::kInvalidHandle)
      : handle_(handle)
   {
   }
   ~TAutoHandle() { reset(); }

   platform::Handle get() const { return handle_; }
   platform::Handle release() { return std::exchange(handle_, platform::kInvalidHandle); }
   void reset(platform::Handle handle = platform::kInvalidHandle)
   {
      const platform::Handle held = std::exchange(handle_, handle);
      if (held != platform::kInvalidHandle) platform::closePipe(held);
   }

private:
   platform::Handle handle_;
};

class TManualResetEvent : private TNonCopyable
{
public:
   TManualResetEvent(); // throws concurrency::SystemResourceException
   ~TManualResetEvent() { platform::closeEvent(event_); }

   platform::Handle get() const { return event_; }

private:
   platform::Handle event_ = platform::kInvalidHandle;
};

} // namespace verified_pipe
} // namespace apache::thrift::transport

#endif
