#include "tools/support/private_endpoint.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace zerova::tools {

namespace {

namespace fs = std::filesystem;

// One entry of a folder that is laid out anew.
struct Entry
{
   std::string name;
   std::string place; // absolute
   std::string link;  // where a symbolic link leads
   enum
   {
      kFolder,
      kFile,
      kLink
   } kind;
};

// All that the child needs, so that between fork and exec it does nothing but system calls: the
// caller may have threads.
struct Plan
{
   std::string folder;
   std::string place;
   std::string base;              // the folder that is laid out anew; empty: the place is there
   std::vector<Entry> entries;    // of the base
   std::vector<std::string> made; // the folders from the base down to the place
   std::string workingFolder;
   std::string uidMap;
   std::string gidMap;
   std::vector<char*> arguments;
};

enum class Step
{
   kNamespace,
   kAccount,
   kMount,
   kFolder,
   kCommand
};

struct Failure
{
   Step step;
   int error;
};

[[noreturn]] void failWith(const char* what)
{
   throw std::system_error(errno, std::generic_category(), what);
}

Entry entryFrom(const fs::directory_entry& found)
{
   Entry entry = {found.path().filename().string(), found.path().string(), {}, Entry::kFile};
   std::error_code gone;
   if (found.is_symlink(gone)) {
      entry.kind = Entry::kLink;
      entry.link = fs::read_symlink(found.path(), gone).string();
   } else if (found.is_directory(gone))
      entry.kind = Entry::kFolder;
   return entry;
}

void planMissingPlace(Plan& plan)
{
   fs::path base = fs::path(plan.place).lexically_normal();
   if (base.filename().empty()) base = base.parent_path();
   while (!fs::is_directory(base)) {
      plan.made.insert(plan.made.begin(), base.string());
      base = base.parent_path();
   }
   if (base == base.root_path())
      throw NamespaceRefused("cannot show endpoints at " + plan.place + ": " + plan.made.front() +
                             " is not there, and the root folder cannot be laid out anew");
   plan.base = base.string();
   for (const fs::directory_entry& found : fs::directory_iterator(base))
      plan.entries.push_back(entryFrom(found));
}

std::string identityMap(unsigned id)
{
   return std::to_string(id) + " " + std::to_string(id) + " 1";
}

Plan planFor(const std::string& folder, const std::string& place,
             const std::vector<std::string>& command)
{
   Plan plan;
   plan.folder = folder;
   plan.place = place;
   std::error_code error;
   plan.workingFolder = fs::current_path(error).string();
   plan.uidMap = identityMap(::geteuid());
   plan.gidMap = identityMap(::getegid());
   if (!folder.empty() && !fs::is_directory(place)) planMissingPlace(plan);
   for (const std::string& argument : command)
      plan.arguments.push_back(const_cast<char*>(argument.c_str()));
   plan.arguments.push_back(nullptr);
   return plan;
}

bool writeText(const char* file, const std::string& text)
{
   const int fd = ::open(file, O_WRONLY | O_CLOEXEC);
   if (fd < 0) return false;
   const ssize_t count = ::write(fd, text.data(), text.size());
   const int error = errno;
   ::close(fd);
   errno = error;
   return count == static_cast<ssize_t>(text.size());
}

// A group can be mapped only by who has given up changing groups, which kernels before 3.19 did not
// ask for.
bool mapAccount(const Plan& plan)
{
   if (!writeText("/proc/self/setgroups", "deny") && errno != ENOENT) return false;
   return writeText("/proc/self/uid_map", plan.uidMap) &&
          writeText("/proc/self/gid_map", plan.gidMap);
}

bool bindOnto(const std::string& source, const std::string& target)
{
   return ::mount(source.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

// What was there when the plan was made may be gone by now, and is left out.
bool showEntry(const Entry& entry)
{
   if (entry.kind == Entry::kLink) return ::symlink(entry.link.c_str(), entry.place.c_str()) == 0;
   if (entry.kind == Entry::kFolder) {
      if (::mkdir(entry.place.c_str(), 0755) != 0) return false;
   } else {
      const int fd = ::open(entry.place.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0644);
      if (fd < 0) return false;
      ::close(fd);
   }
   // The old folder is the working folder still, below what now covers it.
   return bindOnto(entry.name, entry.place) || errno == ENOENT;
}

bool layOutAnew(const Plan& plan)
{
   if (::chdir(plan.base.c_str()) != 0) return false;
   if (::mount("zerova", plan.base.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=755") != 0)
      return false;
   return std::ranges::all_of(plan.entries, showEntry) &&
          std::ranges::all_of(plan.made, [](const std::string& folder) {
             return ::mkdir(folder.c_str(), 0755) == 0;
          });
}

void resetSignals()
{
   struct sigaction usual = {};
   usual.sa_handler = SIG_DFL;
   for (const int signal : {SIGPIPE, SIGINT, SIGQUIT, SIGTERM, SIGHUP})
      ::sigaction(signal, &usual, nullptr);
   sigset_t none;
   sigemptyset(&none);
   ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

// Returns the step that failed, if one did.
std::optional<Step> enter(const Plan& plan)
{
   // Who may do so keeps all of its rights; all others need a user namespace around it.
   if (::geteuid() != 0 || ::unshare(CLONE_NEWNS) != 0) {
      if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return Step::kNamespace;
      if (!mapAccount(plan)) return Step::kAccount;
   }
   if (::mount(nullptr, "/", nullptr, MS_REC | MS_SLAVE, nullptr) != 0) return Step::kMount;
   // Held open: the folder may lie below what is laid out anew.
   const int folder = ::open(plan.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
   if (folder < 0 || ::fchdir(folder) != 0) return Step::kFolder;
   if (!plan.base.empty() && (!layOutAnew(plan) || ::fchdir(folder) != 0)) return Step::kMount;
   if (!bindOnto(".", plan.place)) return Step::kMount;
   if (!plan.workingFolder.empty() && ::chdir(plan.workingFolder.c_str()) != 0)
      return Step::kFolder;
   return std::nullopt;
}

// Returns only if something failed.
Step enterAndRun(const Plan& plan)
{
   if (!plan.folder.empty())
      if (const auto failed = enter(plan)) return *failed;
   resetSignals();
   ::execvp(plan.arguments.front(), plan.arguments.data());
   return Step::kCommand;
}

[[noreturn]] void throwFailure(const Failure& failure, const Plan& plan)
{
   const std::string why = std::generic_category().message(failure.error);
   switch (failure.step) {
   case Step::kNamespace:
      throw NamespaceRefused("this system gives out no namespaces (unshare: " + why + ")");
   case Step::kAccount:
      throw NamespaceRefused(
         "this system does not let a namespace have the account (uid_map: " + why + ")");
   case Step::kMount:
      throw NamespaceRefused("endpoints cannot be shown at " + plan.place + " (mount: " + why +
                             ")");
   case Step::kFolder:
      throw std::system_error(failure.error, std::generic_category(),
                              "cannot enter " + plan.folder + " and come back to " +
                                 plan.workingFolder);
   case Step::kCommand:
      break;
   }
   throw CommandNotStarted(std::string(plan.arguments.front()) + ": " + why,
                           failure.error == ENOENT ? 127 : 126);
}

} // namespace

PrivateEndpoint::PrivateEndpoint(const std::string& folder, const std::string& place,
                                 const std::vector<std::string>& command)
{
   if (command.empty()) throw std::invalid_argument("no command");
   const Plan plan = planFor(folder, place, command);
   std::array<int, 2> report{};
   if (::pipe2(report.data(), O_CLOEXEC) != 0) failWith("no pipe");
   const pid_t parent = ::getpid();
   process_ = ::fork();
   if (process_ == 0) {
      // The parent may be gone before it can be told of.
      if (::prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || ::getppid() != parent) ::_exit(1);
      const Step step = enterAndRun(plan);
      const Failure failure = {step, errno};
      if (::write(report[1], &failure, sizeof failure) != sizeof failure) ::_exit(1);
      ::_exit(127);
   }
   const int forkError = errno;
   ::close(report[1]);
   Failure failure{};
   ssize_t count = 0;
   do
      count = process_ < 0 ? 0 : ::read(report[0], &failure, sizeof failure);
   while (count < 0 && errno == EINTR);
   ::close(report[0]);
   if (process_ < 0) throw std::system_error(forkError, std::generic_category(), "fork");
   if (count == sizeof failure) {
      wait();
      throwFailure(failure, plan);
   }
   descriptor_ = static_cast<int>(::syscall(SYS_pidfd_open, process_, 0));
   if (descriptor_ >= 0) return;
   const int error = errno;
   send(SIGKILL);
   wait();
   throw std::system_error(error, std::generic_category(), "pidfd_open");
}

PrivateEndpoint::PrivateEndpoint(const std::vector<std::string>& command)
   : PrivateEndpoint({}, {}, command)
{
}

PrivateEndpoint::~PrivateEndpoint()
{
   send(SIGKILL);
   while (process_ > 0 && ::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
   }
   if (descriptor_ >= 0) ::close(descriptor_);
}

int PrivateEndpoint::wait()
{
   if (process_ < 0) return exitStatus_;
   int state = 0;
   while (::waitpid(process_, &state, 0) < 0)
      if (errno != EINTR) failWith("waitpid");
   process_ = -1;
   exitStatus_ = WIFSIGNALED(state) ? 128 + WTERMSIG(state) : WEXITSTATUS(state);
   return exitStatus_;
}

void PrivateEndpoint::send(int signal) const
{
   if (process_ > 0) ::kill(process_, signal);
}

} // namespace zerova::tools
