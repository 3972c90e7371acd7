// A service that answers each call with bytes made beforehand, so that what is measured is the
// client.
//
// It serves the local endpoint, a TCP address and that address's locator until the object is
// destroyed, on a core of its own or on the client's: in a process of its own where the system can
// copy one, in threads of the client's otherwise.
#ifndef BENCH_CANNED_SERVICE_H
#define BENCH_CANNED_SERVICE_H

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace bench {

// The body of a frame, without its length.
using Replies = std::map<std::string, std::string>; // by method name

class CannedService
{
public:
   // host is the loopback address of the TCP side; a core below 0 is any; work is what each answer
   // takes, asleep. Ends the program when an endpoint is taken.
   CannedService(const std::string& endpointFolder, const std::string& host, const Replies& replies,
                 int core, std::chrono::microseconds work = {});
   CannedService(const CannedService&) = delete;
   CannedService& operator=(const CannedService&) = delete;
   ~CannedService();

   int port() const;

private:
   class Endpoints;
   std::unique_ptr<Endpoints> endpoints_;
};

// For exchanging bytes without any of our code. Ends the program when it breaks.
class Connection
{
public:
   static Connection local(const std::string& endpointFolder);
   static Connection tcp(const std::string& host, int port);
   Connection(Connection&&) noexcept;
   Connection& operator=(Connection&&) = delete;
   ~Connection();

   void send(const std::string& bytes);
   void receive(char* bytes, size_t count);

private:
   class End;
   explicit Connection(std::unique_ptr<End> end);
   std::unique_ptr<End> end_;
};

} // namespace bench

#endif
