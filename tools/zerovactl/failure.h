// Why a command ends before it is done.
#ifndef TOOLS_ZEROVACTL_FAILURE_H
#define TOOLS_ZEROVACTL_FAILURE_H

#include "tools/zerovactl/exit_status.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace zerovactl {

// The text is for standard error, without the program's name; further lines begin with blanks.
class Failure : public std::runtime_error
{
public:
   Failure(ExitStatus status, const std::string& text, std::optional<std::int32_t> statusCode = {})
      : std::runtime_error(text)
      , exitStatus(status)
      , code(statusCode)
   {
   }

   ExitStatus exitStatus;
   std::optional<std::int32_t> code; // of the status that tells it
};

// Whoever read our output has gone; nobody is left to be told.
struct ReaderGone
{
};

} // namespace zerovactl

#endif
