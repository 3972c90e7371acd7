// zerova-simulator: a routing service without hardware.
#include "service/loopback_address.h"
#include "tools/simulator/bench.h"
#include "tools/simulator/picture.h"
#include "tools/simulator/replay.h"
#include "tools/simulator/service.h"
#include "tools/simulator/topology_file.h"
#include "tools/support/private_endpoint.h"

#include <CLI/CLI.hpp>

#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

using namespace zerova::simulator;
using zerova::test::LoopbackAddress;
using zerova::tools::CommandNotStarted;
using zerova::tools::NamespaceRefused;
using zerova::tools::PrivateEndpoint;

// What the program ends with, beside the exit status of a command.
enum Status
{
   kDone = 0,
   kWrongUse = 2,
   kNoEndpoint = 3,
   kBroken = 4,
   kNo = 5,
   kInterrupted = 130
};

// A sentence for the user, and what the program ends with.
class Failure : public std::runtime_error
{
public:
   Failure(Status status, const std::string& text)
      : std::runtime_error(text)
      , exitStatus(status)
   {
   }
   Status exitStatus;
};

struct Invocation
{
   std::string file;
   std::vector<std::string> command;
   bool isCheck = false;
   std::vector<std::string> faults;
   std::string endpointDir;
   bool hasNoLocal = false;
   std::string tcp; // an address, or "own"
   std::uint16_t port = 0;
   std::uint16_t locatorPort = 3580;
   bool hasNoLocator = false;
   std::size_t mostConnections = 4096;
   bool isDebug = false;
   int readyDescriptor = -1;
   std::string log;
   std::string replay;
   std::string picture;
   bool isWatching = false;
};

void say(const std::string& sentence)
{
   std::cerr << "zerova-simulator: " << sentence << std::endl;
}

constexpr char kExamples[] = R"(Examples:
  zerova-simulator check bench.toml
  zerova-simulator bench.toml -- ./driver_test
  zerova-simulator bench.toml --fault 'method = "reserveRoute", after = 3, delay_ms = 250' -- ./driver_test
  zerova-simulator bench.toml --endpoint-dir /tmp/bench --log calls.jsonl
  zerova-simulator bench.toml --draw bench.svg

Exit status: that of COMMAND; else 0 done, 2 wrong use or a wrong file, 3 an endpoint cannot be had,
4 a file cannot be written, 5 check or --replay found something, 130 Ctrl-C.)";

void declareOptions(CLI::App& app, Invocation& in)
{
   app.footer(kExamples);
   app.add_option("FILE", in.file, "The bench, in TOML");
   app.add_option("--fault", in.faults, "One more fault, as the inside of a [[fault]] of the file")
      ->type_name("FAULT")
      ->allow_extra_args(false);
   app.add_option("--endpoint-dir", in.endpointDir,
                  "Folder of the local endpoints (default: " ZEROVA_ENDPOINT_DIR
                  "; before a COMMAND: one that it alone sees)")
      ->type_name("FOLDER");
   app.add_flag("--no-local", in.hasNoLocal, "No local endpoints");
   app.add_option("--tcp", in.tcp,
                  "Serve on a loopback address too, with a locator; \"own\": one that is free")
      ->type_name("ADDRESS");
   app.add_option("--port", in.port, "Port of the TCP endpoint (default: a free one)");
   app.add_option("--locator-port", in.locatorPort, "Port of the locator")->capture_default_str();
   app.add_flag("--no-locator", in.hasNoLocator, "No locator");
   app.add_option("--connections", in.mostConnections, "Most clients at one time")
      ->check(CLI::Range(1, 1000000))
      ->capture_default_str();
   app.add_flag("--debug", in.isDebug, "Say that this is a debug service");
   app.add_option(
         "--ready-fd", in.readyDescriptor,
         "Write the line of the endpoints to this descriptor and close it, not to standard "
         "output")
      ->check(CLI::Range(0, 1000000))
      ->type_name("NUMBER");
   app.add_option("--log", in.log, "Write each call as a line of JSON")->type_name("FILE");
   app.add_option("--replay", in.replay, "Make the calls of a log again, compare, and end")
      ->type_name("FILE");
   app.add_option("--draw", in.picture, "Draw the bench, and end")->type_name("FILE.dot|FILE.svg");
   app.add_flag("--watch", in.isWatching, "With --draw: serve, and draw again on each change");
   CLI::App* const check = app.add_subcommand("check", "Tell every mistake of a file, and end");
   check->add_option("FILE", in.file, "The bench, in TOML")->required();
   check->callback([&in] { in.isCheck = true; });
}

