// What an exported call costs over the generated stub, and over a bare exchange of the same bytes.
//
// (a) plain send and recv of the same bytes: the length, then the body
// (b) the generated stub on the library's own transport stack
// (c) the exported function of the built shared library
#include "bench/canned_service.h"
#include "bench/exports.h"
#include "bench/machine.h"
#include "bench/report.h"
#include "bench/wire.h"
#include "transport/client_session.h"
#include "zerovaapi.h"

#include <functional>
#include <iterator>
#include <string>
#include <vector>

namespace {

using bench::exchangeRaw;
using bench::framed;
using bench::message;
using bench::requireSuccess;

constexpr int kClientCore = 0;
constexpr char kHost[] = "127.83.11.7";
constexpr int kTicket = 77;
constexpr int kTerminals = 1000;
constexpr int kAttributes = 10;
constexpr int kMapEntries = 10;

std::vector<std::map<std::string, zerova::Attribute>> manyTerminals()
{
   std::vector<std::map<std::string, zerova::Attribute>> terminals(kTerminals);
   for (int t = 0; t < kTerminals; ++t)
      for (int a = 0; a < kAttributes; ++a) {
         zerova::Attribute& attribute =
            terminals[static_cast<size_t>(t)]["attribute" + std::to_string(a)];
         attribute.__set_attr_type(zerova::AttrType::STRING);
         attribute.__set_str_attr("/matrix1/ch" + std::to_string(t));
      }
   return terminals;
}

bench::Replies replies()
{
   zerova::APIv1_calculateRoute_result ticket;
   ticket.success = kTicket;
   ticket.__isset.success = true;
   zerova::APIv1_getTerminalNamesAndAttributesForDevice_result terminals;
   terminals.success = manyTerminals();
   terminals.__isset.success = true;
   const auto type = apache::thrift::protocol::T_REPLY;
   return {
      {"version", message("version", type, zerova::APIv1_version_result())},
      {"reserveRoute", message("reserveRoute", type, zerova::APIv1_reserveRoute_result())},
      {"calculateRoute", message("calculateRoute", type, ticket)},
      {"getTerminalNamesAndAttributesForDevice",
       message("getTerminalNamesAndAttributesForDevice", type, terminals)},
   };
}

// Microseconds of a call: the median of each block, in the order of the blocks.
struct Race
{
   std::vector<double> raw;
   std::vector<double> stub;
   std::vector<double> exported;
};

double medianCall(const std::function<void()>& call, int calls)
{
   std::vector<double> samples;
   for (int i = 0; i < calls; ++i) {
      const double start = bench::now();
      call();
      samples.push_back((bench::now() - start) / 1000);
   }
   return bench::median(std::move(samples));
}

// The three take turns in short blocks so that all see the same machine.
Race race(const std::function<void()>& raw, const std::function<void()>& stub,
          const std::function<void()>& exported, int blocks, int callsPerBlock)
{
   struct Contender
   {
      const std::function<void()>& call;
      std::vector<double> Race::*samples;
   };
   const Contender contenders[] = {
      {raw, &Race::raw}, {stub, &Race::stub}, {exported, &Race::exported}};
   Race race;
   for (int block = -2; block < blocks; ++block) // the first two warm up
      for (size_t turn = 0; turn < std::size(contenders); ++turn) {
         // Each goes first in its turn: what one leaves in the heap and the caches, the next one
         // meets.
         const Contender& contender =
            contenders[(turn + static_cast<size_t>(block + 2)) % std::size(contenders)];
         const double sample = medianCall(contender.call, callsPerBlock);
         if (block >= 0) (race.*contender.samples).push_back(sample);
      }
   return race;
}

void reportRace(bench::Report& report, const std::string& what, const Race& race,
                bench::Goal againstStub, bench::Goal againstRaw)
{
   report.compare(what + ": exported/stub", {race.exported, race.stub}, "us", againstStub);
   report.compare(what + ": exported/raw", {race.exported, race.raw}, "us", againstRaw);
}

void fill(zerovaapi_RouteAttributes attributes, quelerr_Status* status)
{
   const auto setString = EXPORT(zerovaapi_RouteConstraints_setStringConstraint);
   const zerovaapi_AttributeMap maps[] = {
      EXPORT(zerovaapi_RouteAttributes_getConstraints)(attributes),
      EXPORT(zerovaapi_RouteAttributes_getSourceConstraints)(attributes),
      EXPORT(zerovaapi_RouteAttributes_getDestinationConstraints)(attributes),
      EXPORT(zerovaapi_RouteAttributes_getOptionalModifiers)(attributes),
      EXPORT(zerovaapi_RouteAttributes_getRequiredModifiers)(attributes),
      EXPORT(zerovaapi_RouteAttributes_getDestinationRequiredModifiers)(attributes)};
   for (const zerovaapi_AttributeMap map : maps)
      for (int i = 0; i < kMapEntries; ++i)
         setString(map, ("constraint" + std::to_string(i)).c_str(), "a value of some length",
                   status);
}

void measureEndpoint(bench::Report& report, const std::string& endpoint, const std::string& host,
                     int port)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const auto stub =
      zerova::openClientSession(host.empty() ? "com.zerova" : "Trevanta/Zerova", host);
   stub->client.version("1.0");
   const zerovaapi_Session session =
      host.empty() ? EXPORT(zerovaapi_createSession)(&status)
                   : EXPORT(zerovaapi_createRemoteSession)(host.c_str(), &status);
   requireSuccess(status);
   bench::Connection raw = host.empty() ? bench::Connection::local(ZEROVA_ENDPOINT_DIR)
                                        : bench::Connection::tcp(host, port);
   std::vector<char> body;

