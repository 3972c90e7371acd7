// A session of the library, and what its failures become.
#ifndef TOOLS_ZEROVACTL_SESSION_H
#define TOOLS_ZEROVACTL_SESSION_H

#include "tools/zerovactl/failure.h"

#include "zerovaapi.h"

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace zerovactl {

// Where a session goes, and in which language its failures are told.
struct Target
{
   std::string host; // empty: this machine
   bool isImmediate = false;
   std::uint32_t language = 0;
};

class Status
{
public:
   Status() { quelerr_heapStatus_init(&record_); }
   ~Status() { quelerr_heapStatus_release(&record_); }
   Status(const Status&) = delete;
   Status& operator=(const Status&) = delete;

   quelerr_Status* get() { return &record_; }
   std::int32_t code() const { return record_.code; }
   std::string json() const { return record_.code != 0 && record_.json ? record_.json : ""; }

private:
   quelerr_Status record_;
};

// The failure in the user's language: the sentence, the code, and what the status tells beside it.
Failure failureOf(const Status& status, std::uint32_t language);

class Session
{
public:
   // Throws Failure with kNoSession.
   explicit Session(const Target& target);
   ~Session() { zerovaapi_destroySession(session_); }
   Session(const Session&) = delete;
   Session& operator=(const Session&) = delete;

   // Calls the function with the session, the arguments and a status. Throws Failure if the service
   // refuses or the connection breaks.
   template <typename Function, typename... Arguments>
   auto call(Function function, Arguments... arguments)
   {
      Status status;
      if constexpr (std::is_void_v<decltype(function(session_, arguments..., status.get()))>) {
         function(session_, arguments..., status.get());
         if (status.code() != 0) throw failureOf(status, language_);
      } else {
         const auto result = function(session_, arguments..., status.get());
         if constexpr (std::is_pointer_v<decltype(function(session_, arguments..., status.get()))>)
         {
            if (!result || status.code() != 0) throw failureOf(status, language_);
         } else {
            if (status.code() != 0) throw failureOf(status, language_);
         }
         return result;
      }
   }

private:
   std::uint32_t language_;
   zerovaapi_Session session_ = nullptr;
};

} // namespace zerovactl

#endif
