#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/relay.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"
#include "tools/zerovactl/trace_events.h"

#include "tools/support/private_endpoint.h"

#include <csignal>
#include <memory>
#include <optional>

namespace zerovactl {

namespace {

constexpr const char* kEndpoints[] = {"com.zerova", "com.zerova.immediate"};

// Tells and records events. The calls of a client go on whatever becomes of what is told of them, so
// a failure here is kept for the end.
class Telling
{
public:
   Telling(Output& output, const std::string& record)
      : output_(output)
      , tracer_(output)
   {
      if (!record.empty()) writer_.emplace(record);
   }

   void take(const TraceEvent& event)
   {
      try {
         if (writer_) writer_->write(event);
      } catch (const Failure& failure) {
         writer_.reset();
         keep(failure);
      }
      try {
         if (tells_) tracer_.take(event);
      } catch (const Failure& failure) {
         tells_ = false;
         keep(failure);
      } catch (const ReaderGone&) {
         tells_ = false;
      }
   }

   // What the command ends with.
   int exitStatus(int status) const { return hasFailed_ && status == kDone ? kFailed : status; }

private:
   void keep(const Failure& failure)
   {
      hasFailed_ = true;
      output_.message(failure.what());
   }

   Output& output_;
   CallTracer tracer_;
   std::optional<TraceWriter> writer_;
   bool tells_ = true;
   bool hasFailed_ = false;
};

int readRecord(Context& context, const std::string& name)
{
   TraceReader reader(name);
   CallTracer tracer(context.output);
   TraceEvent event;
   while (reader.read(event))
      tracer.take(event);
   return kDone;
}

int relayUntilEnd(Context& context, const TraceOptions& options)
{
   const RelayedPair pair = {placeToListen(options.listen), placeToConnect(options.to)};
   Telling telling(context.output, options.record);
   EndRequest end(EndRequest::Input::kWatched);
   const Relay relay({pair}, [&](const TraceEvent& event) { telling.take(event); });
   context.output.message("listening at " + shown(relay.places().front()) + ", handing on to " +
                          shown(options.to) + "; Ctrl-C ends it");
   EndRequest::Cause cause = EndRequest::Cause::kNone;
   while (cause == EndRequest::Cause::kNone)
      cause = end.wait(std::chrono::hours(1));
   return telling.exitStatus(cause == EndRequest::Cause::kSignal ? EndRequest::exitStatus()
                                                                 : kDone);
}

int runCommand(Context& context, const TraceOptions& options)
{
   using zerova::tools::PrivateEndpoint;
   Telling telling(context.output, options.record);
   const TemporaryFolder folder;
   std::vector<RelayedPair> pairs;
   for (const char* name : kEndpoints)
      pairs.push_back({{folder.path() + "/" + name, {}, 0},
                       placeToConnect(options.to.empty() ? name : options.to)});
   std::optional<Relay> relay;
   relay.emplace(pairs, [&](const TraceEvent& event) { telling.take(event); });
   std::unique_ptr<PrivateEndpoint> command;
   try {
      const DefaultPipeSignal meanwhile; // for the command, which inherits it
      command = std::make_unique<PrivateEndpoint>(folder.path(), endpointFolder(), options.command);
   } catch (const zerova::tools::NamespaceRefused& refused) {
      throw Failure(kFailed, std::string(refused.what()) +
                                "\n   here a command cannot have an endpoint of its own; trace "
                                "over TCP instead:\n   zerovactl trace --listen 127.0.0.9 --to "
                                "HOST, and have the command go to the host 127.0.0.9");
   } catch (const zerova::tools::CommandNotStarted& failure) {
      context.output.message(failure.what());
      return failure.exitStatus;
   }
   {
      EndRequest end(EndRequest::Input::kLeftAlone);
      EndRequest::Cause cause = EndRequest::Cause::kNone;
      while (cause == EndRequest::Cause::kNone)
         cause = end.wait(std::chrono::hours(1), command->descriptor());
      if (cause == EndRequest::Cause::kSignal) command->send(SIGTERM);
   }
   const int status = command->wait();
   relay.reset(); // tells what is still to be told
   return telling.exitStatus(status);
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
   if (!isLive) return runCommand(context, options);
   if (options.to.empty())
      throw Failure(kWrongUse, "trace wants --to NAME, the service to which calls are handed on");
   return relayUntilEnd(context, options);
}

} // namespace zerovactl
