#include "tools/zerovactl/system.h"

#include "tools/zerovactl/failure.h"

#include "tools/support/process_start.h"

#include "platform/directory.h"
#include "zerovaapi.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
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

int descriptorOf(Stream stream)
{
   return stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
}

constexpr int kEndSignals[] = {SIGINT, SIGTERM, SIGHUP};

} // namespace

void beginProcess()
{
   std::signal(SIGPIPE, SIG_IGN);
   zerova::tools::holdStandardStreams();
}

bool isTerminal(Stream stream)
{
   return isatty(descriptorOf(stream)) == 1;
}

bool takesEscapes(Stream stream)
{
   const char* const kind = std::getenv("TERM");
   return isTerminal(stream) && kind && std::strcmp(kind, "dumb") != 0;
}

bool terminalTakesUtf8(std::string& name)
{
   const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
   name = locale ? nl_langinfo_l(CODESET, locale) : "ANSI_X3.4-1968";
   if (locale) freelocale(locale);
   return name == "UTF-8";
}

Writing writeTo(Stream stream, std::string_view bytes, std::string& failure)
{
   const int descriptor = descriptorOf(stream);
   while (!bytes.empty()) {
      const ssize_t count = write(descriptor, bytes.data(), bytes.size());
      if (count >= 0) {
         bytes.remove_prefix(static_cast<std::size_t>(count));
      } else if (errno == EAGAIN) { // whoever has the other end made it so
         pollfd room = {descriptor, POLLOUT, 0};
         poll(&room, 1, -1);
      } else if (errno != EINTR) {
         failure = std::generic_category().message(errno);
         return errno == EPIPE ? Writing::kReaderGone : Writing::kFailed;
      }
   }
   return Writing::kDone;
}

void writeLastWords(Stream stream, const std::string& text)
{
   pollfd room = {descriptorOf(stream), POLLOUT, 0};
   if (poll(&room, 1, 0) == 1 && write(room.fd, text.data(), text.size()) < 0) return;
}

std::size_t readInput(char* bytes, std::size_t size)
{
   for (;;) {
      const ssize_t count = read(STDIN_FILENO, bytes, size);
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno == EAGAIN) {
         pollfd more = {STDIN_FILENO, POLLIN, 0};
         poll(&more, 1, -1);
      } else if (errno != EINTR) {
         throw Failure(kFailed, "standard input cannot be read: " + systemText(errno));
      }
   }
}

std::string userLocale()
{
   for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
      const char* const value = std::getenv(variable);
      if (value && *value) return value;
   }
   return {};
}

std::tm localTime(std::time_t time)
{
   std::tm parts = {};
   localtime_r(&time, &parts);
   return parts;
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

// The file that the library's name leads to ends in it.
std::string libraryVersion()
{
   constexpr char kEnd[] = ".so.";
   std::error_code ignored; // the path as it is serves as well
   const std::string name =
      std::filesystem::weakly_canonical(libraryPath(), ignored).filename().string();
   const auto at = name.find(kEnd);
   return at == std::string::npos ? ZEROVACTL_VERSION : name.substr(at + sizeof kEnd - 1);
}

EndRequest::EndRequest(Input input, Again again)
   : watchesInput_(input == Input::kWatched && canBeClosedByOthers(STDIN_FILENO))
{
   if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
      throw std::system_error(errno, std::generic_category(), "no pipe can be had");
   struct sigaction action = {};
   action.sa_handler = note;
   action.sa_flags = SA_RESTART;
   if (again == Again::kEndsTheProcess) action.sa_flags |= static_cast<int>(SA_RESETHAND);
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

EndRequest::Cause EndRequest::wait(std::chrono::milliseconds time, platform::Handle other) const
{
   using Clock = std::chrono::steady_clock;
   const auto end = Clock::now() + time;
   while (!lastSignal) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
      if (left.count() <= 0) return Cause::kNone;
      pollfd watched[] = {{signalPipe[0], POLLIN, 0},
                          {watchesInput_ ? STDIN_FILENO : -1, POLLIN, 0},
                          {static_cast<int>(other), POLLIN, 0}};
      if (poll(watched, 3, static_cast<int>(left.count())) <= 0) continue;
      if (watched[2].revents != 0) return Cause::kOther;
      char bytes[256];
      // A child that has not begun its own program yet may have been told as well.
      while (watched[0].revents != 0 && read(signalPipe[0], bytes, sizeof bytes) > 0) {
      }
      if (watched[1].revents == 0) continue;
      const ssize_t size = read(STDIN_FILENO, bytes, sizeof bytes);
      // A terminal that is gone fails for ever.
      const bool isEnded = size == 0 || (size < 0 && errno != EAGAIN && errno != EINTR);
      if (isEnded && !lastSignal) return Cause::kInputEnded;
   }
   return Cause::kSignal;
}

void EndRequest::forgetSignal()
{
   lastSignal = 0;
}

int EndRequest::exitStatus()
{
   return 128 + static_cast<int>(lastSignal);
}

int lastSocketFailure()
{
   return errno;
}

int pendingFailure(platform::Socket socket)
{
   int failure = 0;
   socklen_t size = sizeof failure;
   getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_ERROR, &failure, &size);
   return failure;
}

std::string systemText(int number)
{
   return std::generic_category().message(number);
}

std::string timeOutText()
{
   return systemText(ETIMEDOUT);
}

std::string settingsRoot()
{
   return ZEROVA_REGISTRY_DIR;
}

std::string settingPlace(const std::string& key, const std::string& name, bool of32Bit)
{
   std::string path = settingsRoot() + (of32Bit ? "32/" : "/") + key + "/" + name;
   std::replace(path.begin(), path.end(), '\\', '/');
   return path;
}

std::vector<std::string> settingNames(const std::string& key, bool of32Bit)
{
   std::vector<std::string> names;
   platform::Directory folder;
   if (platform::openDirectory(settingPlace(key, "", of32Bit).c_str(), &folder) != 0) return names;
   platform::DirectoryEntry entry;
   while (platform::readEntry(&folder, &entry))
      if (entry.isRegular) names.emplace_back(entry.name);
   platform::closeDirectory(&folder);
   return names;
}

} // namespace zerovactl
