#include "tools/zerovactl/live_trace.h"

#include "tools/zerovactl/relay.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"
#include "tools/zerovactl/temporary_path.h"
#include "tools/zerovactl/trace_events.h"

#include "tools/support/private_endpoint.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

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
      const std::lock_guard lock(mutex_);
      try {
         if (writer_) writer_->write(event);
      } catch (const std::exception& failure) {
         writer_.reset();
         keep(failure);
      }
      try {
         if (tells_) tracer_.take(event);
      } catch (const ReaderGone&) {
         tells_ = false;
      } catch (const std::exception& failure) {
         tells_ = false;
         keep(failure);
      }
   }

   // While events may come.
   void say(const std::string& text)
   {
      const std::lock_guard lock(mutex_);
      output_.message(text);
   }

   // What the command ends with.
   int exitStatus(int status) const
   {
      const std::lock_guard lock(mutex_);
      return hasFailed_ && status == kDone ? kFailed : status;
   }

private:
   void keep(const std::exception& failure)
   {
      hasFailed_ = true;
      output_.message(failure.what());
   }

   mutable std::mutex mutex_;
   Output& output_;
   CallTracer tracer_;
   std::optional<TraceWriter> writer_;
   bool tells_ = true;
   bool hasFailed_ = false;
};

// That nobody else may enter.
std::string newFolder()
{
   std::string path = (std::filesystem::temp_directory_path() / "zerovactl.XXXXXX").string();
   if (!mkdtemp(path.data())) throw Failure(kFailed, path + ": " + systemText(errno));
   return path;
}

} // namespace

int traceConnections(Context& context, const TraceOptions& options)
{
   const RelayedPair pair = {placeToListen(options.listen), placeToConnect(options.to)};
   Telling telling(context.output, options.record);
   EndRequest end(EndRequest::Input::kWatched);
   const Relay relay({pair}, [&](const TraceEvent& event) { telling.take(event); });
   telling.say("listening at " + shown(relay.places().front()) + ", handing on to " +
               shown(options.to) + "; Ctrl-C ends it");
   EndRequest::Cause cause = EndRequest::Cause::kNone;
   while (cause == EndRequest::Cause::kNone)
      cause = end.wait(std::chrono::hours(1));
   return telling.exitStatus(cause == EndRequest::Cause::kSignal ? EndRequest::exitStatus()
                                                                 : kDone);
}

int traceCommand(Context& context, const TraceOptions& options)
{
   using zerova::tools::PrivateEndpoint;
   Telling telling(context.output, options.record);
   // From before the folder is there until it has gone.
   const EndRequest end(EndRequest::Input::kLeftAlone, EndRequest::Again::kIsWaitedFor);
   const TemporaryPath folder(newFolder());
   std::vector<RelayedPair> pairs;
   for (const char* name : kEndpoints)
      pairs.push_back({{(folder.path() / name).string(), {}, 0},
                       placeToConnect(options.to.empty() ? name : options.to)});
   std::optional<Relay> relay;
   relay.emplace(pairs, [&](const TraceEvent& event) { telling.take(event); });
   std::unique_ptr<PrivateEndpoint> command;
   try {
      command = std::make_unique<PrivateEndpoint>(folder.path().string(), endpointFolder(),
                                                  options.command);
   } catch (const zerova::tools::NamespaceRefused& refused) {
      throw Failure(kFailed, std::string(refused.what()) +
                                "\n   here a command cannot have an endpoint of its own; trace "
                                "over TCP instead:\n   zerovactl trace --listen 127.0.0.9 --to "
                                "HOST, and have the command go to the host 127.0.0.9");
   } catch (const zerova::tools::CommandNotStarted& failure) {
      context.output.message(failure.what());
      return failure.exitStatus;
   }
   // The first request to end is handed on, the second one ends the command.
   int signal = SIGTERM;
   for (;;) {
      const auto cause = end.wait(std::chrono::hours(1), command->descriptor());
      if (cause == EndRequest::Cause::kOther) break;
      if (cause != EndRequest::Cause::kSignal) continue;
      command->send(std::exchange(signal, SIGKILL));
      EndRequest::forgetSignal();
   }
   const int status = command->wait();
   relay.reset(); // tells what is still to be told
   return telling.exitStatus(status);
}

} // namespace zerovactl
