#include "tools/zerovactl/commands.h"

namespace zerovactl {

int resetTerminal(Context& context, const std::string& uri, const std::string& type)
{
   Session session(context.target);
   session.call(zerovaapi_resetTerminal, uri.c_str(), type.c_str());
   if (context.output.asJson())
      context.output.document({{"reset", {{"terminal", uri}, {"type", type}}}});
   return kDone;
}

int resetDevice(Context& context, const DeviceResetOptions& options)
{
   const bool isWhole = options.initiates == options.completes;
   if (options.initiates && options.completes)
      throw Failure(kWrongUse, "--initiate and --complete contradict each other; without either "
                               "the reset is initiated and completed");
   Session session(context.target);
   if (isWhole || options.initiates)
      session.call(zerovaapi_initiateDeviceReset, options.device.c_str());
   if (isWhole || options.completes)
      session.call(zerovaapi_completeDeviceReset, options.device.c_str());
   if (context.output.asJson())
      context.output.document({{"reset",
                                {{"device", options.device},
                                 {"step", isWhole             ? "whole"
                                          : options.initiates ? "initiated"
                                                              : "completed"}}}});
   return kDone;
}

} // namespace zerovactl
