// A stream socket that no child inherits, from its first moment on.
#ifndef PLATFORM_WINDOWS_UNINHERITED_SOCKET_H
#define PLATFORM_WINDOWS_UNINHERITED_SOCKET_H

#include <winsock2.h>

namespace platform {

// Parameters and result are those of the system's socket.
inline SOCKET uninheritedSocket(int domain, int type, int protocol)
{
   return WSASocketW(domain, type, protocol, nullptr, 0,
                     WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

} // namespace platform

#endif
