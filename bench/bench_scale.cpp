// How the library bears size: a thousand sessions at work at once, the largest reply that there can
// be, and devices of up to a hundred thousand terminals.
#include "bench/canned_service.h"
#include "bench/exports.h"
#include "bench/machine.h"
#include "bench/report.h"
#include "bench/wire.h"
#include "transport/client_session.h"
#include "zerovaapi.h"

#include <malloc.h>

#include <algorithm>
#include <barrier>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using apache::thrift::protocol::T_CALL;
using apache::thrift::protocol::T_REPLY;
using bench::exchangeRaw;
using bench::framed;
using bench::message;
using bench::requireSuccess;

namespace {

constexpr char kHost[] = "127.83.11.9";
constexpr int kAnyCore = -1;
constexpr int kClientCore = 0;
constexpr int kServiceCore = 1;
constexpr int kTicket = 77;
constexpr size_t kThreads = 100;
constexpr size_t kSessions = 1000;
constexpr size_t kCallsOfEach = 1000;
constexpr size_t kRounds = 10;
constexpr size_t kLargestFrame = 16'384'000;

bench::Replies withVersion(bench::Replies replies)
{
   replies["version"] = message("version", T_REPLY, zerova::APIv1_version_result());
   return replies;
}

size_t bytesInUse()
{
   return bench::heapBytes().value();
}

// Runs call(n) for each n below kSessions, in kThreads threads that begin together, each thread
// turning through its own ones. Returns calls in a second.
double throughput(const std::function<void(size_t)>& call)
{
   constexpr size_t kOfEachThread = kSessions / kThreads;
   constexpr size_t kTurns = kCallsOfEach / kRounds;
   std::barrier together(kThreads + 1);
   std::vector<std::thread> threads;
   for (size_t t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
         together.arrive_and_wait();
         for (size_t turn = 0; turn < kTurns; ++turn)
            for (size_t i = 0; i < kOfEachThread; ++i)
               call(t * kOfEachThread + i);
      });
   together.arrive_and_wait();
   const double start = bench::now();
   for (std::thread& thread : threads)
      thread.join();
   return static_cast<double>(kSessions * kTurns) / ((bench::now() - start) / 1e9);
}

void measureManySessions(bench::Report& report)
{
   const bench::CannedService service(
      ZEROVA_ENDPOINT_DIR, kHost,
      withVersion(
         {{"reserveRoute", message("reserveRoute", T_REPLY, zerova::APIv1_reserveRoute_result())}}),
      kAnyCore);
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const auto createSession = EXPORT(zerovaapi_createSession);
   const auto destroySession = EXPORT(zerovaapi_destroySession);
   const auto reserveRoute = EXPORT(zerovaapi_reserveRoute);
   destroySession(createSession(&status)); // what is made once for the process

   std::vector<zerovaapi_Session> sessions(kSessions);
   const size_t before = bytesInUse();
   for (zerovaapi_Session& session : sessions)
      session = createSession(&status);
   requireSuccess(status);
   report.figure("heap of each of 1,000 fresh sessions",
                 static_cast<double>(bytesInUse() - before) / kSessions, "bytes",
                 bench::atMost(16384));

   std::vector<bench::Connection> connections;
   for (size_t i = 0; i < kSessions; ++i)
      connections.push_back(bench::Connection::local(ZEROVA_ENDPOINT_DIR));
   std::vector<std::vector<char>> bodies(kSessions);
   std::vector<quelerr_Status> statuses(kSessions, status);
   zerova::APIv1_reserveRoute_args arguments;
   arguments.ticket = kTicket;
   const std::string request = framed(message("reserveRoute", T_CALL, arguments));
   std::vector<double> ours;
   std::vector<double> raw;
   for (size_t round = 0; round < kRounds; ++round) {
      const auto callOurs = [&] {
         ours.push_back(
            throughput([&](size_t n) { reserveRoute(sessions[n], kTicket, &statuses[n]); }));
      };
      const auto callRaw = [&] {
         raw.push_back(
            throughput([&](size_t n) { exchangeRaw(connections[n], request, bodies[n]); }));
      };
      if (round % 2 == 0) callOurs();
      callRaw();
      if (round % 2 != 0) callOurs();
   }
   for (const quelerr_Status& each : statuses)
      requireSuccess(each);
   report.compare("1,000 sessions in 100 threads, 1,000 calls each", {ours, raw}, "1/s",
                  bench::atLeast(0.98));
   report.figure("heap of each of them after its calls",
                 static_cast<double>(bytesInUse() - before) / kSessions, "bytes", bench::noGoal());
   for (const zerovaapi_Session session : sessions)
      destroySession(session);
}

// The most memory that the process has held at once since the last call, in bytes.
class PeakMemory
{
public:
   PeakMemory()
   {
      std::ofstream("/proc/self/clear_refs") << 5; // forgets the peak so far
      start_ = read();
   }
   double grown() const { return read() - start_; }

private:
   static double read()
   {
      std::ifstream file("/proc/self/status");
      for (std::string word; file >> word;)
         if (word == "VmHWM:") {
            double kilobytes = 0;
            file >> kilobytes;
            return kilobytes * 1024;
         }
      return 0;
   }
   double start_;
};

// Medians in milliseconds, the two taking turns.
std::pair<double, double> medians(int rounds, const std::function<void()>& ours,
                                  const std::function<void()>& reference)
{
   std::vector<double> samples[2];
   for (int round = -1; round < rounds; ++round) // the first warms up
      for (const int side : {0, 1}) {
         const double start = bench::now();
         (side == 0 ? ours : reference)();
         if (round >= 0) samples[side].push_back((bench::now() - start) / 1e6);
      }
   return {bench::median(samples[0]), bench::median(samples[1])};
}

