// What zerovactl ends with; scripts decide by it.
#ifndef TOOLS_ZEROVACTL_EXIT_STATUS_H
#define TOOLS_ZEROVACTL_EXIT_STATUS_H

namespace zerovactl {

enum ExitStatus
{
   kDone = 0,
   kFailed = 1, // the service refused, or something here cannot be read or written
   kWrongUse = 2,
   kNoSession = 3,
   kSessionBroke = 4,
   kNo = 5, // asked, and the answer is no
   kTimedOut = 124,
   kTerminalLost = 129,
   kInterrupted = 130,
   kAskedToEnd = 143
};

} // namespace zerovactl

#endif
