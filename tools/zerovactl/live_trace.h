// Traces of calls while they are made, where the system has what that takes.
#ifndef TOOLS_ZEROVACTL_LIVE_TRACE_H
#define TOOLS_ZEROVACTL_LIVE_TRACE_H

#include "tools/zerovactl/commands.h"

namespace zerovactl {

// As "trace" documents them; the options are whole. Both throw Failure where the system has no traces.
int traceConnections(Context& context, const TraceOptions& options);
int traceCommand(Context& context, const TraceOptions& options);

} // namespace zerovactl

#endif
