#include "tools/simulator/serving.h"

#include "service/windows/handles.h"

#include <CLI/CLI.hpp>

#include <atomic>
#include <thread>
#include <utility>

namespace zerova::simulator {

namespace {

// Of the one service that there is: the system's handler is given nothing of the caller's.
HANDLE asked = nullptr;
std::atomic<bool> isInterrupted = false;

BOOL WINAPI noteThatAnEndIsAsked(DWORD how)
{
   isInterrupted = how == CTRL_C_EVENT || how == CTRL_BREAK_EVENT;
   return SetEvent(asked);
}

void readInput()
{
   const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
   char ignored[256];
   DWORD count = 0;
   for (;;) {
      SetLastError(ERROR_SUCCESS);
      if (!ReadFile(input, ignored, sizeof ignored, &count, nullptr)) break;
      // A console ends a read at Ctrl-C, too, which is told in another way.
      if (count == 0 && GetLastError() != ERROR_OPERATION_ABORTED) break;
   }
   SetEvent(asked);
}

} // namespace

void declareOptionsOfSystem(CLI::App&, Invocation&) {}

SystemHelp helpOfSystem()
{
   return {"Name in front of those of the pipes (default: " ZEROVA_ENDPOINT_DIR ", the library's)",
           R"(Examples:
  zerova-simulator check bench.toml
  zerova-simulator bench.toml --fault "method = 'reserveRoute', after = 3, delay_ms = 250"
  zerova-simulator bench.toml --endpoint-dir bench --log calls.jsonl
  zerova-simulator bench.toml --draw bench.dot

On this system it starts no COMMAND behind "--", has no --ready-fd, and serves at the named pipes
\\.\pipe\com.zerova and com.zerova.immediate, which belong to one simulator at a time.

Exit status: 0 done, 2 wrong use or a wrong file, 3 an endpoint cannot be had, 4 a file cannot be
written, 5 check or --replay found something, 130 Ctrl-C or Ctrl-Break.)"};
}

void requireThatSystemCan(const Invocation& in)
{
   if (!in.command.empty())
      throw Failure(kWrongUse, "on Windows no command can be run; start it beside the simulator");
}

int serve(const Invocation& in, Topology topology)
{
   asked = CreateEventA(nullptr, TRUE, FALSE, nullptr);
   if (!asked) test::fail("cannot make an event", GetLastError());
   SetConsoleCtrlHandler(noteThatAnEndIsAsked, TRUE);
   Simulation simulation(in, std::move(topology));
   const std::string folder = in.endpointDir.empty() ? ZEROVA_ENDPOINT_DIR : in.endpointDir;
   simulation.open(in.hasNoLocal ? "" : folder);
   Service& service = simulation.service();
   service.watch(reinterpret_cast<test::NativeHandle>(asked), [&service] { service.stop(); });
   // It reads until the process ends, so the event stays.
   if (!in.stays) std::thread(readInput).detach();
   printReady(simulation.readyLine());
   if (!simulation.run()) return kBroken;
   return isInterrupted ? kInterrupted : kDone;
}

} // namespace zerova::simulator
