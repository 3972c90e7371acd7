#include "tools/simulator/serving.h"

#include "service/windows/handles.h"

#include <CLI/CLI.hpp>

#include <atomic>
#include <iostream>
#include <thread>
#include <utility>

namespace zerova::simulator {

namespace {

// Of the one service that there is: the system's handler is given nothing of the caller's.
HANDLE asked = nullptr;
std::atomic<bool> isInterrupted = false;

BOOL WINAPI noteThatAnEndIsAsked(DWORD how)
{
   isInterrupted = how == CTRL_C_EVENT;
   return SetEvent(asked);
}

void readInput()
{
   const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
   char ignored[256];
   DWORD count = 1;
   while (ReadFile(input, ignored, sizeof ignored, &count, nullptr) && count > 0) {
   }
   SetEvent(asked);
}

} // namespace

void declareOptionsOfSystem(CLI::App&, Invocation&) {}

const char* examples()
{
   return R"(Examples:
  zerova-simulator check bench.toml
  zerova-simulator bench.toml --fault "method = 'reserveRoute', after = 3, delay_ms = 250"
  zerova-simulator bench.toml --endpoint-dir bench --log calls.jsonl
  zerova-simulator bench.toml --draw bench.dot

On this system it starts no COMMAND behind "--", has no --ready-fd, and serves at the named pipes
\\.\pipe\com.zerova and com.zerova.immediate, which belong to one simulator at a time.)";
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
   std::cout << simulation.readyLine() << std::flush;
   if (!simulation.run()) return kBroken;
   return isInterrupted ? kInterrupted : kDone;
}

} // namespace zerova::simulator
