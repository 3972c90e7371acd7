#include "tools/zerovactl/arguments.h"

#include "tools/zerovactl/language.h"
#include "tools/zerovactl/shown_text.h"

#include "tools/support/near_name.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>

namespace zerovactl {

namespace {

constexpr char kAbout[] =
   "Asks the signal-routing service of a bench, and tells what stands in the way.\n";

constexpr char kStatuses[] =
   "Results go to standard output, all else to standard error.\n"
   "Exit status: 0 done, 1 the service refused, 2 wrong use, 3 no session, 4 the session broke,\n"
   "5 the answer is no, 124 --timeout ran out, 129 the terminal was lost, 130 Ctrl-C,\n"
   "143 a request to terminate.\n"
   "\"zerovactl COMMAND --help\" shows examples. \"man zerovactl\" tells the rest.\n";

// What is declared once and filled in when the command line is read.
struct Parsed
{
   Invocation invocation;
   std::string language;
   PingOptions ping;
   TerminalsOptions terminals;
   RouteOptions route;
   ReleaseOptions release;
   std::string uri;
   std::string otherUri;
   std::string resetType;
   DeviceResetOptions deviceReset;
   WatchOptions watch;
   std::vector<std::string> things;
   std::string folder;
   TraceOptions trace;
};

using Run = std::function<int(Context&)>;

class Commands
{
public:
   explicit Commands(Parsed& parsed)
      : parsed_(parsed)
      , app_(kAbout, "zerovactl")
   {
      app_.allow_windows_style_options(false); // on no system: terminals begin with a slash
      app_.require_subcommand(0, 1);
      app_.fallthrough();
      app_.get_formatter()->column_width(34);
      addCommonOptions();
      addPing();
      addDevices();
      addTerminals();
      addRoute();
      addRelease();
      addUri();
      addReset();
      addWatch();
      addExplain();
      addSettings();
      addTrace();
      app_.footer(std::string(kStatuses));
   }

   CLI::App& app() { return app_; }

private:
   // A command's examples stand at the end of its help.
   CLI::App* add(CLI::App& parent, const std::string& name, const std::string& about,
                 const std::string& examples, Run run)
   {
      CLI::App* const command = parent.add_subcommand(name, about);
      command->footer("Examples:\n" + examples);
      command->callback([this, command, run = std::move(run)] {
         if (command->get_subcommands().empty()) parsed_.invocation.run = run;
      });
      return command;
   }

   void addCommonOptions()
   {
      Invocation& invocation = parsed_.invocation;
      app_.add_option("--host", invocation.target.host, "the service of another machine")
         ->type_name("HOST");
      app_.add_flag("--immediate", invocation.target.isImmediate,
                    "the endpoint for immediate routes");
      app_
         .add_option("--timeout", invocation.timeout,
                     "end with status 124 if it is not done in so many seconds")
         ->type_name("S")
         ->check(CLI::Range(0.001, 1e9));
      app_.add_flag("--json", invocation.asJson,
                    "print one JSON document (watch, trace, route --hold: one line an event)");
      app_
         .add_option("--lang", parsed_.language,
                     "language of failures: en, fr, de, ja, ko, zh; default that of the locale")
         ->type_name("L");
      app_.add_flag_callback(
         "--version", [this] { parsed_.invocation.run = showVersion; },
         "print the versions and folders in use");
   }

   void addPing()
   {
      PingOptions& options = parsed_.ping;
      CLI::App* const command =
         add(app_, "ping", "go through the opening of a session, step by step",
             "  zerovactl ping                        why does it not open?\n"
             "  zerovactl ping --host bench-3 --count 5\n"
             "  zerovactl ping --quiet && run-tests   status 0 or 5, and nothing printed\n",
             [&options](Context& context) { return ping(context, options); });
      command->add_option("--count", options.count, "round trips to measure")
         ->type_name("N")
         ->check(CLI::Range(1, 1000000));
      command->add_flag("-q,--quiet", options.isQuiet, "print nothing; the exit status tells");
   }

   void addDevices()
   {
      add(app_, "devices", "list the devices on which the service can route",
          "  zerovactl devices\n"
          "  zerovactl devices --host bench-3 --json\n",
          devices);
   }

