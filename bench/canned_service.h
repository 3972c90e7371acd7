// A service that answers each call with bytes made beforehand, so that what is measured is the
// client.
//
// It runs in a process of its own, on a core of its own or on the client's, and serves the local
// endpoint, a TCP address and that address's locator until the object is destroyed.
#ifndef BENCH_CANNED_SERVICE_H
#define BENCH_CANNED_SERVICE_H

#include <map>
#include <string>

#include <sys/types.h>

namespace bench {

// The body of a frame, without its length.
using Replies = std::map<std::string, std::string>; // by method name

class CannedService
{
public:
   // host is the loopback address of the TCP side; a core below 0 is any. Ends the program when an
   // endpoint is taken.
   CannedService(const std::string& endpointFolder, const std::string& host, const Replies& replies,
                 int core);
   CannedService(const CannedService&) = delete;
   CannedService& operator=(const CannedService&) = delete;
   ~CannedService();

   int port() const { return port_; }

private:
   std::string endpoint_;
   int port_ = 0;
   pid_t process_ = -1;
   int lifeline_ = -1; // the process ends when this closes
};

// Connected sockets for exchanging bytes without any of our code.
int connectLocal(const std::string& endpointFolder);
int connectTcp(const std::string& host, int port);

void pinToCore(int core);

} // namespace bench

#endif
