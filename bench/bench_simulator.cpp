// What the simulator costs: the search for a way, against a plain walk of the same graph, and the service
// under a thousand clients, against one that answers without looking.
#include "APIv1.h"
#include "bench/canned_service.h"
#include "bench/report.h"
#include "bench/wire.h"
#include "tools/simulator/bench.h"
#include "tools/simulator/service.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

using apache::thrift::protocol::T_CALL;
using apache::thrift::protocol::T_REPLY;
using bench::exchangeRaw;
using bench::framed;
using bench::message;
using namespace zerova::simulator;

namespace {

constexpr char kHost[] = "127.83.11.10";
constexpr std::size_t kDevices = 200;
constexpr std::size_t kTerminals = 100;
constexpr std::size_t kRoutes = 2000;
constexpr std::size_t kLinesOfEachPair = 4;
constexpr std::size_t kThreads = 100;
constexpr std::size_t kSessions = 1000;

std::string nameOf(char what, std::size_t number)
{
   return what + std::to_string(number);
}

// A ring of devices: each has lines to the next.
Topology ring()
{
   Topology topology;
   for (std::size_t i = 0; i < kDevices; ++i) {
      Device device;
      device.name = nameOf('d', i);
      for (std::size_t j = 0; j < kTerminals; ++j)
         device.terminals.push_back(
            {nameOf('t', j), "trigger", j < kTerminals / 2, j >= kTerminals / 2, {}});
      topology.devices.push_back(std::move(device));
   }
   for (std::size_t i = 0; i < kDevices * kLinesOfEachPair; ++i) {
      const std::size_t first = i / kLinesOfEachPair;
      topology.lines.push_back({nameOf('l', i), "trigger", {first, (first + 1) % kDevices}, 1});
   }
   return topology;
}

// The same graph with every step written out.
class PlainWalk
{
public:
   explicit PlainWalk(const zerova::simulator::Bench& bench)
      : next_(bench.search().nodeCount())
      , seen_(next_.size())
   {
      const Topology& topology = bench.topology();
      for (std::size_t i = 0; i < topology.devices.size(); ++i) {
         std::vector<Node> ways;
         std::vector<Node> entries;
         for (std::size_t j = 0; j < topology.devices[i].terminals.size(); ++j) {
            const Node node = bench.search().nodeOf({i, j});
            (topology.devices[i].terminals[j].isSource ? entries : ways).push_back(node);
         }
         for (std::size_t j = 0; j < topology.lines.size(); ++j)
            if (std::ranges::count(topology.lines[j].devices, i) > 0) {
               entries.push_back(bench.search().nodeOfLine(j));
               ways.push_back(bench.search().nodeOfLine(j));
            }
         for (const Node entry : entries)
            next_[entry].insert(next_[entry].end(), ways.begin(), ways.end());
      }
   }

   bool reaches(Node from, Node to)
   {
      std::fill(seen_.begin(), seen_.end(), false);
      queue_.assign({from});
      seen_[from] = true;
      for (std::size_t i = 0; i < queue_.size(); ++i)
         for (const Node node : next_[queue_[i]]) {
            if (node == to) return true;
            if (seen_[node]) continue;
            seen_[node] = true;
            queue_.push_back(node);
         }
      return false;
   }

private:
   std::vector<std::vector<Node>> next_;
   std::vector<bool> seen_;
   std::vector<Node> queue_;
};

void require(bool isTrue)
{
   if (!isTrue) std::exit(1);
}

void measureSearch(bench::Report& report)
{
   zerova::simulator::Bench bench(ring());
   PlainWalk walk(bench);
   zerova::RouteAttributes reserved;
   reserved.__set_routeState(zerova::RouteState::RESERVED);
   const auto route = [&](std::size_t from, std::size_t to, std::size_t terminal) {
      return bench.calculateRoute(
         1, zerova::RouteLifetime::SESSION, "/" + nameOf('d', from) + "/" + nameOf('t', terminal),
         "/" + nameOf('d', to) + "/" + nameOf('t', terminal + kTerminals / 2), reserved);
   };
   // Nine inside each device, and one to its neighbour.
   for (std::size_t i = 0; i < kRoutes; ++i)
      route(i % kDevices, (i % kDevices + (i < kDevices ? 1 : 0)) % kDevices, i / kDevices);
   for (const std::size_t distance : {std::size_t{1}, std::size_t{10}, kDevices / 2}) {
      const std::string from = "/d0/" + nameOf('t', 40);
      const std::string to = "/" + nameOf('d', distance) + "/" + nameOf('t', 90);
      const Node source = bench.search().nodeOf({0, 40});
      const Node destination = bench.search().nodeOf({distance, 90});
      report.compare("a route through " + std::to_string(distance + 1) +
                        " of 200 devices of 100 terminals, 2,000 routes held",
                     bench::measureInTurns(
                        51, 20, bench::now,
                        [&] {
                           bench.destroyRoute(bench.calculateRoute(
                              1, zerova::RouteLifetime::SESSION, from, to, {}));
                        },
                        [&] { require(walk.reaches(source, destination)); }),
                     "us", bench::atMost(3));
   }
}

// The service in a process of its own, from its endpoints to its end.
class Served
{
public:
   explicit Served(const std::string& folder)
   {
      int ready[2];
      int life[2];
      require(::pipe(ready) == 0 && ::pipe(life) == 0);
      process_ = ::fork();
      if (process_ == 0) {
         ::close(life[1]);
         serve(folder, ready[1], life[0]);
      }
      ::close(life[0]);
      lifeline_ = life[1];
      char byte = 0;
      require(::read(ready[0], &byte, 1) == 1);
      ::close(ready[0]);
      ::close(ready[1]);
   }
   ~Served()
   {
      ::close(lifeline_);
      ::waitpid(process_, nullptr, 0);
   }
   Served(const Served&) = delete;
   Served& operator=(const Served&) = delete;

