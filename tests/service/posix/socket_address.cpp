#include "service/posix/socket_address.h"

#include <arpa/inet.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace zerova::test {

void fail(const std::string& what, int error)
{
   throw std::runtime_error(what + ": " + std::generic_category().message(error));
}

int openSocket(int family)
{
   const int fd = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
   if (fd < 0) fail("cannot make a socket", errno);
   return fd;
}

sockaddr_un localAddress(const std::string& path)
{
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   if (path.size() >= sizeof address.sun_path)
      throw std::runtime_error("the endpoint's file name " + path + " is longer than the " +
                               std::to_string(sizeof address.sun_path - 1) +
                               " characters that a local socket allows; build in a folder with a "
                               "shorter name, or configure with another ZEROVA_ENDPOINT_DIR");
   std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
   return address;
}

sockaddr_in tcpAddress(const std::string& text, std::uint16_t port)
{
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_port = htons(port);
   if (::inet_pton(AF_INET, text.c_str(), &address.sin_addr) != 1 ||
       (ntohl(address.sin_addr.s_addr) >> 24) != 127)
      throw std::runtime_error("\"" + text + "\" is no loopback address such as 127.0.0.1");
   return address;
}

} // namespace zerova::test
