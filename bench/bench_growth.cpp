// How cost grows with what there is: the same work for 1, 10, 100 and 1,000 of a kind. What takes more
// for a thousand than the line through 10 and 100 tells grows faster than its work.
//
// Told is processor time of the client alone, so that neither a service nor a wait for one counts.
#include "APIv1.h"
#include "bench/canned_service.h"
#include "bench/exports.h"
#include "bench/machine.h"
#include "bench/report.h"
#include "bench/wire.h"
#include "lorvex/xmErrorsParser.h"
#include "lorvex_translator.h"
#include "lorvexlua/lorvexlua.h"
#include "quelerr/json_writer.h"
#include "quelerr/status.h"
#include "tests/support/scratch_folder.h"
#include "zerovaapi.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

using apache::thrift::protocol::T_REPLY;
using bench::message;
using bench::requireSuccess;

namespace {

constexpr int kClientCore = 0;
constexpr int kServiceCore = 1;
constexpr int kTicket = 77;
constexpr int kRounds = 31;
constexpr std::array<size_t, 4> kSizes = {1, 10, 100, 1000};
constexpr const char* kSizeNames[] = {"1", "10", "100", "1,000"};

[[noreturn]] void fail(const char* what)
{
   std::fprintf(stderr, "bench_growth: %s\n", what);
   std::exit(EXIT_FAILURE);
}

// What work there is for so many of a kind.
struct Work
{
   const char* line;
   double (*of)(double size);
};
constexpr Work kEachTheSame = {"straight line", [](double size) { return size; }};
constexpr Work kPutInOrder = {"line of a sorted map",
                              [](double size) { return size * std::log2(size); }};

// Tells what the action takes for each size; it gets the index of the size. Small sizes are repeated,
// so that all are long enough to be timed.
void measure(bench::Report& report, const std::string& what,
             const std::function<void(size_t)>& action, const Work& work = kEachTheSame)
{
   const double steepness = (work.of(1000) - work.of(100)) / (work.of(100) - work.of(10));
   std::array<std::vector<double>, kSizes.size()> times;
   std::vector<double> lines;
   std::vector<double> slopes;
   for (int round = -1; round < kRounds; ++round) { // the first warms up
      std::array<double, kSizes.size()> sample{};
      for (size_t i = 0; i < kSizes.size(); ++i) {
         const size_t repeats = std::max<size_t>(1, 300 / kSizes[i]);
         const double start = bench::processorTime();
         for (size_t repeat = 0; repeat < repeats; ++repeat)
            action(i);
         sample[i] = (bench::processorTime() - start) / 1000 / static_cast<double>(repeats);
      }
      if (round < 0) continue;
      for (size_t i = 0; i < kSizes.size(); ++i)
         times[i].push_back(sample[i]);
      lines.push_back(sample[2] + (sample[2] - sample[1]) * steepness);
      slopes.push_back(std::log10(sample[3] / sample[2]));
   }
   for (size_t i = 0; i + 1 < kSizes.size(); ++i)
      report.figure(what + ", " + kSizeNames[i], bench::median(times[i]), "us", bench::noGoal());
   report.compare(what + ", 1,000 / " + work.line, {times[3], lines}, "us", bench::atMost(1.25));
   report.figure(what + ", slope from 100 to 1,000", bench::median(slopes), "", bench::atMost(1.1));
}

zerova::Attribute text(const std::string& value)
{
   zerova::Attribute attribute;
   attribute.__set_attr_type(zerova::AttrType::STRING);
   attribute.__set_str_attr(value);
   return attribute;
}

std::map<std::string, zerova::Attribute> terminal(size_t number)
{
   zerova::Attribute isSource;
   isSource.__set_attr_type(zerova::AttrType::BOOL);
   isSource.__set_bool_attr(true);
   return {{"Name", text("/m1/c" + std::to_string(100000 + number))}, {"IsSource", isSource}};
}

// Replies with as many terminals, names and devices as size tells.
bench::Replies replies(size_t size)
{
   zerova::APIv1_getTerminalNamesAndAttributesForDevice_result terminals;
   terminals.__isset.success = true;
   zerova::APIv1_getRouteInfo_result route;
   route.__isset.success = true;
   zerova::APIv1_getRoutableDevices_result devices;
   devices.__isset.success = true;
   for (size_t i = 0; i < size; ++i) {
      terminals.success.push_back(terminal(i));
      devices.success.push_back("matrix" + std::to_string(100000 + i));
      zerova::DeviceInfo device;
      device.__set_deviceName(devices.success.back());
      device.__set_terminals({terminal(0), terminal(1)});
      route.success.push_back(device);
   }
   zerova::APIv1_calculateRoute_result ticket;
   ticket.__isset.success = true;
   ticket.success = kTicket;
   return {
      {"version", message("version", T_REPLY, zerova::APIv1_version_result())},
      {"reserveRoute", message("reserveRoute", T_REPLY, zerova::APIv1_reserveRoute_result())},
      {"calculateRoute", message("calculateRoute", T_REPLY, ticket)},
      {"getRoutableDevices", message("getRoutableDevices", T_REPLY, devices)},
      {"getRouteInfo", message("getRouteInfo", T_REPLY, route)},
      {"getTerminalNamesAndAttributesForDevice",
       message("getTerminalNamesAndAttributesForDevice", T_REPLY, terminals)},
   };
}

// A service for each size, each on an address of its own; the first has the local endpoint too. Each
// ends when the ones behind it have: their processes are copies that hold its lifeline.
class Services
{
public:
   Services()
   {
      for (size_t i = 0; i < kSizes.size(); ++i)
         services_[i].emplace(i == 0 ? ZEROVA_ENDPOINT_DIR
                                     : folder_.path("endpoints" + std::to_string(i)),
                              host(i), replies(kSizes[i]), kServiceCore);
   }

