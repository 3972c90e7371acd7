#include "tools/simulator/topology_file.h"

#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using zerova::simulator::addFault;
using zerova::simulator::Fault;
using zerova::simulator::readTopology;
using zerova::simulator::ReadTopology;
using zerova::simulator::readTopologyFile;
using zerova::simulator::Topology;

const std::string kHead = "zerova_topology = 1\n";
const std::string kTwoDevices = kHead + R"([[device]]
name = "timer1"
aliases = ["clock"]
modifiers = ["Invert"]
terminals = [ { name = "pulse", kind = "trigger", source = true, Connector = "front" } ]
[[device]]
name = "digitizer3"
terminals = [ { name = "start", kind = "trigger", destination = true } ]
)"; // nine lines

std::vector<std::string> mistakesIn(const std::string& text)
{
   std::vector<std::string> shown;
   for (const auto& mistake : readTopology(text, "bad.toml").mistakes)
      shown.push_back(mistake.shown());
   return shown;
}

std::vector<std::string> mistakesBehind(const std::string& text)
{
   return mistakesIn(kTwoDevices + text);
}

TEST(TopologyFile, WholeBenchIsRead)
{
   const ReadTopology read = readTopology(kTwoDevices + R"(
[[line]]
name = "trigger_line0"
kind = "trigger"
joins = ["TIMER1", "digitizer3"]
routes = 2
[[connect]]
device = "clock"
from = "pulse"
to = ["trigger_line0"]
[[route]]
from = "/timer1/pulse"
to = "/digitizer3/start"
via = ["trigger_line0"]
[[fault]]
method = "reserveRoute"
after = 3
times = 1
error = { code = -89307, json = '{"a":1}' }
)",
                                          "bench.toml");
   ASSERT_THAT(read.mistakes, IsEmpty());
   const Topology& bench = read.topology;
   ASSERT_EQ(bench.devices.size(), 2u);
   EXPECT_EQ(bench.devices[0].aliases, std::vector<std::string>{"clock"});
   EXPECT_EQ(bench.devices[0].terminals[0].attributes.at("Connector").str_attr, "front");
   EXPECT_EQ(bench.lines[0].routes, 2u);
   EXPECT_THAT(bench.lines[0].devices, ElementsAre(0, 1));
   EXPECT_EQ(bench.devices[0].connections[0].to, "trigger_line0");
   EXPECT_THAT(bench.rules[0].via, ElementsAre(0));
   EXPECT_EQ(bench.faults[0].after, 3u);
   EXPECT_EQ(bench.faults[0].code, -89307);
}

TEST(TopologyFile, NamesInQuestionComeWithLineColumnAndTheNearOne)
{
   EXPECT_THAT(mistakesBehind("[[line]]\nname = \"trigger_line0\"\nkind = \"trigger\"\n"
                              "joins = [\"timer1\", \"digitiser3\"]\n"),
               ElementsAre("bad.toml:13:20: line 'trigger_line0' joins the device 'digitiser3', "
                           "which the file does not have; is 'digitizer3' meant?"));
}

TEST(TopologyFile, AllMistakesAreToldInTheirOrder)
{
   EXPECT_THAT(mistakesBehind("[[device]]\nnam = \"third\"\n[[line]]\nkind = 7\n"),
               ElementsAre("bad.toml:10:1: the device has no 'name'",
                           "bad.toml:11:1: a device has no key 'nam'; is 'name' meant?",
                           "bad.toml:12:1: the line has no 'name'",
                           "bad.toml:12:1: the line has no 'joins'",
                           "bad.toml:13:8: 'kind' must be a text, and is an integer"));
}

TEST(TopologyFile, HalfWrittenFileIsToldWhereItBreaksOff)
{
   const auto mistakes = mistakesBehind("[[line]]\nname = \"trig");
   ASSERT_EQ(mistakes.size(), 1u);
   EXPECT_THAT(mistakes[0], testing::StartsWith("bad.toml:11:"));
}

TEST(TopologyFile, TextThatIsNotUtf8IsAMistake)
{
   const auto mistakes = mistakesIn(kHead + "[[device]]\nname = \"t\xE4ster\"\n");
   ASSERT_EQ(mistakes.size(), 1u);
   EXPECT_THAT(mistakes[0], testing::StartsWith("bad.toml:3:"));
}

