// The command line.
#ifndef TOOLS_ZEROVACTL_ARGUMENTS_H
#define TOOLS_ZEROVACTL_ARGUMENTS_H

#include "tools/zerovactl/commands.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zerovactl {

struct Invocation
{
   Target target;
   bool asJson = false;
   double timeout = 0; // seconds; 0: none
   std::function<int(Context&)> run;
};

// Throws Failure with kWrongUse. Empty: help was asked for and has been put into help.
std::optional<Invocation> parseArguments(std::vector<std::string> arguments, std::string& help);

// For a command line that may be none.
bool asksForJson(const std::vector<std::string>& arguments);

} // namespace zerovactl

#endif