   static std::string host(size_t index) { return "127.83.11." + std::to_string(20 + index); }

private:
   ScratchFolder folder_;
   std::array<std::optional<bench::CannedService>, kSizes.size()> services_;
};

void walk(zerovaapi_TerminalContainer terminals, quelerr_Status* status)
{
   static const auto isEnd = EXPORT(zerovaapi_TerminalIterator_isEnd);
   static const auto getText = EXPORT(zerovaapi_TerminalIterator_getStringAttribute);
   static const auto next = EXPORT(zerovaapi_TerminalIterator_next);
   for (auto i = EXPORT(zerovaapi_TerminalContainer_begin)(terminals); !isEnd(terminals, i);
        next(&i))
      if (!getText(terminals, i, "Name", status)) fail("a terminal has no name");
}

void measureReplies(bench::Report& report)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   std::array<zerovaapi_Session, kSizes.size()> sessions{};
   for (size_t i = 0; i < kSizes.size(); ++i)
      sessions[i] = EXPORT(zerovaapi_createRemoteSession)(Services::host(i).c_str(), &status);
   requireSuccess(status);

   const auto getNames = EXPORT(zerovaapi_getRoutableDevices);
   const auto destroyNames = EXPORT(zerovaapi_destroyStringArray);
   measure(report, "names of devices",
           [&](size_t i) { destroyNames(getNames(sessions[i], &status)); });
   const auto getRoute = EXPORT(zerovaapi_getRouteInfo);
   const auto destroyRoute = EXPORT(zerovaapi_DeviceContainer_destroy);
   measure(report, "devices of a route",
           [&](size_t i) { destroyRoute(getRoute(sessions[i], kTicket, &status)); });
   const auto getTerminals = EXPORT(zerovaapi_getTerminalNamesAndAttributesForDevice);
   const auto destroyTerminals = EXPORT(zerovaapi_TerminalContainer_destroy);
   measure(report, "terminals of a device",
           [&](size_t i) { destroyTerminals(getTerminals(sessions[i], "m1", nullptr, &status)); });
   std::array<zerovaapi_TerminalContainer, kSizes.size()> containers{};
   for (size_t i = 0; i < kSizes.size(); ++i)
      containers[i] = getTerminals(sessions[i], "m1", nullptr, &status);
   measure(report, "walk over terminals", [&](size_t i) { walk(containers[i], &status); });
   for (const zerovaapi_TerminalContainer container : containers)
      destroyTerminals(container);

   const auto setText = EXPORT(zerovaapi_RouteConstraints_setStringConstraint);
   const auto calculateRoute = EXPORT(zerovaapi_calculateRoute);
   std::vector<std::string> names;
   for (size_t i = 0; i < kSizes.back(); ++i)
      names.push_back("constraint" + std::to_string(i * 7919 % 1000));
   measure(
      report, "constraints, set and sent",
      [&](size_t i) {
         const zerovaapi_RouteAttributes attributes =
            EXPORT(zerovaapi_RouteAttributes_new)(&status);
         const zerovaapi_AttributeMap map =
            EXPORT(zerovaapi_RouteAttributes_getConstraints)(attributes);
         for (size_t entry = 0; entry < kSizes[i]; ++entry)
            setText(map, names[entry].c_str(), "a value of some length", &status);
         calculateRoute(sessions[i], "/m1/c0", "/m1/c1", attributes, &status);
         EXPORT(zerovaapi_RouteAttributes_destroy)(attributes);
      },
      kPutInOrder);
   for (const zerovaapi_Session session : sessions)
      EXPORT(zerovaapi_destroySession)(session);
   requireSuccess(status);
}

void measureSessions(bench::Report& report)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const auto create = EXPORT(zerovaapi_createSession);
   const auto destroy = EXPORT(zerovaapi_destroySession);
   std::vector<zerovaapi_Session> sessions;
   const auto open = [&](size_t count) {
      while (sessions.size() < count)
         sessions.push_back(create(&status));
   };
   const auto close = [&] {
      for (const zerovaapi_Session session : sessions)
         destroy(session);
      sessions.clear();
   };
   measure(report, "sessions, opened and closed", [&](size_t i) {
      open(kSizes[i]);
      close();
   });
   open(kSizes.back());
   requireSuccess(status);
   const auto reserve = EXPORT(zerovaapi_reserveRoute);
   measure(report, "sessions, a call on each", [&](size_t i) {
      for (size_t n = 0; n < kSizes[i]; ++n)
         reserve(sessions[n], kTicket, &status);
   });
   close();
   requireSuccess(status);
}

