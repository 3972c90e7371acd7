#include "support/child_process.h"

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const std::string& what, int error = errno)
{
   throw std::system_error(error, std::generic_category(), what);
}

pid_t idOf(std::intptr_t process)
{
   return static_cast<pid_t>(process);
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& words)
{
   int down[2];
   int up[2];
   if (::pipe2(down, O_CLOEXEC) != 0 || ::pipe2(up, O_CLOEXEC) != 0) fail("no pipe to a child");
   posix_spawn_file_actions_t actions;
   posix_spawn_file_actions_init(&actions);
   posix_spawn_file_actions_adddup2(&actions, down[0], STDIN_FILENO);
   posix_spawn_file_actions_adddup2(&actions, up[1], STDOUT_FILENO);
   std::vector<char*> arguments;
   for (const std::string& word : words)
      arguments.push_back(const_cast<char*>(word.c_str()));
   arguments.push_back(nullptr);
   pid_t child = 0;
   const int error =
      posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
   posix_spawn_file_actions_destroy(&actions);
   ::close(down[0]);
   ::close(up[1]);
   toChild_ = down[1];
   fromChild_ = up[0];
   if (error != 0) fail(words[0], error);
   process_ = child;
}

ChildProcess::~ChildProcess()
{
   ::close(static_cast<int>(toChild_));
   ::close(static_cast<int>(fromChild_));
   if (process_ != 0) ::waitpid(idOf(process_), nullptr, 0);
}

void ChildProcess::tell()
{
   const char byte = 's';
   if (::write(static_cast<int>(toChild_), &byte, 1) != 1) fail("a child cannot be told");
}

bool ChildProcess::waitToBeTold()
{
   char byte = 0;
   return ::read(static_cast<int>(fromChild_), &byte, 1) == 1;
}

void ChildProcess::freeze()
{
   int state = 0;
   if (::kill(idOf(process_), SIGSTOP) != 0 ||
       ::waitpid(idOf(process_), &state, WUNTRACED) != idOf(process_) || !WIFSTOPPED(state))
      fail("a child cannot be frozen");
}

void ChildProcess::kill()
{
   if (::kill(idOf(process_), SIGKILL) != 0 ||
       ::waitpid(idOf(process_), nullptr, 0) != idOf(process_))
      fail("a child cannot be killed");
   process_ = 0;
}
