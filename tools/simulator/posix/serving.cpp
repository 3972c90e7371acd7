#include "tools/simulator/serving.h"

#include "tools/support/private_endpoint.h"

#include <CLI/CLI.hpp>

#include <fcntl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace zerova::simulator {

namespace {

using tools::CommandNotStarted;
using tools::NamespaceRefused;
using tools::PrivateEndpoint;

// A folder of its own for the endpoints of a command, gone at the end.
class OwnFolder
{
public:
   OwnFolder()
      : path_((std::filesystem::temp_directory_path() / "zerova-simulator-XXXXXX").string())
   {
      if (!::mkdtemp(path_.data()))
         throw Failure(kNoEndpoint,
                       "cannot make " + path_ + ": " + std::generic_category().message(errno));
   }
   ~OwnFolder()
   {
      std::error_code ignored;
      std::filesystem::remove_all(path_, ignored);
   }
   OwnFolder(const OwnFolder&) = delete;
   OwnFolder& operator=(const OwnFolder&) = delete;

   const std::string& path() const { return path_; }

private:
   std::string path_;
};

// From construction on the signals that end a program are read from a descriptor.
class Signals
{
public:
   Signals()
   {
      // Whoever reads our output may end before us, which is told by the failed write.
      std::signal(SIGPIPE, SIG_IGN);
      sigset_t set;
      sigemptyset(&set);
      for (const int signal : {SIGINT, SIGTERM, SIGHUP})
         sigaddset(&set, signal);
      ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
      descriptor_ = ::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
      if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "signalfd");
   }
   ~Signals() { ::close(descriptor_); }
   Signals(const Signals&) = delete;
   Signals& operator=(const Signals&) = delete;

   int descriptor() const { return descriptor_; }
   int next() const
   {
      signalfd_siginfo info{};
      return ::read(descriptor_, &info, sizeof info) == sizeof info
                ? static_cast<int>(info.ssi_signo)
                : 0;
   }

private:
   int descriptor_;
};

[[noreturn]] void refuseReady(const Invocation& in)
{
   throw Failure(kWrongUse, "--ready-fd " + std::to_string(in.readyDescriptor) +
                               " cannot be written to: " + std::generic_category().message(errno));
}

void tellReady(const Invocation& in, const std::string& line)
{
   if (in.readyDescriptor >= 0) {
      const bool isWritten =
         ::write(in.readyDescriptor, line.data(), line.size()) == static_cast<ssize_t>(line.size());
      if (!isWritten || ::close(in.readyDescriptor) != 0) refuseReady(in);
   } else if (in.command.empty())
      printReady(line);
}

// Serves until the command has ended, or until a signal or the end of the input.
class Server
{
public:
   Server(const Invocation& in, Topology topology)
      : in_(in)
      , simulation_(in, std::move(topology))
   {
      // Whoever reads the line would wait for the command to close it, too.
      if (in.readyDescriptor >= 0) ::fcntl(in.readyDescriptor, F_SETFD, FD_CLOEXEC);
   }

   int run()
   {
      if (!in_.command.empty() && !in_.hasNoLocal && in_.endpointDir.empty()) folder_.emplace();
      simulation_.open(endpointDir());
      if (!in_.command.empty()) startCommand();
      Service& service = simulation_.service();
      service.watch(signals_.descriptor(), [this] { takeSignal(); });
      if (command_)
         service.watch(command_->descriptor(), [&service] { service.stop(); });
      else if (!in_.stays)
         watchInput();
      tellReady(in_, simulation_.readyLine());
      const bool isLogged = simulation_.run();
      if (command_) return command_->wait();
      return isLogged ? status_ : kBroken;
   }

private:
   std::string endpointDir() const
   {
      if (in_.hasNoLocal) return {};
      if (!in_.endpointDir.empty()) return std::filesystem::absolute(in_.endpointDir).string();
      return folder_ ? folder_->path() : ZEROVA_ENDPOINT_DIR;
   }

   void startCommand()
   {
      ::setenv("ZEROVA_SIMULATOR_HOST", in_.hasNoLocal ? simulation_.host().c_str() : "", 1);
      try {
         if (in_.hasNoLocal)
            command_.emplace(in_.command);
         else
            command_.emplace(endpointDir(), ZEROVA_ENDPOINT_DIR, in_.command);
      } catch (const NamespaceRefused& refused) {
         fallBack(refused.what());
      }
   }

   // What is left without namespaces: a host of our own among the loopback addresses.
   void fallBack(const std::string& why)
   {
      if (simulation_.host().empty()) simulation_.openAtOwnHost(endpointDir());
      say(why + ", so the command finds no local endpoint; open sessions to the host " +
          simulation_.host() + ", which is in ZEROVA_SIMULATOR_HOST");
      ::setenv("ZEROVA_SIMULATOR_HOST", simulation_.host().c_str(), 1);
      command_.emplace(in_.command);
   }

   void takeSignal()
   {
      const int signal = signals_.next();
      if (signal == 0) return;
      // From a terminal the command has it, too; it ends as it likes, and we with it.
      if (command_) {
         if (signal != SIGINT) command_->send(signal);
         return;
      }
      status_ = signal == SIGINT ? kInterrupted : kDone;
      simulation_.service().stop();
   }

   void watchInput()
   {
      Service& service = simulation_.service();
      const auto readOn = [&service] {
         std::array<char, 4096> ignored{};
         const ssize_t count = ::read(STDIN_FILENO, ignored.data(), ignored.size());
         if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) service.stop();
      };
      try {
         service.watch(STDIN_FILENO, readOn);
      } catch (const std::system_error&) {
         // A plain file is always at its end soon; a closed input has ended.
         service.stop();
      }
   }

   const Invocation& in_;
   const Signals signals_;
   std::optional<OwnFolder> folder_;
   Simulation simulation_;
   std::optional<PrivateEndpoint> command_;
   int status_ = kDone;
};

} // namespace

void declareOptionsOfSystem(CLI::App& app, Invocation& in)
{
   app.add_option(
         "--ready-fd", in.readyDescriptor,
         "Write the line of the endpoints to this descriptor and close it, not to standard "
         "output")
      ->check(CLI::Range(0, 1000000))
      ->type_name("NUMBER");
}

SystemHelp helpOfSystem()
{
   return {"Folder of the local endpoints (default: " ZEROVA_ENDPOINT_DIR
           "; before a COMMAND: one that it alone sees)",
           R"(Examples:
  zerova-simulator check bench.toml
  zerova-simulator bench.toml -- ./driver_test
  zerova-simulator bench.toml --fault 'method = "reserveRoute", after = 3, delay_ms = 250' -- ./driver_test
  zerova-simulator bench.toml --endpoint-dir /tmp/bench --log calls.jsonl
  zerova-simulator bench.toml --draw bench.svg

Exit status: that of COMMAND; else 0 done, 2 wrong use or a wrong file, 3 an endpoint cannot be had,
4 a file cannot be written, 5 check or --replay found something, 130 Ctrl-C.)"};
}

// Asked before a file or a socket of ours can have that number.
void requireThatSystemCan(const Invocation& in)
{
   if (in.readyDescriptor >= 0 && ::fcntl(in.readyDescriptor, F_GETFD) < 0) refuseReady(in);
}

int serve(const Invocation& in, Topology topology)
{
   try {
      return Server(in, std::move(topology)).run();
   } catch (const CommandNotStarted& error) {
      say(error.what());
      return error.exitStatus;
   }
}

} // namespace zerova::simulator
