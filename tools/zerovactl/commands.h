// The commands, each in a file of its own name. All return what the process ends with, and throw
// Failure or ReaderGone.
#ifndef TOOLS_ZEROVACTL_COMMANDS_H
#define TOOLS_ZEROVACTL_COMMANDS_H

#include "tools/zerovactl/output.h"
#include "tools/zerovactl/session.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace zerovactl {

struct Context
{
   Output& output;
   Target target;
};

struct PingOptions
{
   int count = 1;
   bool isQuiet = false;
};
int ping(Context& context, const PingOptions& options);

int devices(Context& context);

struct TerminalsOptions
{
   std::string device;
   std::vector<std::string> attributes = {"Name"};
};
int terminals(Context& context, const TerminalsOptions& options);

struct RouteOptions
{
   std::string source;
   std::string destination;
   // Each NAME=VALUE.
   std::vector<std::string> constraints;
   std::vector<std::string> sourceConstraints;
   std::vector<std::string> destinationConstraints;
   std::vector<std::string> modifiers;
   std::vector<std::string> destinationModifiers;
   std::vector<std::string> optionalModifiers;
   std::string owner;
   bool isMultiDevice = false;
   bool reserves = false;
   bool programs = false;
   bool holds = false;
};
int route(Context& context, const RouteOptions& options);

struct ReleaseOptions
{
   std::string device;
   std::string from;
   std::string to;
   std::vector<std::string> between;
};
int release(Context& context, const ReleaseOptions& options);

int checkUri(Context& context, const std::string& uri);
int compareUris(Context& context, const std::string& left, const std::string& right);

int resetTerminal(Context& context, const std::string& uri, const std::string& type);

struct DeviceResetOptions
{
   std::string device;
   bool initiates = false; // neither: both, one after the other
   bool completes = false;
};
int resetDevice(Context& context, const DeviceResetOptions& options);

struct WatchOptions
{
   std::chrono::milliseconds interval{1000};
   int count = 0; // events after which it ends; 0: none
};
int watch(Context& context, const WatchOptions& options);

int explain(Context& context, const std::vector<std::string>& things);

int showSettings(Context& context);
int checkSettings(Context& context, const std::string& folder);

struct TraceOptions
{
   std::string listen;
   std::string to;
   std::string record;
   std::string read;
   std::vector<std::string> command;
};
int trace(Context& context, const TraceOptions& options);

int showVersion(Context& context);

} // namespace zerovactl

#endif
