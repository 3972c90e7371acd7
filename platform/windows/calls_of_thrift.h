// Forced in front of Thrift's TCP socket, which makes sockets that a child would inherit. That could be
// told them only when they are connected, and another thread may begin a program meanwhile.
#ifndef PLATFORM_WINDOWS_CALLS_OF_THRIFT_H
#define PLATFORM_WINDOWS_CALLS_OF_THRIFT_H

#include "platform/windows/uninherited_socket.h"

#define socket(...) ::platform::uninheritedSocket(__VA_ARGS__)

#endif
