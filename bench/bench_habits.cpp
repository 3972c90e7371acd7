// What the habits cost that a program had better leave: each beside what it had better do.
#include "APIv1.h"
#include "bench/canned_service.h"
#include "bench/exports.h"
#include "bench/machine.h"
#include "bench/report.h"
#include "bench/wire.h"
#include "lorvex_translator.h"
#include "zerovaapi.h"

#include <array>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using apache::thrift::protocol::T_REPLY;
using bench::message;
using bench::requireSuccess;

namespace {

constexpr int kClientCore = 0;
constexpr int kServiceCore = 1;
constexpr char kHost[] = "127.83.11.30";
constexpr char kHostOfOne[] = "127.83.11.31"; // the service that is asked for one attribute
constexpr int kTicket = 77;
constexpr int kRounds = 31;

// Of 1,000 terminals.
bench::Replies replies(int attributes)
{
   zerova::Attribute attribute;
   attribute.__set_attr_type(zerova::AttrType::STRING);
   attribute.__set_str_attr("/matrix1/ch0");
   std::map<std::string, zerova::Attribute> terminal;
   for (int i = 0; i < attributes; ++i)
      terminal["attribute" + std::to_string(i)] = attribute;
   zerova::APIv1_getTerminalNamesAndAttributesForDevice_result terminals;
   terminals.success.assign(1000, terminal);
   terminals.__isset.success = true;
   return {
      {"version", message("version", T_REPLY, zerova::APIv1_version_result())},
      {"reserveRoute", message("reserveRoute", T_REPLY, zerova::APIv1_reserveRoute_result())},
      {"getTerminalNamesAndAttributesForDevice",
       message("getTerminalNamesAndAttributesForDevice", T_REPLY, terminals)},
   };
}

void measureSession(bench::Report& report)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const auto create = EXPORT(zerovaapi_createSession);
   const auto destroy = EXPORT(zerovaapi_destroySession);
   const auto reserve = EXPORT(zerovaapi_reserveRoute);
   const zerovaapi_Session kept = create(&status);
   report.compare("a session for each call / one for all",
                  bench::measureInTurns(
                     kRounds, 200, bench::now,
                     [&] {
                        const zerovaapi_Session session = create(&status);
                        reserve(session, kTicket, &status);
                        destroy(session);
                     },
                     [&] { reserve(kept, kTicket, &status); }),
                  "us", bench::noGoal());
   destroy(kept);
   requireSuccess(status);
}

void measureAttributes(bench::Report& report)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const zerovaapi_Session all = EXPORT(zerovaapi_createRemoteSession)(kHost, &status);
   const zerovaapi_Session one = EXPORT(zerovaapi_createRemoteSession)(kHostOfOne, &status);
   const char* const wanted[] = {"attribute0", nullptr};
   const auto getTerminals = EXPORT(zerovaapi_getTerminalNamesAndAttributesForDevice);
   const auto destroyTerminals = EXPORT(zerovaapi_TerminalContainer_destroy);
   report.compare("1,000 terminals: ten attributes / the one that is wanted",
                  bench::measureInTurns(
                     kRounds, 20, bench::now,
                     [&] { destroyTerminals(getTerminals(all, "matrix1", nullptr, &status)); },
                     [&] { destroyTerminals(getTerminals(one, "matrix1", wanted, &status)); }),
                  "us", bench::noGoal());
   EXPORT(zerovaapi_destroySession)(all);
   EXPORT(zerovaapi_destroySession)(one);
   requireSuccess(status);
}

// Runs call(n) in turns with others, in threads of which each has its own n.
constexpr size_t kThreads = 4;
void inThreads(const std::function<void(size_t)>& call)
{
   std::vector<std::thread> threads;
   for (size_t n = 0; n < kThreads; ++n)
      threads.emplace_back([&call, n] {
         for (int i = 0; i < 250; ++i)
            call(n);
      });
   for (std::thread& thread : threads)
      thread.join();
}

void measureThreads(bench::Report& report)
{
   std::array<quelerr_Status, kThreads> statuses{};
   std::array<zerovaapi_Session, kThreads> sessions{};
   for (size_t n = 0; n < kThreads; ++n) {
      quelerr_heapStatus_init(&statuses[n]);
      sessions[n] = EXPORT(zerovaapi_createSession)(&statuses[n]);
   }
   const auto reserve = EXPORT(zerovaapi_reserveRoute);
   std::mutex turn;
   report.compare(
      "1,000 calls of 4 threads: one session / one each",
      bench::measureInTurns(
         kRounds, 1, bench::now,
         [&] {
            inThreads([&](size_t n) {
               const std::lock_guard lock(turn);
               reserve(sessions[0], kTicket, &statuses[n]);
            });
         },
         [&] { inThreads([&](size_t n) { reserve(sessions[n], kTicket, &statuses[n]); }); }),
      "us", bench::noGoal());
   for (size_t n = 0; n < kThreads; ++n) {
      requireSuccess(statuses[n]);
      EXPORT(zerovaapi_destroySession)(sessions[n]);
   }
}

char* allocate(void*, size_t length, void*, quelerr_Status*)
{
   return static_cast<char*>(std::malloc(length));
}

void measureTranslator(bench::Report& report)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const auto create = [&] {
      return EXPORT(lorvex_exported_create)("dorvex_zerova", R"({"lorvexlua_xlator":"dorvex"})",
                                            &status);
   };
   const auto describe = [&](lorvex_Translator* translator) {
      std::free(translator->getDynamicDesc(
         translator, R"({"error_constant":"kErrorRouteInUse","file":"routes","line":218})", 0,
         "json1", allocate, nullptr, &status));
   };
   lorvex_Translator* const kept = create();
   requireSuccess(status);
   report.compare("a translator for each description / one for all",
                  bench::measureInTurns(
                     kRounds, 5, bench::processorTime,
                     [&] {
                        lorvex_Translator* const translator = create();
                        describe(translator);
                        translator->destroy(translator);
                     },
                     [&] { describe(kept); }),
                  "us", bench::noGoal());
   kept->destroy(kept);
   requireSuccess(status);
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_habits", argc, argv);
   bench::keepFreedMemory();
   const bench::CannedService service(ZEROVA_ENDPOINT_DIR, kHost, replies(10), kServiceCore);
   {
      const bench::CannedService ofOne(ZEROVA_ENDPOINT_DIR "/one", kHostOfOne, replies(1),
                                       kServiceCore);
      measureThreads(report); // before the cores are chosen
      bench::pinToCore(kClientCore);
      measureSession(report);
      measureAttributes(report);
   }
   measureTranslator(report);
   return report.finish();
}
