#include "tools/zerovactl/commands.h"

namespace zerovactl {

int release(Context& context, const ReleaseOptions& options)
{
   const int ways = int(!options.device.empty()) + int(!options.from.empty()) +
                    int(!options.to.empty()) + int(!options.between.empty());
   if (ways != 1)
      throw Failure(kWrongUse, "release wants one of --device, --from, --to and --between");
   Session session(context.target);
   std::string what;
   Json released;
   if (!options.device.empty()) {
      session.call(zerovaapi_destroyImmediateRoutesOnDevice, options.device.c_str());
      what = "all immediate routes on " + options.device;
      released = {{"device", options.device}};
   } else if (!options.from.empty()) {
      session.call(zerovaapi_destroyImmediateRoutesFromSource, options.from.c_str());
      what = "all immediate routes from " + options.from;
      released = {{"from", options.from}};
   } else if (!options.to.empty()) {
      session.call(zerovaapi_destroyImmediateRoutesToDest, options.to.c_str());
      what = "all immediate routes to " + options.to;
      released = {{"to", options.to}};
   } else {
      session.call(zerovaapi_destroyImmediateRoute, options.between[0].c_str(),
                   options.between[1].c_str());
      what = options.between[0] + " -> " + options.between[1];
      released = {{"from", options.between[0]}, {"to", options.between[1]}};
   }
   if (context.output.asJson())
      context.output.document({{"released", released}});
   else
      context.output.line("released " + what);
   return kDone;
}

} // namespace zerovactl
