#include "faults/posix/forked_copy.h"

#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace zerova::test {

bool inACopyOfThisProcess(const std::function<bool()>& action)
{
   const pid_t child = ::fork();
   if (child < 0) throw std::runtime_error("fork");
   if (child == 0) ::_exit(action() ? 0 : 1);
   int status = 0;
   if (::waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid");
   return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace zerova::test