   void addTerminals()
   {
      TerminalsOptions& options = parsed_.terminals;
      CLI::App* const command =
         add(app_, "terminals", "list the terminals of a device",
             "  zerovactl terminals timer1\n"
             "  zerovactl terminals timer1 --attributes Name,Kind,IsSource\n",
             [&options](Context& context) { return terminals(context, options); });
      command->add_option("DEVICE", options.device, "the device")->required();
      command
         ->add_option("--attributes", options.attributes,
                      "attributes to show, separated by commas; - for one that a terminal has not")
         ->delimiter(',')
         ->type_name("A,B")
         ->allow_extra_args(false);
   }

   void addRoute()
   {
      RouteOptions& options = parsed_.route;
      CLI::App* const command =
         add(app_, "route", "calculate a route and show its way; reserve or program it",
             "  zerovactl route /timer1/pulse /digitizer3/start\n"
             "  zerovactl route /timer1/pulse /digitizer3/start --constraint Line=trigger_line1 "
             "--program --hold\n"
             "  zerovactl route /matrix1/ch0 /matrix1/ch1 --immediate --program\n",
             [&options](Context& context) { return route(context, options); });
      command->add_option("SRC", options.source, "terminal where it begins")->required();
      command->add_option("DST", options.destination, "terminal where it ends")->required();
      const struct
      {
         const char* name;
         std::vector<std::string>& pairs;
         const char* about;
      } maps[] = {
         {"--constraint", options.constraints, "a constraint; true and false are booleans"},
         {"--source-constraint", options.sourceConstraints, "a constraint on the source"},
         {"--destination-constraint", options.destinationConstraints,
          "a constraint on the destination"},
         {"--modifier", options.modifiers, "a modifier that is required"},
         {"--destination-modifier", options.destinationModifiers,
          "a modifier that is required at the destination"},
         {"--optional-modifier", options.optionalModifiers, "a modifier that would be welcome"}};
      for (const auto& map : maps)
         command->add_option(map.name, map.pairs, map.about)
            ->type_name("N=V")
            ->expected(1)
            ->take_all();
      command->add_option("--owner", options.owner, "name of the route's owner")->type_name("NAME");
      command->add_flag("--multi-device", options.isMultiDevice, "it must span several devices");
      CLI::Option* const reserves =
         command->add_flag("--reserve", options.reserves, "take it to reserved");
      command->add_flag("--program", options.programs, "take it to programmed")->excludes(reserves);
      command->add_flag("--hold", options.holds,
                        "keep it until Ctrl-C, or the end of an input that is a pipe");
   }

   void addRelease()
   {
      ReleaseOptions& options = parsed_.release;
      CLI::App* const command =
         add(app_, "release", "destroy immediate routes",
             "  zerovactl release --between /matrix1/ch0 /matrix1/ch1\n"
             "  zerovactl release --device matrix1\n",
             [&options](Context& context) { return release(context, options); });
      command->add_option("--device", options.device, "all on a device")->type_name("DEVICE");
      command->add_option("--from", options.from, "all that begin at a terminal")->type_name("URI");
      command->add_option("--to", options.to, "all that end at a terminal")->type_name("URI");
      command->add_option("--between", options.between, "the one between two terminals")
         ->type_name("SRC DST")
         ->expected(2);
   }

   void addUri()
   {
      CLI::App* const group = app_.add_subcommand("uri", "ask about terminal URIs");
      group->require_subcommand(1);
      CLI::App* const check =
         add(*group, "check", "is it a terminal? status 5 if not",
             "  zerovactl uri check /timer1/pulse\n",
             [this](Context& context) { return checkUri(context, parsed_.uri); });
      check->add_option("URI", parsed_.uri, "the terminal")->required();
      CLI::App* const compare =
         add(*group, "compare", "do both name one terminal? status 5 if not",
             "  zerovactl uri compare /clock/pulse /timer1/pulse\n", [this](Context& context) {
                return compareUris(context, parsed_.uri, parsed_.otherUri);
             });
      compare->add_option("URI1", parsed_.uri, "a terminal")->required();
      compare->add_option("URI2", parsed_.otherUri, "another")->required();
   }