   const auto call = apache::thrift::protocol::T_CALL;
   zerova::APIv1_reserveRoute_args reserveArguments;
   reserveArguments.ticket = kTicket;
   const std::string reserve = framed(message("reserveRoute", call, reserveArguments));
   const auto reserveRoute = EXPORT(zerovaapi_reserveRoute);
   reportRace(report, endpoint + ", small call",
              race([&] { exchangeRaw(raw, reserve, body); },
                   [&] { stub->client.reserveRoute(kTicket); },
                   [&] { reserveRoute(session, kTicket, &status); }, 100, 300),
              bench::atMost(1.02), bench::atMost(1.03));

   const zerovaapi_RouteAttributes attributes = EXPORT(zerovaapi_RouteAttributes_new)(&status);
   fill(attributes, &status);
   const auto& wireAttributes = *reinterpret_cast<const zerova::RouteAttributes*>(attributes);
   zerova::APIv1_calculateRoute_args calculateArguments;
   calculateArguments.src_uri = "/matrix1/ch0";
   calculateArguments.dest_uri = "/scanner2/com";
   calculateArguments.attrs = wireAttributes;
   const std::string calculate = framed(message("calculateRoute", call, calculateArguments));
   const auto calculateRoute = EXPORT(zerovaapi_calculateRoute);
   const std::string source = "/matrix1/ch0";
   const std::string destination = "/scanner2/com";
   reportRace(report, endpoint + ", six maps of ten",
              race([&] { exchangeRaw(raw, calculate, body); },
                   [&] { stub->client.calculateRoute(source, destination, wireAttributes); },
                   [&] {
                      calculateRoute(session, source.c_str(), destination.c_str(), attributes,
                                     &status);
                   },
                   100, 200),
              bench::atMost(1.02), bench::noGoal());
   EXPORT(zerovaapi_RouteAttributes_destroy)(attributes);

