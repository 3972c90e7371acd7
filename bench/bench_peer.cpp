// A call beside that of another client library: hiredis, whose PING is as small a call as there is,
// over a Unix socket. Either service answers a request that it receives in two parts with bytes made
// beforehand.
#include "APIv1.h"
#include "bench/canned_service.h"
#include "bench/exports.h"
#include "bench/machine.h"
#include "bench/report.h"
#include "bench/wire.h"
#include "zerovaapi.h"

#include <hiredis/hiredis.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char kHost[] = "127.83.11.17";
constexpr int kClientCore = 0;
constexpr int kTicket = 77;

[[noreturn]] void fail(const char* what)
{
   std::perror(what);
   std::exit(1);
}

// Answers each PING of one client, in a process of its own.
class PongService
{
public:
   PongService(const std::string& path, int core)
      : path_(path)
   {
      sockaddr_un address{};
      address.sun_family = AF_UNIX;
      if (path.size() >= sizeof address.sun_path) fail("endpoint name too long");
      std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
      const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
      if (listener < 0 ||
          bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
          listen(listener, 1) != 0)
         fail(path.c_str());
      process_ = fork();
      if (process_ < 0) fail("fork");
      if (process_ == 0) {
         bench::pinToCore(core);
         serve(accept(listener, nullptr, nullptr));
      }
      close(listener);
   }
   ~PongService()
   {
      waitpid(process_, nullptr, 0); // ends with the connection
      unlink(path_.c_str());
   }
   PongService(const PongService&) = delete;
   PongService& operator=(const PongService&) = delete;

private:
   [[noreturn]] static void serve(int connection)
   {
      constexpr size_t kCount = 4; // "*1", which says how much follows
      constexpr size_t kRest = 10;
      constexpr char kPong[] = {'+', 'P', 'O', 'N', 'G', '\r', '\n'};
      char request[kRest];
      while (recv(connection, request, kCount, MSG_WAITALL) == kCount &&
             recv(connection, request, kRest, MSG_WAITALL) == kRest &&
             send(connection, kPong, sizeof kPong, MSG_NOSIGNAL) == sizeof kPong)
      {
      }
      _exit(0);
   }

   std::string path_;
   pid_t process_ = -1;
};

void ping(redisContext* context)
{
   void* const reply = redisCommand(context, "PING");
   if (!reply) {
      std::fprintf(stderr, "PING failed: %s\n", context->errstr);
      std::exit(1);
   }
   freeReplyObject(reply);
}

void measure(bench::Report& report, int serviceCore, bench::Goal time)
{
   using apache::thrift::protocol::T_REPLY;
   const bench::CannedService service(
      ZEROVA_ENDPOINT_DIR, kHost,
      {{"version", bench::message("version", T_REPLY, zerova::APIv1_version_result())},
       {"reserveRoute",
        bench::message("reserveRoute", T_REPLY, zerova::APIv1_reserveRoute_result())}},
      serviceCore);
   const std::string pongPath = std::string(ZEROVA_ENDPOINT_DIR) + "/pong";
   const PongService pong(pongPath, serviceCore);
   redisContext* const context = redisConnectUnix(pongPath.c_str());
   if (!context || context->err) fail("connecting to the service of the other library");
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const zerovaapi_Session session = EXPORT(zerovaapi_createSession)(&status);
   const auto reserveRoute = EXPORT(zerovaapi_reserveRoute);
   const auto ours = [&] { reserveRoute(session, kTicket, &status); };
   const auto theirs = [&] { ping(context); };
   const std::string what = std::string("local, ") +
                            (serviceCore == kClientCore ? "one core" : "two cores") +
                            ", small call/hiredis PING";
   report.compare(what, bench::measureMiddlesInTurns(200, 300, ours, theirs), "us", time);
   report.compare(what + ", processor time",
                  bench::measureInTurns(200, 300, bench::processorTime, ours, theirs), "us",
                  bench::noGoal());
   bench::requireSuccess(status);
   EXPORT(zerovaapi_destroySession)(session);
   redisFree(context);
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_peer", argc, argv);
   bench::pinToCore(kClientCore);
   measure(report, kClientCore, bench::atMost(1.03));
   measure(report, 1, bench::atMost(0.7));
   return report.finish();
}
