#include "unit/platform/posix/name_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <nss.h>
#include <resolv.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr size_t kHeaderBytes = 12;

// The question of a query: a name as labels up to an empty one, a type and a class. Empty if there
// is none.
std::string questionOf(const std::string& query)
{
   size_t end = kHeaderBytes;
   while (end < query.size() && query[end] != 0)
      end += static_cast<unsigned char>(query[end]) + size_t{1};
   end += 5;
   return end <= query.size() ? query.substr(kHeaderBytes, end - kHeaderBytes) : "";
}

void put16(std::string& message, size_t number)
{
   message += {static_cast<char>(number >> 8), static_cast<char>(number)};
}

std::string answerTo(const std::string& query, const std::vector<uint32_t>& addresses)
{
   std::string answer = query.substr(0, 2); // its number
   put16(answer, 0x8180);                   // an answer without a failure
   put16(answer, 1);
   put16(answer, addresses.size());
   put16(answer, 0);
   put16(answer, 0);
   answer += questionOf(query);
   for (const uint32_t address : addresses) {
      put16(answer, 0xC000 | kHeaderBytes); // the name asked for
      put16(answer, 1);                     // an IPv4 address
      put16(answer, 1);                     // of the Internet
      put16(answer, 0);
      put16(answer, 60); // for as many seconds
      put16(answer, 4);
      put16(answer, address >> 16);
      put16(answer, address & 0xFFFF);
   }
   return answer;
}

} // namespace

NameServer::NameServer(std::vector<uint32_t> addresses)
   : addresses_(std::move(addresses))
   , socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
{
   sockaddr_in own{};
   own.sin_family = AF_INET;
   own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   socklen_t size = sizeof own;
   auto* const generic = reinterpret_cast<sockaddr*>(&own);
   if (bind(socket_, generic, size) != 0 || getsockname(socket_, generic, &size) != 0)
      throw std::runtime_error("cannot bind the name server");
   thread_ = std::thread([this] { serve(); });
   __nss_configure_lookup("hosts", "files dns");
   res_init();
   _res.nscount = 1;
   _res.nsaddr_list[0] = own;
}

NameServer::~NameServer()
{
   shutdown(socket_, SHUT_RDWR); // ends the wait, though it tells of a failure
   thread_.join();
   close(socket_);
   res_init();
}

void NameServer::serve()
{
   for (;;) {
      char room[1500];
      sockaddr_in asker{};
      socklen_t size = sizeof asker;
      auto* const generic = reinterpret_cast<sockaddr*>(&asker);
      const ssize_t count = recvfrom(socket_, room, sizeof room, 0, generic, &size);
      if (count <= 0) return;
      const std::string answer =
         answerTo(std::string(room, static_cast<size_t>(count)), addresses_);
      sendto(socket_, answer.data(), answer.size(), MSG_NOSIGNAL, generic, size);
   }
}
