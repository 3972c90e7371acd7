#include "tools/support/process_start.h"

#include "tools/support/windows/wide_text.h"

#include <windows.h>

#include <shellapi.h>

namespace zerova::tools {

void holdStandardStreams() {} // handles have no places to take

std::vector<std::string> commandLine(int, char**)
{
   int count = 0;
   wchar_t** const all = CommandLineToArgvW(GetCommandLineW(), &count);
   std::vector<std::string> arguments;
   for (int i = 1; all && i < count; ++i)
      arguments.push_back(narrowed(all[i]));
   LocalFree(all);
   return arguments;
}

} // namespace zerova::tools