   void addReset()
   {
      CLI::App* const group = app_.add_subcommand("reset", "reset a terminal or a device");
      group->require_subcommand(1);
      CLI::App* const terminal = add(
         *group, "terminal", "reset a terminal",
         "  zerovactl reset terminal /matrix1/ch1 --type disconnect\n", [this](Context& context) {
            return resetTerminal(context, parsed_.uri, parsed_.resetType);
         });
      terminal->add_option("URI", parsed_.uri, "the terminal")->required();
      terminal->add_option("--type", parsed_.resetType, "how, in the service's words")
         ->type_name("TYPE")
         ->required();
      DeviceResetOptions& options = parsed_.deviceReset;
      CLI::App* const device =
         add(*group, "device", "reset a device",
             "  zerovactl reset device matrix1\n"
             "  zerovactl reset device matrix1 --complete\n",
             [&options](Context& context) { return resetDevice(context, options); });
      device->add_option("DEVICE", options.device, "the device")->required();
      device->add_flag("--initiate", options.initiates, "begin the reset alone");
      device->add_flag("--complete", options.completes, "end one that was begun");
   }

   void addWatch()
   {
      WatchOptions& options = parsed_.watch;
      CLI::App* const command =
         add(app_, "watch", "tell each change of terminal information, loss and return",
             "  zerovactl watch\n"
             "  zerovactl watch --interval 500ms --json\n",
             [&options](Context& context) { return watch(context, options); });
      command
         ->add_option_function<std::string>(
            "--interval",
            [&options](const std::string& text) { options.interval = intervalIn(text); },
            "time between looks, such as 500ms or 2s (default 1s)")
         ->type_name("TIME");
      command->add_option("--count", options.count, "end after so many events")
         ->type_name("N")
         ->check(CLI::Range(1, 1000000000));
   }

   static std::chrono::milliseconds intervalIn(const std::string& text)
   {
      std::size_t end = 0;
      double number = 0;
      try {
         number = std::stod(text, &end);
      } catch (const std::exception&) {
         end = 0;
      }
      const std::string unit = text.substr(end);
      const double ms = unit == "ms" ? number : number * 1000;
      if (end == 0 || !(unit == "ms" || unit == "s" || unit.empty()) || !(ms >= 1) || ms > 1e9)
         throw CLI::ValidationError("--interval",
                                    "\"" + shown(text) + "\" is no time such as 500ms");
      return std::chrono::milliseconds(static_cast<std::int64_t>(std::lround(ms)));
   }

   void addExplain()
   {
      CLI::App* const command =
         add(app_, "explain", "tell in words what a status code or a status JSON means",
             "  zerovactl explain -89168 --lang de\n"
             "  zerovactl explain @failure.json\n"
             "  journalctl -u bench -o cat | grep '^{' | tail -1 | zerovactl explain -\n",
             [this](Context& context) { return explain(context, parsed_.things); });
      command
         ->add_option("WHAT", parsed_.things,
                      "a code, a status JSON, @FILE with one, - for standard input")
         ->required();
      command->allow_extras(); // a code begins like an option
   }

   void addSettings()
   {
      CLI::App* const group = add(app_, "settings", "show what the translator sees on this machine",
                                  "  zerovactl settings\n"
                                  "  zerovactl settings check /opt/trevanta/shared/Errors\n",
                                  showSettings);
      CLI::App* const check = add(
         *group, "check", "find what is wrong in error description files; status 5 if anything is",
         "  zerovactl settings check /opt/trevanta/shared/Errors\n",
         [this](Context& context) { return checkSettings(context, parsed_.folder); });
      check->add_option("FOLDER", parsed_.folder, "the folder with those of the languages")
         ->required();
   }

