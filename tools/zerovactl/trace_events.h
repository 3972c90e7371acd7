// What a trace is made of: bytes on their way, and the calls in them.
#ifndef TOOLS_ZEROVACTL_TRACE_EVENTS_H
#define TOOLS_ZEROVACTL_TRACE_EVENTS_H

#include "tools/zerovactl/message.h"
#include "tools/zerovactl/output.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <fstream>
#include <map>
#include <string>
#include <string_view>

namespace zerovactl {

enum class TraceKind : std::uint8_t
{
   kOpened = 1,
   kFromClient = 2,
   kFromService = 3,
   kClosed = 4,
   kUnreachable = 5 // bytes: why the service was not reached
};

struct TraceEvent
{
   std::chrono::system_clock::time_point time;
   std::uint32_t connection = 0;
   TraceKind kind = TraceKind::kOpened;
   std::string bytes;
};

// Tells the calls that events hold.
class CallTracer
{
public:
   explicit CallTracer(Output& output)
      : output_(output)
   {
   }
   void take(const TraceEvent& event);

private:
   using Time = std::chrono::system_clock::time_point;

   struct Call
   {
      Time begin;
      Message message;
   };
   struct Direction
   {
      std::string bytes;
      bool isLost = false; // what came was no frame: where one begins cannot be told any more
   };
   struct Connection
   {
      Direction client;
      Direction service;
      std::deque<Call> calls; // that wait for an answer
   };

   void takeBytes(const TraceEvent& event, Connection& connection);
   void takeReply(const TraceEvent& event, Connection& connection, const Message& reply);
   void tell(const TraceEvent& event, const Json& members, const std::vector<Part>& parts);
   void tellCall(const TraceEvent& event, const Call& call, const Message* reply);

   Output& output_;
   std::map<std::uint32_t, Connection> connections_;
};

// A record of events in a file. Throws Failure.
class TraceWriter
{
public:
   explicit TraceWriter(const std::string& name);
   void write(const TraceEvent& event);

private:
   void require(const char* what);

   std::string name_;
   std::ofstream file_;
};

class TraceReader
{
public:
   explicit TraceReader(const std::string& name);
   // False at the end. Throws Failure where the file is cut off or no record.
   bool read(TraceEvent& event);

private:
   std::string name_;
   std::ifstream file_;
};

} // namespace zerovactl

#endif