TEST(TopologyFile, FormatVersionMustBeThereAndKnown)
{
   EXPECT_THAT(mistakesIn(""),
               ElementsAre("bad.toml: this is no topology: it has no zerova_topology = 1"));
   EXPECT_THAT(mistakesIn("zerova_topology = 2\n"),
               ElementsAre("bad.toml:1:19: format version 2 is not known; 1 is"));
}

TEST(TopologyFile, UnknownKeyIsAMistake)
{
   EXPECT_THAT(mistakesIn(kHead + "[[devices]]\nname = \"a\"\n"),
               ElementsAre("bad.toml:2:3: the file has no key 'devices'; is 'device' meant?"));
}

TEST(TopologyFile, NamesAreThereOnce)
{
   EXPECT_THAT(
      mistakesBehind("[[device]]\nname = \"Clock\"\n"),
      ElementsAre("bad.toml:11:8: there is a device 'Clock' already (case does not count)"));
}

TEST(TopologyFile, NameMustFitIntoAUri)
{
   EXPECT_THAT(
      mistakesBehind("[[device]]\nname = \"a/b\"\n"),
      ElementsAre("bad.toml:11:8: a name needs a letter and has no blank, slash or control "
                  "character"));
}

TEST(TopologyFile, AttributeThatLooksLikeAKeyIsAMistake)
{
   EXPECT_THAT(
      mistakesBehind("[[device]]\nname = \"a\"\n"
                     "terminals = [{ name = \"x\", kind = \"y\", sorce = true }]\n"),
      ElementsAre("bad.toml:12:40: the attribute 'sorce' looks like the key 'source'; is that "
                  "meant?"));
}

TEST(TopologyFile, AttributeIsATextOrABool)
{
   EXPECT_THAT(
      mistakesBehind("[[device]]\nname = \"a\"\n"
                     "terminals = [{ name = \"x\", kind = \"y\", latency = 40 }]\n"),
      ElementsAre("bad.toml:12:50: the attribute 'latency' is a text, true or false, and this "
                  "is an integer"));
}

TEST(TopologyFile, LineHasAttributesLikeATerminal)
{
   const std::string line = "[[line]]\nname = \"l\"\nkind = \"k\"\njoins = [\"timer1\"]\n";
   const ReadTopology read = readTopology(kTwoDevices + line + "Connector = \"rear\"\n", "b");
   EXPECT_THAT(read.mistakes, IsEmpty());
   EXPECT_EQ(read.topology.lines.at(0).attributes.at("Connector").str_attr, "rear");
   EXPECT_THAT(mistakesBehind(line + "route = true\n"),
               ElementsAre("bad.toml:14:1: the attribute 'route' looks like the key 'routes'; is "
                           "that meant?"));
}

TEST(TopologyFile, LineHasANameOfItsOwnAtEachDevice)
{
   EXPECT_THAT(
      mistakesBehind("[[line]]\nname = \"pulse\"\nkind = \"trigger\"\njoins = [\"timer1\"]\n"),
      ElementsAre(
         "bad.toml: the device 'timer1' has a terminal named like the line 'pulse' that joins "
         "it"));
}

TEST(TopologyFile, ConnectionNamesWhatTheDeviceHas)
{
   EXPECT_THAT(
      mistakesBehind("[[connect]]\ndevice = \"timer1\"\nfrom = \"puls\"\nto = \"pulse\"\n"),
      ElementsAre("bad.toml:12:8: the device 'timer1' has no terminal and no line 'puls'; is "
                  "'pulse' meant?"));
}

TEST(TopologyFile, RuleNamesTerminalsAndLinesThatAreThere)
{
   EXPECT_THAT(
      mistakesBehind("[[route]]\nfrom = \"/timer1/pulse\"\nto = \"/digitizer3/stat\"\n"
                     "via = [\"trigger_line0\"]\n"),
      ElementsAre("bad.toml:12:6: the device 'digitizer3' has no terminal 'stat'; is 'start' "
                  "meant?",
                  "bad.toml:13:8: the file has no line 'trigger_line0'"));
}

TEST(TopologyFile, RuleDoesNotContradictItself)
{
   EXPECT_THAT(
      mistakesBehind("[[route]]\nfrom = \"/timer1/pulse\"\nto = \"/digitizer3/start\"\n"),
      ElementsAre("bad.toml:10:1: the rule says nothing: give it one of via, avoid and forbid"));
}

