// One pointer for each thread, null at first. Nothing here allocates or fails.
#ifndef PLATFORM_THREAD_POINTER_H
#define PLATFORM_THREAD_POINTER_H

namespace platform {

void* threadPointer();
void setThreadPointer(void* pointer);

} // namespace platform

#endif