   void addTrace()
   {
      TraceOptions& options = parsed_.trace;
      CLI::App* const command =
         add(app_, "trace", "show each call between a client and a service (Linux alone)",
             "  zerovactl trace -- ./my_driver_test     all that the program asks on this machine\n"
             "  zerovactl trace --listen com.zerova.traced --to com.zerova\n"
             "  zerovactl trace --listen 127.0.0.9 --to bench-3 --record bench.trace\n"
             "  zerovactl trace --read bench.trace --json\n",
             [&options](Context& context) { return trace(context, options); });
      command
         ->add_option("--listen", options.listen,
                      "where clients come: an endpoint's name or path, ADDRESS:PORT, or a loopback "
                      "ADDRESS, which gets a locator")
         ->type_name("NAME");
      command
         ->add_option(
            "--to", options.to,
            "the service: an endpoint's name or path, HOST:PORT, or a HOST, whose locator is asked")
         ->type_name("NAME");
      command->add_option("--record", options.record, "keep every byte in a file")
         ->type_name("FILE");
      command->add_option("--read", options.read, "show what a file holds")->type_name("FILE");
      command->add_option("COMMAND", options.command, "a program whose calls are shown")
         ->type_name("-- COMMAND");
   }

   Parsed& parsed_;
   CLI::App app_;
};

void check(Invocation& invocation, const std::string& language, bool isRoute)
{
   if (!invocation.target.host.empty() && invocation.target.isImmediate && !isRoute)
      throw Failure(kWrongUse, "--host and --immediate contradict each other: the endpoint for "
                               "immediate routes is of this machine alone");
   invocation.target.language = userLanguage();
   if (language.empty()) return;
   const auto known = languageOf(language);
   if (!known)
      throw Failure(kWrongUse,
                    "--lang knows en, fr, de, ja, ko and zh, not \"" + shown(language) + "\"");
   invocation.target.language = *known;
}

// The command that was given, of those of a group the inner one.
const CLI::App& givenCommand(const CLI::App& app)
{
   const auto given = app.get_subcommands();
   return given.empty() ? app : givenCommand(*given.front());
}

std::vector<std::string> commandsOf(const CLI::App& app)
{
   std::vector<std::string> names;
   for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
      names.push_back(command->get_name());
   return names;
}

void addOptionsOf(const CLI::App& app, std::vector<std::string>& names)
{
   for (const CLI::Option* option : app.get_options())
      for (const std::string& name : option->get_lnames())
         names.push_back("--" + name);
}

// A sentence about the first word that is no command and no option, and what it was probably to be.
// Empty where the mistake is another one.
std::string unknownWord(const CLI::App& app)
{
   const auto words = app.remaining(true);
   if (words.empty()) return {};
   const std::string& word = words.front();
   const CLI::App& command = givenCommand(app);
   const bool isOption = !word.empty() && word.front() == '-';
   std::vector<std::string> names = isOption ? std::vector<std::string>() : commandsOf(command);
   if (isOption) {
      addOptionsOf(app, names);
      for (const CLI::App* one = &command; one != &app; one = one->get_parent())
         addOptionsOf(*one, names);
   }
   const std::string near = zerova::tools::nearName(word, names);
   if (near.empty() && (names.empty() || isOption)) return {};
   std::string kind = isOption ? "option" : "command";
   if (&command != &app) kind += " of " + command.get_name();
   return "\"" + shown(word) + "\" is no " + kind +
          (near.empty() ? "; --help lists them" : "; did you mean \"" + near + "\"?");
}

} // namespace

bool asksForJson(const std::vector<std::string>& arguments)
{
   const auto end = std::find(arguments.begin(), arguments.end(), "--");
   return std::find(arguments.begin(), end, "--json") != end;
}

std::optional<Invocation> parseArguments(std::vector<std::string> arguments, std::string& help)
{
   // What runs later refers to both.
   static Parsed parsed;
   static Commands commands(parsed);
   CLI::App& app = commands.app();
   try {
      std::reverse(arguments.begin(), arguments.end()); // as the parser wants them
      app.parse(std::move(arguments));
   } catch (const CLI::CallForHelp&) {
      help = app.help();
      return {};
   } catch (const CLI::ParseError& error) {
      if (const std::string words = unknownWord(app); !words.empty())
         throw Failure(kWrongUse, words);
      std::string text = error.what();
      std::replace(text.begin(), text.end(), '\n', ' ');
      throw Failure(kWrongUse, shown(text) + "; --help tells more");
   }
   check(parsed.invocation, parsed.language, app.got_subcommand("route"));
   if (!parsed.invocation.run) throw Failure(kWrongUse, "which command? --help lists them");
   return parsed.invocation;
}

} // namespace zerovactl
