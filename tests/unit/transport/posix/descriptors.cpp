#include "unit/transport/descriptors.h"

#include "support/open_descriptors.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace descriptors {
namespace {

int numberOf(Descriptor descriptor)
{
   return static_cast<int>(descriptor);
}

template <typename Value>
Value option(Descriptor socket, int level, int name)
{
   Value value{};
   socklen_t size = sizeof value;
   if (getsockopt(numberOf(socket), level, name, &value, &size) != 0)
      throw std::runtime_error("an option of a socket cannot be read");
   return value;
}

} // namespace

size_t countOpen()
{
   return openDescriptors();
}

bool isOpen(Descriptor descriptor)
{
   return fcntl(numberOf(descriptor), F_GETFD) >= 0;
}

bool isKeptFromChildren(Descriptor descriptor)
{
   const int flags = fcntl(numberOf(descriptor), F_GETFD);
   return flags >= 0 && (flags & FD_CLOEXEC) != 0;
}

bool isNonBlocking(Descriptor socket)
{
   const int flags = fcntl(numberOf(socket), F_GETFL);
   return flags >= 0 && (flags & O_NONBLOCK) != 0;
}

bool hasNoDelay(Descriptor socket)
{
   return option<int>(socket, IPPROTO_TCP, TCP_NODELAY) != 0;
}

int lingerSeconds(Descriptor socket)
{
   const auto onClose = option<linger>(socket, SOL_SOCKET, SO_LINGER);
   return onClose.l_onoff ? onClose.l_linger : -1;
}

bool hasRefusalPending(Descriptor socket)
{
   return option<int>(socket, SOL_SOCKET, SO_ERROR) == ECONNREFUSED;
}

uint32_t serverOf(Descriptor pipe)
{
   return static_cast<uint32_t>(option<ucred>(pipe, SOL_SOCKET, SO_PEERCRED).pid);
}

void sendUrgentByte(Descriptor socket)
{
   if (send(numberOf(socket), "!", 1, MSG_OOB | MSG_NOSIGNAL) != 1)
      throw std::runtime_error("urgent data cannot be sent");
}

void makeWakeSocketReady(Descriptor socket)
{
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   socklen_t size = sizeof address;
   auto* const generic = reinterpret_cast<sockaddr*>(&address);
   const int sender = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
   const bool isSent = bind(numberOf(socket), generic, size) == 0 &&
                       getsockname(numberOf(socket), generic, &size) == 0 &&
                       sendto(sender, "x", 1, 0, generic, size) == 1;
   close(sender);
   if (!isSent) throw std::runtime_error("the wake socket cannot be sent to");
}

LowOnesTaken::LowOnesTaken()
{
   rlimit limit{};
   getrlimit(RLIMIT_NOFILE, &limit);
   if (limit.rlim_max < 1200) throw std::runtime_error("raise the hard limit of open files");
   usualLimit_ = limit.rlim_cur;
   limit.rlim_cur = limit.rlim_max;
   setrlimit(RLIMIT_NOFILE, &limit);
   while (taken_.empty() || taken_.back() < 1024) {
      taken_.push_back(fcntl(0, F_DUPFD_CLOEXEC, 0));
      if (taken_.back() < 0) throw std::runtime_error("no more descriptors can be opened");
   }
}

LowOnesTaken::~LowOnesTaken()
{
   for (const Descriptor descriptor : taken_)
      close(numberOf(descriptor));
   rlimit limit{};
   getrlimit(RLIMIT_NOFILE, &limit);
   limit.rlim_cur = usualLimit_;
   setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace descriptors
