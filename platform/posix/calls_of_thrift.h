// Forced in front of Thrift's TCP socket. A signal is no failure of a connection: the class begins an
// interrupted read again five times and nothing else at all, so what a signal has interrupted is
// resumed beneath it. And it makes sockets that a child would inherit, which could be told them only
// when they are connected.
#ifndef PLATFORM_POSIX_CALLS_OF_THRIFT_H
#define PLATFORM_POSIX_CALLS_OF_THRIFT_H

#include "platform/posix/resumed_socket.h"

#define socket(...) ::platform::uninheritedSocket(__VA_ARGS__)
#define connect(...) ::platform::resumedConnect(__VA_ARGS__)
#define recv(...) ::platform::resumedReceive(__VA_ARGS__)
#define send(...) ::platform::resumedSend(__VA_ARGS__)

#endif
