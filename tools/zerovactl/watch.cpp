#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/system.h"

#include <memory>

namespace zerovactl {

namespace {

class Watcher
{
public:
   Watcher(Context& context, const WatchOptions& options)
      : context_(context)
      , options_(options)
      , session_(std::make_unique<Session>(context.target))
   {
   }

   int run()
   {
      EndRequest end(EndRequest::Input::kWatched);
      EndRequest::Cause cause = EndRequest::Cause::kNone;
      for (;;) {
         look();
         if (options_.count > 0 && events_ >= options_.count) return kDone;
         context_.output.progress(session_ ? "watching; change number " + std::to_string(number_)
                                           : "waiting for the service to come back");
         cause = end.wait(options_.interval);
         if (cause != EndRequest::Cause::kNone) break;
      }
      context_.output.endProgress();
      return cause == EndRequest::Cause::kSignal ? EndRequest::exitStatus() : kDone;
   }

private:
   void look()
   {
      const bool wasLost = !session_;
      try {
         if (wasLost) session_ = std::make_unique<Session>(context_.target);
         const std::int32_t number = session_->call(zerovaapi_getSystemChangeNumber);
         if (wasLost)
            tell({{"back", true}, {"change", number}}, "back, change " + std::to_string(number));
         else if (isFirst_ || number != number_)
            tell({{"change", number}}, "change " + std::to_string(number));
         number_ = number;
         isFirst_ = false;
      } catch (const Failure& failure) {
         if (failure.exitStatus == kNoSession && wasLost) return;
         if (failure.exitStatus != kSessionBroke) throw;
         session_.reset();
         if (wasLost) return;
         tell({{"lost", kConnectionFailed}}, "lost; the connection has broken (-52024)");
      }
   }

   void tell(const Json& event, const std::string& text)
   {
      const auto now = std::chrono::system_clock::now();
      if (context_.output.asJson()) {
         Json line = {{"time", utcText(now)}};
         line.update(event);
         context_.output.document(line);
      } else {
         context_.output.line(timeOfDayText(now) + "  " + text);
      }
      context_.output.flush();
      ++events_;
   }

   static constexpr int kConnectionFailed = -52024;

   Context& context_;
   const WatchOptions& options_;
   std::unique_ptr<Session> session_;
   std::int32_t number_ = 0;
   bool isFirst_ = true;
   int events_ = 0;
};

} // namespace

int watch(Context& context, const WatchOptions& options)
{
   return Watcher(context, options).run();
}

} // namespace zerovactl
