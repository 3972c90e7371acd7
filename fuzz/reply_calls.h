// The calls of a session, each with what must hold for its result.
#ifndef FUZZ_REPLY_CALLS_H
#define FUZZ_REPLY_CALLS_H

#include "quelerr_status.h"
#include "zerovaapi.h"

#include <span>

struct ReplyCall
{
   const char* method;
   // Calls with some arguments, looks at all that came back, and releases it.
   void (*run)(zerovaapi_Session session, quelerr_Status* status);
};

std::span<const ReplyCall> replyCalls();

#endif
