// What it is worth, and what it costs, that a call stays awake for an answer that comes soon: against
// an exchange of the same bytes that sleeps, and against the same stack of classes on a transport
// that cannot be asked whether something has come, where a call always sleeps.
#include "bench/canned_service.h"
#include "bench/exports.h"
#include "bench/machine.h"
#include "bench/report.h"
#include "bench/wire.h"
#include "transport/client_session.h"
#include "transport/pipe_transport.h"
#include "zerovaapi.h"

#include <thrift/transport/TSocket.h>
#include <thrift/transport/TVirtualTransport.h>

#include <barrier>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using apache::thrift::protocol::T_CALL;
using apache::thrift::protocol::T_REPLY;
using apache::thrift::transport::TPipe;
using apache::thrift::transport::TSocket;
using apache::thrift::transport::TTransport;
using bench::framed;
using bench::message;

constexpr char kHost[] = "127.83.11.13";
constexpr int kClientCore = 0;
constexpr int kOtherCore = 1;
constexpr int kAnyCore = -1;
constexpr int kTicket = 77;

class SleptForPipe : public apache::thrift::transport::TVirtualTransport<SleptForPipe>
{
public:
   bool isOpen() const override { return pipe_.isOpen(); }
   void open() override { pipe_.open(); }
   void close() override { pipe_.close(); }
   uint32_t read(uint8_t* bytes, uint32_t length) { return pipe_.read(bytes, length); }
   void write(const uint8_t* bytes, uint32_t length) { pipe_.write(bytes, length); }

private:
   TPipe pipe_{"com.zerova"};
};

// One of the two ends of a service.
struct Endpoint
{
   std::string name;
   std::string host; // empty: the local one
   int port;

   std::unique_ptr<zerova::ClientSession> session() const
   {
      return zerova::openClientSession(host.empty() ? "com.zerova" : "Trevanta/Zerova", host);
   }

   std::unique_ptr<zerova::ClientSession> sleepingSession() const
   {
      std::shared_ptr<TTransport> transport;
      if (host.empty())
         transport = std::make_shared<SleptForPipe>();
      else
         transport = std::make_shared<TSocket>(host, port);
      transport->open();
      return zerova::makeClientSession(transport);
   }

   bench::Connection connection() const
   {
      return host.empty() ? bench::Connection::local(ZEROVA_ENDPOINT_DIR)
                          : bench::Connection::tcp(host, port);
   }
};

std::vector<Endpoint> endpointsOf(const bench::CannedService& service)
{
   return {{"local", "", 0}, {"TCP", kHost, service.port()}};
}

bench::Replies replies()
{
   return {
      {"version", message("version", T_REPLY, zerova::APIv1_version_result())},
      {"reserveRoute", message("reserveRoute", T_REPLY, zerova::APIv1_reserveRoute_result())},
   };
}

std::string request()
{
   zerova::APIv1_reserveRoute_args arguments;
   arguments.ticket = kTicket;
   return framed(message("reserveRoute", T_CALL, arguments));
}

// A session's wait with the time that it takes and the time of the processor that it takes.
void compareWithSleep(bench::Report& report, const Endpoint& endpoint, const std::string& what,
                      int rounds, int calls, bench::Goal time, bench::Goal processorTime)
{
   const auto session = endpoint.session();
   const auto sleeping = endpoint.sleepingSession();
   const auto ours = [&] { session->client.reserveRoute(kTicket); };
   const auto slept = [&] { sleeping->client.reserveRoute(kTicket); };
   const std::string name = endpoint.name + ", " + what;
   report.compare(name + ": call/call that sleeps",
                  bench::measureMiddlesInTurns(rounds, calls, ours, slept), "us", time);
   report.compare(name + ": its processor time",
                  bench::measureInTurns(rounds, calls, bench::processorTime, ours, slept), "us",
                  processorTime);
}