void refuse(bool isWrong, const char* sentence)
{
   if (isWrong) throw Failure(kWrongUse, sentence);
}

void requireSense(const Invocation& in)
{
   const bool serves = in.replay.empty() && (in.picture.empty() || in.isWatching);
   refuse(in.file.empty(), "which bench? --help tells how to name a file");
   refuse(in.isCheck && !in.command.empty(), "check serves nothing, so no command can be run");
   refuse(!serves && !in.command.empty(),
          "--replay, and --draw without --watch, serve nothing, so no command can be run");
   refuse(!in.replay.empty() && !in.picture.empty(), "--replay and --draw exclude each other");
   refuse(!in.replay.empty() && !in.log.empty(), "--replay makes no log; leave out --log");
   refuse(in.isWatching && in.picture.empty(), "--watch needs --draw");
   refuse(!in.picture.empty() && !isPictureName(in.picture),
          "--draw writes FILE.dot or FILE.svg; the name must end with one of the two");
   refuse(in.hasNoLocal && !in.endpointDir.empty(),
          "--no-local and --endpoint-dir exclude each other");
   refuse(in.hasNoLocal && in.tcp.empty(),
          "with --no-local and without --tcp nothing would be served");
   refuse(in.tcp.empty() && (in.port != 0 || in.hasNoLocator),
          "--port and --no-locator need --tcp");
}

