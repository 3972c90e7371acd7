// Calls of stream sockets that no signal ends and no child inherits by. Parameters and results are
// those of the system's calls.
#ifndef PLATFORM_POSIX_RESUMED_SOCKET_H
#define PLATFORM_POSIX_RESUMED_SOCKET_H

#include "platform/posix/resumed_poll.h"

#include <cerrno>
#include <cstddef>
#include <poll.h>
#include <sys/socket.h>
#include <sys/types.h>

namespace platform {

// Closed in a new program from its first moment on, whatever other threads begin meanwhile.
inline int uninheritedSocket(int domain, int type, int protocol)
{
   return socket(domain, type | SOCK_CLOEXEC, protocol);
}

// For a descriptor that blocks.
inline int resumedConnect(int descriptor, const sockaddr* address, socklen_t size)
{
   const int result = connect(descriptor, address, size);
   if (result == 0 || errno != EINTR) return result;
   // It goes on by itself; to begin it again would only tell so.
   pollfd watched{descriptor, POLLOUT, 0};
   if (resumedPoll(&watched, 1, -1) < 0) return -1;
   int error = 0;
   socklen_t length = sizeof(error);
   if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) != 0) return -1;
   errno = error;
   return error == 0 ? 0 : -1;
}

inline ssize_t resumedReceive(int descriptor, void* buffer, size_t length, int flags)
{
   ssize_t count = 0;
   do
      count = recv(descriptor, buffer, length, flags);
   while (count < 0 && errno == EINTR);
   return count;
}

inline ssize_t resumedSend(int descriptor, const void* data, size_t length, int flags)
{
   ssize_t count = 0;
   do
      count = send(descriptor, data, length, flags);
   while (count < 0 && errno == EINTR);
   return count;
}

} // namespace platform

#endif