   double residentBytes() const
   {
      std::ifstream file("/proc/" + std::to_string(process_) + "/statm");
      double pages = 0;
      file >> pages >> pages;
      return pages * static_cast<double>(::sysconf(_SC_PAGESIZE));
   }

private:
   [[noreturn]] static void serve(const std::string& folder, int ready, int lifeline)
   {
      Topology topology;
      topology.devices.push_back(
         {"d", {}, {}, {{"from", "k", true, false, {}}, {"to", "k", false, true, {}}}, {}});
      zerova::simulator::Bench bench(topology);
      {
         Service service(bench, {.endpointDir = folder});
         service.watch(lifeline, [&] { service.stop(); });
         require(::write(ready, "r", 1) == 1);
         service.run();
      }
      ::_exit(0);
   }

   pid_t process_ = -1;
   int lifeline_ = -1; // the process ends when this closes
};

// Calls in a second of a thousand clients in a hundred threads that begin together.
double throughput(std::vector<bench::Connection>& connections, const std::string& request,
                  std::size_t calls)
{
   std::barrier together(kThreads + 1);
   std::vector<std::thread> threads;
   for (std::size_t t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
         std::vector<char> body;
         together.arrive_and_wait();
         for (std::size_t turn = 0; turn < calls; ++turn)
            for (std::size_t i = t; i < kSessions; i += kThreads)
               exchangeRaw(connections[i], request, body);
      });
   together.arrive_and_wait();
   const double start = bench::now();
   for (std::thread& thread : threads)
      thread.join();
   return static_cast<double>(kSessions * calls) / ((bench::now() - start) / 1e9);
}

std::vector<bench::Connection> connectAll(const std::string& folder)
{
   std::vector<bench::Connection> connections;
   for (std::size_t i = 0; i < kSessions; ++i)
      connections.push_back(bench::Connection::local(folder));
   return connections;
}

void measureLoad(bench::Report& report)
{
   constexpr std::size_t kRounds = 10;
   constexpr std::size_t kCallsOfEach = 1000;
   const std::string ours = ZEROVA_ENDPOINT_DIR "/simulator";
   const std::string plain = ZEROVA_ENDPOINT_DIR "/plain";
   zerova::APIv1_areTerminalURIsEqual_args arguments;
   arguments.uri1 = "/d/from";
   arguments.uri2 = "/D/from/";
   zerova::APIv1_areTerminalURIsEqual_result result;
   result.success = true;
   result.__isset.success = true;
   const std::string request = framed(message("areTerminalURIsEqual", T_CALL, arguments));
   const Served served(ours);
   const bench::CannedService canned(
      plain, kHost, {{"areTerminalURIsEqual", message("areTerminalURIsEqual", T_REPLY, result)}},
      -1);
   const double before = served.residentBytes();
   std::vector<bench::Connection> toServed = connectAll(ours);
   std::vector<bench::Connection> toCanned = connectAll(plain);
   throughput(toServed, request, 1);
   throughput(toCanned, request, 1);
   report.figure("resident memory of each of 1,000 sessions of the simulator",
                 (served.residentBytes() - before) / kSessions, "bytes", bench::atMost(4096));
   bench::Pairs pairs;
   for (std::size_t round = 0; round < kRounds; ++round) {
      pairs.ours.push_back(throughput(toServed, request, kCallsOfEach / kRounds));
      pairs.reference.push_back(throughput(toCanned, request, kCallsOfEach / kRounds));
   }
   report.compare("1,000 sessions of the simulator, 1,000 calls each", pairs, "1/s",
                  bench::atLeast(0.8));
   report.figure("resident memory of each of them after its calls",
                 (served.residentBytes() - before) / kSessions, "bytes", bench::noGoal());
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_simulator", argc, argv);
   measureSearch(report);
   measureLoad(report);
   return report.finish();
}
