// What a wait for a socket finds.
#ifndef TESTS_UNIT_TRANSPORT_SOCKET_FLAGS_H
#define TESTS_UNIT_TRANSPORT_SOCKET_FLAGS_H

#include "transport/socket_calls.h"

#include <ostream>

// 7 for one that was not asked for.
struct Flags
{
   int readable = 7;
   int writable = 7;
   int errored = 7;
   int timedOut = 7;
   int interrupted = 7;
   bool operator==(const Flags&) const = default;
};

inline void PrintTo(const Flags& flags, std::ostream* out)
{
   *out << "readable " << flags.readable << ", writable " << flags.writable << ", errored "
        << flags.errored << ", timed out " << flags.timedOut << ", interrupted "
        << flags.interrupted;
}

inline Flags waitForAll(zerova::SockRec& rec, int32_t timeout)
{
   Flags found;
   zerova::sockWait(&rec, timeout, &found.readable, &found.writable, &found.errored,
                    &found.timedOut, &found.interrupted);
   return found;
}

#endif
