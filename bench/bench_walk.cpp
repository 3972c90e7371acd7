// What a program in C++ pays for walking terminals with zerovaapi.hpp in place of the loop in C.
#include "APIv1.h"
#include "apiv1_types.h"
#include "bench/canned_service.h"
#include "bench/machine.h"
#include "bench/report.h"
#include "bench/wire.h"
#include "zerovaapi.hpp"

#include <string>

using apache::thrift::protocol::T_REPLY;
using bench::message;

namespace {

constexpr char kHost[] = "127.83.11.10";
constexpr int kCore = 0;
constexpr int kTerminals = 1000;

std::string terminalReply()
{
   zerova::APIv1_getTerminalNamesAndAttributesForDevice_result terminals;
   terminals.__isset.success = true;
   terminals.success.resize(kTerminals);
   int number = 0;
   for (auto& terminal : terminals.success) {
      terminal["Name"].__set_attr_type(zerova::AttrType::STRING);
      terminal["Name"].__set_str_attr("/m1/c" + std::to_string(100000 + number++));
      terminal["IsSource"].__set_attr_type(zerova::AttrType::BOOL);
      terminal["IsSource"].__set_bool_attr(true);
   }
   return message("getTerminalNamesAndAttributesForDevice", T_REPLY, terminals);
}

// Adds visit(terminals, i, own) of every terminal, as zerovaapi.h shows the loop.
template <typename Visit>
size_t walkInC(zerovaapi_TerminalContainer terminals, Visit visit)
{
   size_t sum = 0;
   quelerr_Status own;
   quelerr_heapStatus_init(&own);
   for (zerovaapi_Iterator i = zerovaapi_TerminalContainer_begin(terminals);
        !zerovaapi_TerminalIterator_isEnd(terminals, i); zerovaapi_TerminalIterator_next(&i))
   {
      sum += visit(terminals, i, &own);
      own.code = 0;
   }
   quelerr_heapStatus_release(&own);
   return sum;
}

template <typename Visit>
size_t walkInCxx(const zerovaapi::Terminals& terminals, Visit visit)
{
   size_t sum = 0;
   for (const auto terminal : terminals)
      sum += visit(terminal);
   return sum;
}

volatile size_t sink = 0; // what is computed must be computed

template <typename Cxx, typename C>
void compare(bench::Report& report, const char* what, int rounds, Cxx inCxx, C inC)
{
   constexpr int kWalks = 5;
   report.compare(
      what,
      bench::measureInTurns(
         rounds, kWalks, bench::now, [&] { sink = sink + inCxx(); }, [&] { sink = sink + inC(); }),
      "us", bench::atMost(1.02));
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_walk", argc, argv);
   const bench::CannedService service(
      ZEROVA_ENDPOINT_DIR, kHost,
      {{"version", message("version", T_REPLY, zerova::APIv1_version_result())},
       {"getTerminalNamesAndAttributesForDevice", terminalReply()}},
      kCore);
   bench::pinToCore(kCore);
   const zerovaapi::Terminals terminals = zerovaapi::Session::local().terminals("m1");

   compare(
      report, "1,000 terminals, nothing read: C++/C", 2001,
      [&] { return walkInCxx(terminals, [](auto) { return size_t{1}; }); },
      [&] { return walkInC(terminals.handle(), [](auto, auto, auto) { return size_t{1}; }); });
   compare(
      report, "1,000 terminals, a text and a flag of each: C++/C", 2001,
      [&] {
         return walkInCxx(terminals, [](auto terminal) {
            const auto name = terminal.text("Name");
            return (name ? static_cast<size_t>(*name->c_str()) : 0) +
                   (terminal.flag("IsSource").value_or(false) ? 1 : 0);
         });
      },
      [&] {
         return walkInC(terminals.handle(), [](auto container, auto i, auto own) {
            const char* const name =
               zerovaapi_TerminalIterator_getStringAttribute(container, i, "Name", own);
            return (name ? static_cast<size_t>(*name) : 0) +
                   (zerovaapi_TerminalIterator_getBoolAttribute(container, i, "IsSource", own) ? 1
                                                                                               : 0);
         });
      });
   compare(
      report, "1,000 terminals, an attribute that none has: C++/C", 101,
      [&] {
         return walkInCxx(terminals,
                          [](auto terminal) { return size_t{terminal.text("Gone").has_value()}; });
      },
      [&] {
         return walkInC(terminals.handle(), [](auto container, auto i, auto own) {
            return size_t{
               zerovaapi_TerminalIterator_getStringAttribute(container, i, "Gone", own) != nullptr};
         });
      });
   return report.finish();
}