std::string counted(std::size_t count, const std::string& thing)
{
   return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

// Throws if the file or one of the faults has a mistake; the mistakes have been told by then.
Topology topologyFrom(const Invocation& in)
{
   ReadTopology read = readTopologyFile(in.file);
   for (const std::string& fault : in.faults)
      for (Mistake& mistake : addFault(read.topology, fault))
         read.mistakes.push_back(std::move(mistake));
   if (read.mistakes.empty()) return std::move(read.topology);
   std::ostream& out = in.isCheck ? std::cout : std::cerr;
   for (const Mistake& mistake : read.mistakes)
      out << mistake.shown() << '\n';
   throw Failure(in.isCheck ? kNo : kWrongUse,
                 in.file + ": " + counted(read.mistakes.size(), "mistake"));
}

int check(const Topology& topology, const std::string& file)
{
   std::size_t terminals = 0;
   for (const Device& device : topology.devices)
      terminals += device.terminals.size();
   std::cout << file << ": " << counted(topology.devices.size(), "device") << ", "
             << counted(terminals, "terminal") << ", " << counted(topology.lines.size(), "line")
             << ", " << counted(topology.rules.size(), "rule") << ", "
             << counted(topology.faults.size(), "fault") << '\n';
   return kDone;
}

int replayLog(Bench& bench, const Invocation& in)
{
   std::ifstream log(in.replay);
   if (!log)
      throw Failure(kWrongUse,
                    in.replay + ": cannot be read: " + std::generic_category().message(errno));
   const Replay outcome = replay(bench, in.isDebug, log, in.replay);
   for (const std::string& difference : outcome.differences)
      std::cout << difference << '\n';
   std::cout << outcome.calls << " calls, " << outcome.differences.size() << " differences\n";
   return outcome.differences.empty() ? kDone : kNo;
}

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

class LogFile
{
public:
   explicit LogFile(const std::string& file)
      : file_(file)
      , stream_(file, std::ios::binary)
   {
      if (!stream_) throw Failure(kWrongUse, "cannot write " + file_ + ": " + why());
   }

   void write(const std::string& line)
   {
      if (isBroken_) return;
      stream_ << line << std::flush;
      if (stream_) return;
      isBroken_ = true;
      say("cannot write " + file_ + ": " + why() + "; calls are no longer logged");
   }
   bool isBroken() const { return isBroken_; }

private:
   static std::string why() { return std::generic_category().message(errno); }

   const std::string file_;
   std::ofstream stream_;
   bool isBroken_ = false;
};

void tellReady(const Invocation& in, const Service& service)
{
   std::string line = "ready";
   for (const std::string& endpoint : service.endpoints())
      line += "  " + endpoint;
   line += '\n';
   if (in.readyDescriptor >= 0) {
      const bool isWritten =
         ::write(in.readyDescriptor, line.data(), line.size()) == static_cast<ssize_t>(line.size());
      if (!isWritten || ::close(in.readyDescriptor) != 0)
         throw Failure(kWrongUse,
                       "--ready-fd " + std::to_string(in.readyDescriptor) +
                          " cannot be written to: " + std::generic_category().message(errno));
   } else if (in.command.empty())
      std::cout << line << std::flush;
}

class Simulation
{
public:
   Simulation(const Invocation& in, Topology topology)
      : in_(in)
      , bench_(std::move(topology))
   {
   }

   int run()
   {
      if (!in_.log.empty()) log_.emplace(in_.log);
      startServing();
      if (!in_.command.empty()) startCommand();
      service_->watch(signals_.descriptor(), [this] { takeSignal(); });
      if (command_)
         service_->watch(command_->descriptor(), [this] { service_->stop(); });
      else
         watchInput();
      if (in_.isWatching) startPainting();
      if (log_) service_->setLog([this](const std::string& line) { log_->write(line); });
      tellReady(in_, *service_);
      service_->run();
      if (command_) return command_->wait();
      return log_ && log_->isBroken() ? kBroken : status_;
   }

private:
   ServiceOptions options() const
   {
      ServiceOptions options;
      options.mostConnections = in_.mostConnections;
      options.isDebug = in_.isDebug;
      if (!in_.hasNoLocal) options.endpointDir = ZEROVA_ENDPOINT_DIR;
      if (folder_) options.endpointDir = folder_->path();
      if (!in_.endpointDir.empty())
         options.endpointDir = std::filesystem::absolute(in_.endpointDir).string();
      options.address = own_ ? own_->text() : in_.tcp;
      options.port = in_.port;
      if (!in_.hasNoLocator) options.locatorPort = in_.locatorPort;
      return options;
   }

   void startServing()
   {
      if (in_.tcp == "own") own_.emplace();
      if (!in_.command.empty() && !in_.hasNoLocal && in_.endpointDir.empty()) folder_.emplace();
      serve();
   }

   void serve()
   {
      try {
         service_ = std::make_unique<Service>(bench_, options());
      } catch (const std::runtime_error& error) {
         throw Failure(kNoEndpoint, error.what());
      }
      if (service_->mostConnections() < in_.mostConnections)
         say("the system gives files for " + std::to_string(service_->mostConnections()) +
             " clients at one time only");
   }

   void startCommand()
   {
      const std::string host = own_ ? own_->text() : in_.tcp;
      ::setenv("ZEROVA_SIMULATOR_HOST", in_.hasNoLocal ? host.c_str() : "", 1);
      try {
         if (in_.hasNoLocal)
            command_.emplace(in_.command);
         else
            command_.emplace(options().endpointDir, ZEROVA_ENDPOINT_DIR, in_.command);
      } catch (const NamespaceRefused& refused) {
         fallBack(refused.what());
      }
   }

   // What is left without namespaces: a host of our own among the loopback addresses.
   void fallBack(const std::string& why)
   {
      if (in_.tcp.empty()) {
         own_.emplace();
         service_.reset();
         serve();
      }
      const std::string host = own_ ? own_->text() : in_.tcp;
      say(why + ", so the command finds no local endpoint; open sessions to the host " + host +
          ", which is in ZEROVA_SIMULATOR_HOST");
      ::setenv("ZEROVA_SIMULATOR_HOST", host.c_str(), 1);
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
      service_->stop();
   }

   void watchInput()
   {
      const auto readOn = [this] {
         std::array<char, 4096> ignored{};
         const ssize_t count = ::read(STDIN_FILENO, ignored.data(), ignored.size());
         if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) service_->stop();
      };
      try {
         service_->watch(STDIN_FILENO, readOn);
      } catch (const std::system_error&) {
         // A plain file is always at its end soon; a closed input has ended.
         service_->stop();
      }
   }

   void startPainting()
   {
      painter_ = std::make_unique<Painter>(in_.picture, say);
      drawn_ = dotOf(bench_);
      painter_->draw(drawn_);
      service_->setChanged([this] {
         std::string dot = dotOf(bench_);
         if (dot == drawn_) return;
         drawn_ = std::move(dot);
         painter_->draw(drawn_);
      });
   }

   const Invocation& in_;
   const Signals signals_;
   Bench bench_;
   std::optional<LogFile> log_;
   std::optional<OwnFolder> folder_;
   std::optional<LoopbackAddress> own_;
   std::unique_ptr<Service> service_;
   std::optional<PrivateEndpoint> command_;
   std::string drawn_;
   std::unique_ptr<Painter> painter_;
   int status_ = kDone;
};