   zerova::APIv1_getTerminalNamesAndAttributesForDevice_args listArguments;
   listArguments.dev_name = "matrix1";
   const std::string list =
      framed(message("getTerminalNamesAndAttributesForDevice", call, listArguments));
   const auto getTerminals = EXPORT(zerovaapi_getTerminalNamesAndAttributesForDevice);
   const auto destroyTerminals = EXPORT(zerovaapi_TerminalContainer_destroy);
   const std::string device = "matrix1";
   reportRace(
      report, endpoint + ", 1,000 terminals",
      race([&] { exchangeRaw(raw, list, body); },
           [&] {
              std::vector<std::map<std::string, zerova::Attribute>> terminals;
              stub->client.getTerminalNamesAndAttributesForDevice(terminals, device, {});
           },
           [&] { destroyTerminals(getTerminals(session, device.c_str(), nullptr, &status)); }, 60,
           4),
      bench::atMost(0.5), bench::noGoal());

   requireSuccess(status);
   EXPORT(zerovaapi_destroySession)(session);
}

void measureSessionHeap(bench::Report& report)
{
   constexpr int kSessions = 50;
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const auto createSession = EXPORT(zerovaapi_createSession);
   std::vector<zerovaapi_Session> sessions(kSessions);
   EXPORT(zerovaapi_destroySession)(createSession(&status)); // what is made once for the process
   const auto before = bench::heapBytes();
   for (zerovaapi_Session& session : sessions)
      session = createSession(&status);
   const auto after = bench::heapBytes();
   requireSuccess(status);
   for (const zerovaapi_Session session : sessions)
      EXPORT(zerovaapi_destroySession)(session);
   if (before && after)
      report.figure("heap of a fresh session", static_cast<double>(*after - *before) / kSessions,
                    "bytes", bench::atMost(16384));
}

// What a container of 1,000 terminals holds, against the lists and maps that the stub fills.
void measureTerminalHeap(bench::Report& report)
{
   if (!bench::heapBytes()) return;
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const zerovaapi_Session session = EXPORT(zerovaapi_createSession)(&status);
   const auto getTerminals = EXPORT(zerovaapi_getTerminalNamesAndAttributesForDevice);
   const auto destroyTerminals = EXPORT(zerovaapi_TerminalContainer_destroy);
   destroyTerminals(getTerminals(session, "matrix1", nullptr, &status)); // the session's buffers
   const size_t before = bench::heapBytes().value();
   const zerovaapi_TerminalContainer container = getTerminals(session, "matrix1", nullptr, &status);
   const size_t ours = bench::heapBytes().value() - before;
   requireSuccess(status);
   destroyTerminals(container);
   EXPORT(zerovaapi_destroySession)(session);

   const auto stub = zerova::openClientSession("com.zerova", "");
   stub->client.version("1.0");
   std::vector<std::map<std::string, zerova::Attribute>> terminals;
   stub->client.getTerminalNamesAndAttributesForDevice(terminals, "matrix1", {});
   terminals = {};
   const size_t beforeStub = bench::heapBytes().value();
   stub->client.getTerminalNamesAndAttributesForDevice(terminals, "matrix1", {});
   const size_t reference = bench::heapBytes().value() - beforeStub;
   report.compare("heap of 1,000 terminals: exported/stub", static_cast<double>(ours) / 1024,
                  static_cast<double>(reference) / 1024, "KiB", bench::atMost(0.7));
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_client", argc, argv);
   bench::pinToCore(kClientCore);
   bench::keepFreedMemory();
   for (const int serviceCore : {0, 1}) {
      const std::string placement = serviceCore == kClientCore ? "one core" : "two cores";
      const bench::CannedService service(ZEROVA_ENDPOINT_DIR, kHost, replies(), serviceCore);
      measureEndpoint(report, "local, " + placement, "", 0);
      measureEndpoint(report, "TCP, " + placement, kHost, service.port());
      if (serviceCore != kClientCore) continue;
      measureSessionHeap(report);
      measureTerminalHeap(report);
   }
   return report.finish();
}
