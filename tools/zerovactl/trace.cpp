#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/live_trace.h"
#include "tools/zerovactl/trace_events.h"

namespace zerovactl {

namespace {

int readRecord(Context& context, const std::string& name)
{
   TraceReader reader(name);
   CallTracer tracer(context.output);
   TraceEvent event;
   while (reader.read(event))
      tracer.take(event);
   return kDone;
}

} // namespace

int trace(Context& context, const TraceOptions& given)
{
   TraceOptions options = given;
   if (options.to.empty()) options.to = context.target.host;
   const bool isLive = !options.listen.empty();
   const int ways = int(isLive) + int(!options.read.empty()) + int(!options.command.empty());
   if (ways != 1)
      throw Failure(kWrongUse, "trace wants one of --listen NAME, --read FILE and -- COMMAND");
   if (!options.read.empty() && (!options.to.empty() || !options.record.empty()))
      throw Failure(kWrongUse,
                    "--read shows what was recorded: --to and --record do not belong to it");
   if (!options.read.empty()) return readRecord(context, options.read);
   if (!isLive) return traceCommand(context, options);
   if (options.to.empty())
      throw Failure(kWrongUse, "trace wants --to NAME, the service to which calls are handed on");
   return traceConnections(context, options);
}

} // namespace zerovactl
