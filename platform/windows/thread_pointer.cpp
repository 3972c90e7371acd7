#include "platform/thread_pointer.h"

#include <windows.h>

namespace platform {
namespace {

// The compiler's own threads' variables would allocate at their first use in a thread.
class ThreadSlot
{
public:
   ThreadSlot()
      : index_(TlsAlloc())
   {
   }
   ~ThreadSlot() { TlsFree(index_); }
   ThreadSlot(const ThreadSlot&) = delete;
   ThreadSlot& operator=(const ThreadSlot&) = delete;

   void* get() const { return TlsGetValue(index_); }
   void set(void* pointer) const { TlsSetValue(index_, pointer); }

private:
   DWORD index_;
};

const ThreadSlot slot;

} // namespace

void* threadPointer()
{
   return slot.get();
}

void setThreadPointer(void* pointer)
{
   slot.set(pointer);
}

} // namespace platform
