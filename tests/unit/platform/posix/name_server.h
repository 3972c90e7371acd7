// A name server for the names that a test looks up.
#ifndef TESTS_UNIT_PLATFORM_POSIX_NAME_SERVER_H
#define TESTS_UNIT_PLATFORM_POSIX_NAME_SERVER_H

#include <cstdint>
#include <thread>
#include <vector>

// While it lives, the calling thread's lookups of names that this machine does not know itself come
// here, and every name has these addresses, in this order. It listens on loopback.
class NameServer
{
public:
   // Addresses in host byte order.
   explicit NameServer(std::vector<uint32_t> addresses);
   ~NameServer();
   NameServer(const NameServer&) = delete;
   NameServer& operator=(const NameServer&) = delete;

private:
   void serve();

   const std::vector<uint32_t> addresses_;
   int socket_;
   std::thread thread_;
};

#endif