// A reply to getRoutableDevices that fills the largest frame with count texts.
std::string largestReply(size_t count)
{
   zerova::APIv1_getRoutableDevices_result devices;
   devices.__isset.success = true;
   devices.success.resize(count);
   const size_t around = message("getRoutableDevices", T_REPLY, devices).size();
   const size_t letters = kLargestFrame - around;
   for (std::string& name : devices.success)
      name.assign(letters / count, 'd');
   devices.success.back().append(letters % count, 'd');
   return message("getRoutableDevices", T_REPLY, devices);
}

void measureLargestReply(bench::Report& report, size_t count, const std::string& what)
{
   const bench::CannedService service(ZEROVA_ENDPOINT_DIR, kHost,
                                      withVersion({{"getRoutableDevices", largestReply(count)}}),
                                      kServiceCore);
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const zerovaapi_Session session = EXPORT(zerovaapi_createSession)(&status);
   const auto getDevices = EXPORT(zerovaapi_getRoutableDevices);
   const auto destroyArray = EXPORT(zerovaapi_destroyStringArray);
   bench::Connection connection = bench::Connection::local(ZEROVA_ENDPOINT_DIR);
   const std::string request =
      framed(message("getRoutableDevices", T_CALL, zerova::APIv1_getRoutableDevices_args()));
   malloc_trim(0); // what making the reply has left
   const PeakMemory peak;
   destroyArray(getDevices(session, &status));
   const double grown = peak.grown();
   std::vector<char> body;
   const auto [ours, raw] = medians(
      15, [&] { destroyArray(getDevices(session, &status)); },
      [&] { exchangeRaw(connection, request, body); });
   requireSuccess(status);
   report.compare(what + ": exported/raw", ours, raw, "ms", bench::noGoal());
   report.compare(what + ": peak memory/reply", grown / 1e6, kLargestFrame / 1e6, "MB",
                  bench::noGoal());
   EXPORT(zerovaapi_destroySession)(session);
   malloc_trim(0);
}

std::string terminalReply(int count)
{
   zerova::APIv1_getTerminalNamesAndAttributesForDevice_result terminals;
   terminals.__isset.success = true;
   terminals.success.resize(static_cast<size_t>(count));
   int number = 0;
   for (auto& terminal : terminals.success) {
      terminal["Name"].__set_attr_type(zerova::AttrType::STRING);
      terminal["Name"].__set_str_attr("/m1/c" + std::to_string(100000 + number++));
      terminal["IsSource"].__set_attr_type(zerova::AttrType::BOOL);
      terminal["IsSource"].__set_bool_attr(true);
   }
   return message("getTerminalNamesAndAttributesForDevice", T_REPLY, terminals);
}

struct PerTerminal
{
   double microseconds;
   double bytes;
};

PerTerminal measureTerminals(int count)
{
   const bench::CannedService service(
      ZEROVA_ENDPOINT_DIR, kHost,
      withVersion({{"getTerminalNamesAndAttributesForDevice", terminalReply(count)}}),
      kServiceCore);
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const zerovaapi_Session session = EXPORT(zerovaapi_createSession)(&status);
   const auto get = EXPORT(zerovaapi_getTerminalNamesAndAttributesForDevice);
   const auto destroy = EXPORT(zerovaapi_TerminalContainer_destroy);
   const size_t before = bytesInUse();
   const zerovaapi_TerminalContainer terminals = get(session, "m1", nullptr, &status);
   const size_t held = bytesInUse() - before;
   destroy(terminals);
   // The first rounds meet memory that is still shared with the service's process, and have it copied.
   constexpr int kFewestRounds = 41;
   std::vector<double> samples;
   for (int round = 0; round < std::max(kFewestRounds, 200'000 / count); ++round) {
      const double start = bench::now();
      destroy(get(session, "m1", nullptr, &status));
      samples.push_back((bench::now() - start) / 1000);
   }
   requireSuccess(status);
   EXPORT(zerovaapi_destroySession)(session);
   malloc_trim(0);
   return {bench::median(samples) / count, static_cast<double>(held) / count};
}

void measureGrowth(bench::Report& report)
{
   // A straight line costs as much for each terminal of a large device as of a small one. In time a
   // thousand are told without a goal: they fit into a core's own cache, which more do not.
   const bench::Goal straight = bench::atMost(1.25);
   const PerTerminal small = measureTerminals(1000);
   const PerTerminal middle = measureTerminals(10'000);
   const PerTerminal large = measureTerminals(100'000);
   report.compare("time for each terminal, 10,000/1,000", middle.microseconds, small.microseconds,
                  "us", bench::noGoal());
   report.compare("time for each terminal, 100,000/10,000", large.microseconds, middle.microseconds,
                  "us", straight);
   report.compare("memory for each terminal, 10,000/1,000", middle.bytes, small.bytes, "bytes",
                  straight);
   report.compare("memory for each terminal, 100,000/1,000", large.bytes, small.bytes, "bytes",
                  straight);
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_scale", argc, argv);
   measureManySessions(report);
   bench::pinToCore(kClientCore);
   measureLargestReply(report, 1, "reply of 16,384,000 bytes, one text");
   measureLargestReply(report, 100'000, "reply of 16,384,000 bytes, 100,000 texts");
   bench::keepFreedMemory();
   measureGrowth(report);
   return report.finish();
}
