#include "tools/support/process_start.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace zerova::tools {

void holdStandardStreams()
{
   // Opened the wrong way round, so that who reads or writes there is told.
   for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number)
      if (fcntl(number, F_GETFD) < 0 && errno == EBADF)
         static_cast<void>(open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

std::vector<std::string> commandLine(int argc, char** argv)
{
   return {argv + std::min(argc, 1), argv + argc};
}

} // namespace zerova::tools
