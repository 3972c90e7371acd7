#include "tools/zerovactl/system.h"

#include "tools/zerovactl/failure.h"

#include "zerovaapi.h"

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <langinfo.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace zerovactl {

namespace {

int signalPipe[2] = {-1, -1};
volatile std::sig_atomic_t lastSignal = 0;

void note(int number)
{
   const int saved = errno;
   lastSignal = number;
   const char byte = 0;
   const ssize_t count = write(signalPipe[1], &byte, 1);
   static_cast<void>(count); // a full pipe wakes as well
   errno = saved;
}

// /dev/null is what a script's background command has, and no request.
bool canBeClosedByOthers(int descriptor)
{
   struct stat file;
   if (fstat(descriptor, &file) != 0) return false;
   return S_ISFIFO(file.st_mode) || S_ISSOCK(file.st_mode) || isatty(descriptor) == 1;
}

constexpr int kEndSignals[] = {SIGINT, SIGTERM, SIGHUP};

} // namespace

bool isTerminal(int descriptor)
{
   return isatty(descriptor) == 1;
}

bool terminalTakesUtf8(std::string& name)
{
   const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
   name = locale ? nl_langinfo_l(CODESET, locale) : "ANSI_X3.4-1968";
   if (locale) freelocale(locale);
   return name == "UTF-8";
}

std::filesystem::path programPath()
{
   std::error_code error;
   return std::filesystem::read_symlink("/proc/self/exe", error);
}

std::filesystem::path libraryPath()
{
   Dl_info info;
   if (!dladdr(reinterpret_cast<const void*>(&zerovaapi_createSession), &info)) return {};
   return info.dli_fname;
}

void ignoreClosedPipes()
{
   std::signal(SIGPIPE, SIG_IGN);
}

void writeLastWords(const std::string& text)
{
   pollfd error = {STDERR_FILENO, POLLOUT, 0};
   if (poll(&error, 1, 0) == 1 && write(STDERR_FILENO, text.data(), text.size()) < 0) return;
}

DefaultPipeSignal::DefaultPipeSignal()
{
   std::signal(SIGPIPE, SIG_DFL);
}

DefaultPipeSignal::~DefaultPipeSignal()
{
   ignoreClosedPipes();
}

TemporaryFolder::TemporaryFolder()
   : path_((std::filesystem::temp_directory_path() / "zerovactl.XXXXXX").string())
{
   if (!mkdtemp(path_.data()))
      throw Failure(kFailed, path_ + ": " + std::generic_category().message(errno));
}

TemporaryFolder::~TemporaryFolder()
{
   std::error_code ignored; // what cannot be removed is left; there is nobody to be told here
   std::filesystem::remove_all(path_, ignored);
}

EndRequest::EndRequest(Input input)
   : watchesInput_(input == Input::kWatched && canBeClosedByOthers(STDIN_FILENO))
{
   if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
      throw std::system_error(errno, std::generic_category(), "no pipe can be had");
   struct sigaction action = {};
   action.sa_handler = note;
   action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
   for (const int number : kEndSignals)
      sigaction(number, &action, nullptr);
}

EndRequest::~EndRequest()
{
   for (const int number : kEndSignals)
      std::signal(number, SIG_DFL);
   close(signalPipe[0]);
   close(signalPipe[1]);
}

EndRequest::Cause EndRequest::wait(std::chrono::milliseconds time, int other) const
{
   using Clock = std::chrono::steady_clock;
   const auto end = Clock::now() + time;
   while (!lastSignal) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
      if (left.count() <= 0) return Cause::kNone;
      pollfd watched[] = {{signalPipe[0], POLLIN, 0},
                          {watchesInput_ ? STDIN_FILENO : -1, POLLIN, 0},
                          {other, POLLIN, 0}};
      if (poll(watched, 3, static_cast<int>(left.count())) <= 0) continue;
      if (watched[2].revents != 0) return Cause::kOther;
      char bytes[256];
      if (watched[1].revents == 0) continue;
      const ssize_t size = read(STDIN_FILENO, bytes, sizeof bytes);
      // A terminal that is gone fails for ever.
      const bool isEnded = size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR);
      if (isEnded && !lastSignal) return Cause::kInputEnded;
   }
   return Cause::kSignal;
}

int EndRequest::exitStatus()
{
   return 128 + static_cast<int>(lastSignal);
}

int pendingError(platform::Socket socket)
{
   int failure = 0;
   socklen_t size = sizeof failure;
   getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_ERROR, &failure, &size);
   return failure;
}

std::string endpointFolder()
{
   return ZEROVA_ENDPOINT_DIR;
}

std::string settingsRoot()
{
   return ZEROVA_REGISTRY_DIR;
}

} // namespace zerovactl
