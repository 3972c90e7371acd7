// The calls of a session, each with what must hold for its result.
#ifndef FUZZ_REPLY_CALLS_H
#define FUZZ_REPLY_CALLS_H

#include "quelerr_status.h"
#include "transport/client_session.h"
#include "zerovaapi.h"

#include <span>

struct ReplyCall
{
   const char* method;
   // Calls with some arguments, looks at all that came back, and releases it. generic is a session of
   // its own with the same replies, for those that are compared with what the stub makes of them.
   void (*run)(zerovaapi_Session session, zerova::ClientSession& generic, quelerr_Status* status);
};

std::span<const ReplyCall> replyCalls();

#endif