TEST(TopologyFile, FaultDoesOneThing)
{
   EXPECT_THAT(
      mistakesBehind("[[fault]]\nmethod = \"reserveRoute\"\ndrop = true\nhang = true\n"),
      ElementsAre("bad.toml:10:1: a fault does one of delay_ms, error, drop, hang, cut and "
                  "garbage; this one does several"));
   EXPECT_THAT(
      mistakesBehind("[[fault]]\nmethod = \"reserveRoute\"\n"),
      ElementsAre("bad.toml:10:1: a fault does one of delay_ms, error, drop, hang, cut and "
                  "garbage; this one does none"));
}

TEST(TopologyFile, FaultNamesAMethodOfTheService)
{
   EXPECT_THAT(mistakesBehind("[[fault]]\nmethod = \"reserveroute\"\ndrop = true\n"),
               ElementsAre("bad.toml:11:10: the service has no method 'reserveroute'; is "
                           "'reserveRoute' meant?"));
}

TEST(TopologyFile, NumbersOfAFaultHaveBounds)
{
   EXPECT_THAT(mistakesBehind("[[fault]]\nafter = -1\ntimes = 0\nerror = { code = 0 }\n"),
               ElementsAre("bad.toml:11:9: 'after' must be 0 or more",
                           "bad.toml:12:9: 'times' must be 1 or more",
                           "bad.toml:13:18: 0 is the code of success"));
}

TEST(TopologyFile, TextOfAnErrorIsAJsonObject)
{
   EXPECT_THAT(mistakesBehind("[[fault]]\nerror = { code = -1, json = '[1' }\n"),
               ElementsAre("bad.toml:11:29: 'json' must be the text of a JSON object"));
}

TEST(TopologyFile, GarbageIsHexadecimal)
{
   const ReadTopology read = readTopology(kTwoDevices + "[[fault]]\ngarbage = \"00fF\"\n", "f");
   ASSERT_THAT(read.mistakes, IsEmpty());
   EXPECT_EQ(read.topology.faults[0].bytes, std::string("\0\xFF", 2));
   EXPECT_THAT(
      mistakesBehind("[[fault]]\ngarbage = \"0x1\"\n"),
      ElementsAre("bad.toml:11:11: 'garbage' must be bytes of two hexadecimal digits each, "
                  "such as \"00ff\""));
}

TEST(TopologyFile, FaultOfTheCommandLineIsAppended)
{
   Topology bench;
   EXPECT_THAT(addFault(bench, "method = 'programRoute', delay_ms = 250"), IsEmpty());
   EXPECT_THAT(addFault(bench, " { hang = true } "), IsEmpty());
   ASSERT_EQ(bench.faults.size(), 2u);
   EXPECT_EQ(bench.faults[0].delayMs, 250u);
   EXPECT_EQ(bench.faults[1].action, Fault::Action::kHang);
}

TEST(TopologyFile, FaultOfTheCommandLineThatIsWrongIsTold)
{
   Topology bench;
   const auto mistakes = addFault(bench, "method = 'x', hang = true");
   ASSERT_EQ(mistakes.size(), 1u);
   EXPECT_EQ(mistakes[0].shown(),
             "--fault: the service has no method 'x' (in 'method = 'x', hang = true')");
   EXPECT_THAT(bench.faults, IsEmpty());
}

TEST(TopologyFile, FileThatCannotBeReadIsTold)
{
   const ScratchFolder scratch;
   EXPECT_EQ(readTopologyFile(scratch.path("none")).mistakes.at(0).shown(),
             scratch.path("none") + ": cannot be read: No such file or directory");
   EXPECT_THAT(readTopologyFile(scratch.path()).mistakes.at(0).shown(),
               AnyOf(scratch.path() + ": cannot be read: Is a directory",
                     scratch.path() + ": cannot be read: Permission denied")); // Windows
}

TEST(TopologyFile, ExamplesHaveNoMistake)
{
   for (const char* name : {"trigger_bench", "switch_tree", "two_chassis"})
      EXPECT_THAT(readTopologyFile(ZEROVA_BENCHES_DIR "/" + std::string(name) + ".toml").mistakes,
                  IsEmpty())
         << name;
}

} // namespace
