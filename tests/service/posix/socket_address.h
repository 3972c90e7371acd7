// Sockets and their addresses, with failures that say what they are about.
#ifndef TESTS_SERVICE_POSIX_SOCKET_ADDRESS_H
#define TESTS_SERVICE_POSIX_SOCKET_ADDRESS_H

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <string>

namespace zerova::test {

// Throws std::runtime_error: what, and the system's text for error.
[[noreturn]] void fail(const std::string& what, int error);

// A stream socket that does not block and is closed on exec.
int openSocket(int family);

sockaddr_un localAddress(const std::string& path);
// Refuses what is no loopback address: the servers of the tests are for this machine alone.
sockaddr_in tcpAddress(const std::string& text, std::uint16_t port);

} // namespace zerova::test

#endif