void measureSmallCall(bench::Report& report, const Endpoint& endpoint)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const zerovaapi_Session session =
      endpoint.host.empty() ? EXPORT(zerovaapi_createSession)(&status)
                            : EXPORT(zerovaapi_createRemoteSession)(endpoint.host.c_str(), &status);
   bench::requireSuccess(status);
   const auto reserveRoute = EXPORT(zerovaapi_reserveRoute);
   bench::Connection connection = endpoint.connection();
   const std::string bytes = request();
   std::vector<char> body;
   report.compare(endpoint.name + ", two cores, small call: exported/raw that sleeps",
                  bench::measureMiddlesInTurns(
                     100, 300, [&] { reserveRoute(session, kTicket, &status); },
                     [&] { bench::exchangeRaw(connection, bytes, body); }),
                  "us", bench::atMost(0.7));
   bench::requireSuccess(status);
   EXPORT(zerovaapi_destroySession)(session);
}

// Microseconds of a call, when each of many threads calls on a session of its own.
double busyCall(std::vector<std::unique_ptr<zerova::ClientSession>>& sessions, int calls)
{
   std::barrier together(static_cast<std::ptrdiff_t>(sessions.size() + 1));
   std::vector<std::thread> threads;
   for (const auto& session : sessions)
      threads.emplace_back([&] {
         together.arrive_and_wait();
         for (int i = 0; i < calls; ++i)
            session->client.reserveRoute(kTicket);
      });
   together.arrive_and_wait();
   const double start = bench::now();
   for (std::thread& thread : threads)
      thread.join();
   return (bench::now() - start) / 1000 / calls;
}

// More threads that want to run than there are cores.
void measureManyThreads(bench::Report& report, const Endpoint& endpoint, size_t count)
{
   constexpr int kRounds = 20;
   constexpr int kCalls = 1000;
   std::vector<std::unique_ptr<zerova::ClientSession>> ours;
   std::vector<std::unique_ptr<zerova::ClientSession>> sleeping;
   for (size_t i = 0; i < count; ++i) {
      ours.push_back(endpoint.session());
      sleeping.push_back(endpoint.sleepingSession());
   }
   const auto pairs = bench::takeInTurns(
      kRounds, [](const auto& callAll) { return callAll(); },
      [&] { return busyCall(ours, kCalls); }, [&] { return busyCall(sleeping, kCalls); });
   report.compare(endpoint.name + ", any core, " + std::to_string(count) +
                     " threads: call/call that sleeps",
                  pairs, "us", bench::atMost(1.02));
}

void measureThreads(bench::Report& report)
{
   const bench::CannedService service(ZEROVA_ENDPOINT_DIR, kHost, replies(), kAnyCore);
   for (const Endpoint& endpoint : endpointsOf(service))
      for (const size_t threads : {2u, 8u, 32u})
         measureManyThreads(report, endpoint, threads);
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_latency", argc, argv);
   measureThreads(report);
   bench::pinToCore(kClientCore);
   {
      const bench::CannedService service(ZEROVA_ENDPOINT_DIR, kHost, replies(), kOtherCore);
      for (const Endpoint& endpoint : endpointsOf(service)) {
         measureSmallCall(report, endpoint);
         compareWithSleep(report, endpoint, "two cores", 100, 300, bench::noGoal(),
                          bench::noGoal());
      }
   }
   {
      const bench::CannedService service(ZEROVA_ENDPOINT_DIR, kHost, replies(), kClientCore);
      for (const Endpoint& endpoint : endpointsOf(service))
         compareWithSleep(report, endpoint, "one core", 100, 300, bench::atMost(1.02),
                          bench::atMost(1.02));
   }
   {
      const bench::CannedService service(ZEROVA_ENDPOINT_DIR, kHost, replies(), kOtherCore,
                                         std::chrono::microseconds(1500));
      for (const Endpoint& endpoint : endpointsOf(service))
         compareWithSleep(report, endpoint, "answer after 1.5 ms", 200, 5, bench::atMost(1.02),
                          bench::atMost(1.02));
   }
   return report.finish();
}