int drawOnce(const Bench& bench, const std::string& file)
{
   try {
      const std::string sentence = writePicture(dotOf(bench), file);
      if (!sentence.empty()) say(sentence);
      return kDone;
   } catch (const std::runtime_error& error) {
      throw Failure(kBroken, error.what());
   }
}

int perform(const Invocation& in)
{
   requireSense(in);
   Topology topology = topologyFrom(in);
   if (in.isCheck) return check(topology, in.file);
   if (in.replay.empty() && (in.picture.empty() || in.isWatching))
      return Simulation(in, std::move(topology)).run();
   Bench bench(std::move(topology));
   if (!in.replay.empty()) return replayLog(bench, in);
   return drawOnce(bench, in.picture);
}

} // namespace

int main(int argc, char** argv)
{
   // What stands behind "--" is the command's, whatever it looks like.
   char** const behind = std::find_if(argv + 1, argv + argc,
                                      [](const char* word) { return std::string(word) == "--"; });
   const bool hasCommand = behind != argv + argc;
   Invocation in;
   CLI::App app("Serves the routing interface with a bench that exists in a file only.",
                "zerova-simulator");
   try {
      declareOptions(app, in);
      app.set_version_flag("--version", "zerova-simulator " ZEROVA_VERSION);
      app.parse(static_cast<int>(behind - argv), argv);
      if (hasCommand) in.command.assign(behind + 1, argv + argc);
      refuse(hasCommand && in.command.empty(), "no command stands behind --");
      const int status = perform(in);
      if (!std::cout.flush())
         throw Failure(kBroken, "standard output cannot be written to: " +
                                   std::generic_category().message(errno));
      return status;
   } catch (const CLI::ParseError& error) {
      return app.exit(error, std::cout, std::cerr) == 0 ? kDone : kWrongUse;
   } catch (const Failure& failure) {
      say(failure.what());
      return failure.exitStatus;
   } catch (const CommandNotStarted& error) {
      say(error.what());
      return error.exitStatus;
   } catch (const BadLog& error) {
      say(error.what());
      return kWrongUse;
   } catch (const std::exception& error) {
      say(error.what());
      return kBroken;
   }
}
