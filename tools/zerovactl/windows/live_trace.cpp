#include "tools/zerovactl/live_trace.h"

namespace zerovactl {

namespace {

[[noreturn]] void refuse()
{
   throw Failure(kWrongUse,
                 "traces are made on Linux alone; --read shows one that was recorded there");
}

} // namespace

int traceConnections(Context&, const TraceOptions&)
{
   refuse();
}

int traceCommand(Context&, const TraceOptions&)
{
   refuse();
}

} // namespace zerovactl