void measureModules(bench::Report& report)
{
   const std::string text =
      "local M = {} function M.term(key) return key .. ' of a driver' end return M";
   std::vector<std::string> names;
   for (size_t i = 0; i < kSizes.back(); ++i)
      names.push_back("driver_module" + std::to_string(i) + ".lua");
   std::vector<EmbeddedModule> modules;
   for (const std::string& name : names)
      modules.push_back(
         {name.c_str(), reinterpret_cast<const unsigned char*>(text.data()), text.size()});
   measure(report, "script modules, made ready", [&](size_t i) {
      lua_State* const L = luaL_newstate();
      if (!L) fail("no memory");
      luaL_openlibs(L);
      if (lorvexlua_addModules(L, modules.data(), kSizes[i]) != 0) fail("a module does not load");
      lua_close(L);
   });
}

char* allocate(void*, size_t length, void*, quelerr_Status*)
{
   return static_cast<char*>(std::malloc(length));
}

void measureDescriptions(bench::Report& report)
{
   std::array<std::string, kSizes.size()> documents;
   for (size_t i = 0; i < kSizes.size(); ++i) {
      for (size_t row = 0; row < kSizes[i]; ++row)
         documents[i] += std::string(row ? "," : "") +
                         R"({"type":"usage","usage":"kUsageTypeSourceTerminal","value":"/m1/ch)" +
                         std::to_string(row) + "\"}";
      documents[i] = R"({"error_constant":"kErrorRouteInUse","translator_info":{"ordered_data":[)" +
                     documents[i] + "]}}";
   }
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   lorvex_Translator* const translator =
      lorvexlua_createTranslator("dorvex_zerova", R"({"lorvexlua_xlator":"dorvex"})", &status);
   if (!translator) fail(status.json);
   measure(report, "rows of a status, described", [&](size_t i) {
      char* const description = translator->getDynamicDesc(translator, documents[i].c_str(), 0,
                                                           "json1", allocate, nullptr, &status);
      if (!description) fail(status.json);
      std::free(description);
   });
   translator->destroy(translator);
}

void measureStatus(bench::Report& report)
{
   measure(report, "members of a status, written", [&](size_t i) {
      quelerr_Status status;
      quelerr_heapStatus_init(&status);
      quelerr_JsonWriter writer;
      quelerr_Status_beginWriter(&writer, &status);
      for (size_t member = 0; member < kSizes[i]; ++member)
         quelerr_JsonWriter_addInt(&writer, "member", static_cast<int>(member));
      requireSuccess(status);
      quelerr_heapStatus_release(&status);
   });
}

std::string errorFile(size_t firstEntry, size_t entries)
{
   std::string text = "<?xml version=\"1.0\"?>\n<tvdocument>\n";
   for (size_t i = 0; i < entries; ++i) {
      const std::string code = std::to_string(-52000 - static_cast<int>(firstEntry + i));
      text += "<tverror code=\"" + code + "\">\n";
      text += "The device refused the request " + code + ". Check its connections and try again.\n";
      text += "</tverror>\n";
   }
   return text + "</tvdocument>\n";
}

void measureErrorFiles(bench::Report& report)
{
   constexpr size_t kEntries = 10;
   constexpr int32_t kCodeOfNoFile = -1;
   const ScratchFolder scratch;
   for (const size_t size : kSizes)
      for (size_t file = 0; file < size; ++file)
         scratch.write(std::to_string(size) + "/errors" + std::to_string(file) + ".txt",
                       errorFile(file * kEntries, kEntries));
   quelerr_String description{};
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   measure(report, "error files, all searched", [&](size_t i) {
      lorvex_findDescriptionInDir(scratch.path(std::to_string(kSizes[i])).c_str(), kCodeOfNoFile,
                                  &description, &status);
   });
   requireSuccess(status);

   std::array<std::string, kSizes.size()> files;
   for (size_t i = 0; i < kSizes.size(); ++i)
      files[i] = scratch.write(std::string(kSizeNames[i]) + ".txt", errorFile(0, kSizes[i]));
   measure(report, "entries of one error file", [&](size_t i) {
      lorvex_findDescriptionInFile(files[i].c_str(), -51999 - static_cast<int>(kSizes[i]),
                                   &description, &status);
      if (description.length == 0) fail("the last entry is not found");
   });
   requireSuccess(status);
   quelerr_String_release(&description);
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_growth", argc, argv);
   bench::pinToCore(kClientCore);
   bench::keepFreedMemory();
   {
      const Services services;
      measureReplies(report);
      measureSessions(report);
   }
   measureModules(report);
   measureDescriptions(report);
   measureStatus(report);
   measureErrorFiles(report);
   return report.finish();
}
