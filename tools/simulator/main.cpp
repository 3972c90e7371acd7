// zerova-simulator: a routing service without hardware.
#include "tools/simulator/bench.h"
#include "tools/simulator/invocation.h"
#include "tools/simulator/picture.h"
#include "tools/simulator/replay.h"
#include "tools/simulator/serving.h"
#include "tools/simulator/topology_file.h"

#include "tools/support/process_start.h"
#include "tools/support/utf8_path.h"

#include <CLI/CLI.hpp>
#include <thrift/TOutput.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

using namespace zerova::simulator;

void declareOptions(CLI::App& app, Invocation& in)
{
   app.allow_windows_style_options(false); // a file may begin with a slash
   app.footer(helpOfSystem().footer);
   app.add_option("FILE", in.file, "The bench, in TOML");
   app.add_option("--fault", in.faults, "One more fault, as the inside of a [[fault]] of the file")
      ->type_name("FAULT")
      ->allow_extra_args(false);
   app.add_option("--endpoint-dir", in.endpointDir, helpOfSystem().endpointDir)
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
   app.add_flag("--stay", in.stays, "Serve on when standard input ends");
   declareOptionsOfSystem(app, in);
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
   refuse(in.stays && !in.command.empty(),
          "--stay is for serving without a command, which ends with the command");
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
   std::ifstream log(zerova::tools::pathOf(in.replay));
   if (!log)
      throw Failure(kWrongUse,
                    in.replay + ": cannot be read: " + std::generic_category().message(errno));
   const Replay outcome = replay(bench, in.isDebug, log, in.replay);
   for (const std::string& difference : outcome.differences)
      std::cout << difference << '\n';
   std::cout << outcome.calls << " calls, " << outcome.differences.size() << " differences\n";
   return outcome.differences.empty() ? kDone : kNo;
}

int drawOnce(const Bench& bench, const std::string& file)
{
   try {
      const std::string sentence =
         writePicture(dotOf(bench), file, Patience(std::chrono::minutes(10)));
      if (!sentence.empty()) say(sentence);
      return kDone;
   } catch (const std::runtime_error& error) {
      throw Failure(kBroken, error.what());
   }
}

int perform(const Invocation& in)
{
   requireSense(in);
   requireThatSystemCan(in);
   Topology topology = topologyFrom(in);
   if (in.isCheck) return check(topology, in.file);
   if (in.replay.empty() && (in.picture.empty() || in.isWatching))
      return serve(in, std::move(topology));
   Bench bench(std::move(topology));
   if (!in.replay.empty()) return replayLog(bench, in);
   return drawOnce(bench, in.picture);
}

} // namespace

void zerova::simulator::say(const std::string& sentence)
{
   std::cerr << "zerova-simulator: " << sentence << std::endl;
}

int main(int argc, char** argv)
{
   zerova::tools::holdStandardStreams();
   const std::vector<std::string> words = zerova::tools::commandLine(argc, argv);
   // What stands behind "--" is the command's, whatever it looks like.
   const auto behind = std::find(words.begin(), words.end(), "--");
   const bool hasCommand = behind != words.end();
   // What a client sends amiss ends its connection, and is no business of the user's.
   apache::thrift::GlobalOutput.setOutputFunction([](const char*) {});
   Invocation in;
   CLI::App app("Serves the routing interface with a bench that exists in a file only.",
                "zerova-simulator");
   try {
      declareOptions(app, in);
      app.set_version_flag("--version", "zerova-simulator " ZEROVA_VERSION);
      app.parse(std::vector<std::string>(std::make_reverse_iterator(behind), words.rend()));
      if (hasCommand) in.command.assign(behind + 1, words.end());
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
   } catch (const BadLog& error) {
      say(error.what());
      return kWrongUse;
   } catch (const std::exception& error) {
      say(error.what());
      return kBroken;
   }
}
