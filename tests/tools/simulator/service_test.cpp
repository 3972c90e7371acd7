#include "tools/simulator/service.h"

#include "service/wire_bytes.h"
#include "support/peak_memory.h"
#include "tools/simulator/replay.h"
#include "tools/simulator/running_service.h"
#include "unit/service/client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zerova;
using namespace zerova::simulator;
using test::Client;
using test::peakMemory;
using test::readToEnd;
using test::readUpTo;
using test::Stream;
using test::WireBytes;
using test::writeAll;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

std::string call(const std::string& method)
{
   return WireBytes().message(test::wire::kCall, method).stop().frame();
}

RouteAttributes reserved()
{
   RouteAttributes attributes;
   attributes.__set_routeState(RouteState::RESERVED);
   return attributes;
}

std::int32_t codeOf(const std::function<void()>& action)
{
   try {
      action();
   } catch (const ThriftStatus& status) {
      return status.code;
   }
   return 0;
}

TEST(SimulatorService, AnswersAtBothLocalEndpoints)
{
   const RunningService running(exampleBench("trigger_bench"));
   std::vector<std::string> devices;
   (*running.connect())->getRoutableDevices(devices);
   EXPECT_THAT(devices, ElementsAre("matrix1", "timer1", "digitizer3"));
   (*running.connect("com.zerova.immediate"))->getRoutableDevices(devices);
   EXPECT_EQ(devices.size(), 3u);
}

TEST(SimulatorService, RoutesOfTheImmediateEndpointStay)
{
   RunningService running(exampleBench("trigger_bench"));
   (*running.connect("com.zerova.immediate"))
      ->calculateRoute("/timer1/pulse", "/digitizer3/start", reserved());
   const auto next = running.connect();
   EXPECT_EQ(codeOf([&] { (*next)->calculateRoute("/timer1/pulse", "/digitizer3/start", {}); }),
             -89308);
   (*next)->destroyImmediateRoute("/timer1/pulse", "/digitizer3/start");
   EXPECT_EQ(codeOf([&] { (*next)->calculateRoute("/timer1/pulse", "/digitizer3/start", {}); }), 0);
}

TEST(SimulatorService, RoutesEndWithTheirSession)
{
   RunningService running(exampleBench("trigger_bench"));
   const auto watcher = running.connect();
   auto owner = running.connect();
   (*owner)->calculateRoute("/timer1/pulse", "/digitizer3/start", reserved());
   const std::int32_t before = (*watcher)->getSystemChangeNumber();
   owner.reset();
   while ((*watcher)->getSystemChangeNumber() == before) {
   }
   EXPECT_EQ(
      codeOf([&] { (*watcher)->calculateRoute("/timer1/pulse", "/digitizer3/start", reserved()); }),
      0);
}

TEST(SimulatorService, TcpIsFoundByWayOfTheLocator)
{
   const test::LoopbackAddress address;
   const RunningService running(exampleBench("trigger_bench"),
                                {.address = address.text(), .locatorPort = 3580});
   Stream locator = Stream::connectTcp(address.text(), 3580);
   ASSERT_TRUE(writeAll(locator, "GET Trevanta%2FZerova HTTP/1.0\r\n\r\n"));
   EXPECT_THAT(readToEnd(locator),
               testing::HasSubstr("Mapping=" + std::to_string(running.service().port()) + "\r\n"));
   Client client(Stream::connectTcp(address.text(), running.service().port()));
   EXPECT_TRUE(client->validateTerminalURI("/timer1/pulse"));
}

TEST(SimulatorService, SecondServiceIsRefusedWithASentence)
{
   const RunningService running(exampleBench("trigger_bench"));
   Bench bench(exampleBench("trigger_bench"));
   try {
      const Service second(bench, {.endpointDir = running.folder()});
      FAIL();
   } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), StartsWith("another process serves the endpoint "));
      EXPECT_THAT(error.what(), EndsWith(running.folder() + "/com.zerova"));
   }
   EXPECT_NO_THROW(running.connect());
}

TEST(SimulatorService, LeavesNothingBehind)
{
   std::string folder;
   {
      const RunningService running(exampleBench("trigger_bench"));
      folder = running.folder();
      EXPECT_NO_THROW(running.connect());
   }
   EXPECT_ANY_THROW(Stream::connectLocal("com.zerova", folder));
   EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST(SimulatorFaults, ErrorStandsInForTheCallAsOftenAsThePlanSays)
{
   RunningService failing(exampleWithFault(
      R"(method = "calculateRoute", after = 1, times = 1, error = { code = -7, json = '{"a":1}' })"));
   const auto client = failing.connect();
   const auto calculate = [&] {
      (*client)->calculateRoute("/timer1/pulse", "/digitizer3/start", {});
   };
   EXPECT_EQ(codeOf(calculate), 0);
   EXPECT_EQ(codeOf(calculate), -7);
   EXPECT_EQ(codeOf(calculate), 0);
   failing.finish();
   EXPECT_EQ(failing.log().at(3)["fault"], "error");
}

TEST(SimulatorFaults, DelayHoldsTheAnswerAndNobodyElses)
{
   const RunningService running(
      exampleWithFault(R"(method = "getSystemChangeNumber", times = 1, delay_ms = 300)"));
   Stream slow = running.connectRaw();
   const auto other = running.connect();
   const auto begin = std::chrono::steady_clock::now();
   ASSERT_TRUE(writeAll(slow, call("getSystemChangeNumber")));
   EXPECT_FALSE((*other)->isDebug());
   EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
   EXPECT_EQ(readUpTo(slow, 4).size(), 4u);
   EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(300));
}

TEST(SimulatorFaults, ClientThatGoesWhileItWaitsKeepsNobodyFromAnAnswer)
{
   const RunningService running(
      exampleWithFault(R"(method = "getSystemChangeNumber", delay_ms = 300)"));
   Stream waiting = running.connectRaw();
   {
      Stream going = running.connectRaw();
      ASSERT_TRUE(writeAll(going, call("getSystemChangeNumber")));
   }
   ASSERT_TRUE(writeAll(waiting, call("getSystemChangeNumber")));
   EXPECT_EQ(readUpTo(waiting, 4).size(), 4u);
}

TEST(SimulatorFaults, DropEndsTheConnectionWithoutAnAnswer)
{
   const RunningService running(exampleWithFault(R"(method = "isDebug", drop = true)"));
   Stream client = running.connectRaw();
   ASSERT_TRUE(writeAll(client, call("isDebug")));
   EXPECT_EQ(readToEnd(client), "");
}

TEST(SimulatorFaults, CutEndsTheConnectionBehindTheLength)
{
   const RunningService running(exampleWithFault(R"(method = "isDebug", cut = true)"));
   Stream client = running.connectRaw();
   ASSERT_TRUE(writeAll(client, call("isDebug")));
   const std::string length = readToEnd(client);
   ASSERT_EQ(length.size(), 4u);
   EXPECT_GT(static_cast<unsigned char>(length[3]), 0);
}

TEST(SimulatorFaults, GarbageStandsInForTheAnswer)
{
   const RunningService running(exampleWithFault(R"(method = "isDebug", garbage = "00ff17")"));
   Stream client = running.connectRaw();
   ASSERT_TRUE(writeAll(client, call("isDebug")));
   EXPECT_EQ(readUpTo(client, 3), std::string("\x00\xFF\x17", 3));
}

TEST(SimulatorFaults, HungCallIsCarriedOutAndNeverAnswered)
{
   RunningService running(exampleWithFault(R"(method = "reserveRoute", hang = true)"));
   {
      const auto other = running.connect();
      const std::int32_t before = (*other)->getSystemChangeNumber();
      const auto setup = running.connect("com.zerova.immediate");
      const std::int32_t ticket =
         (*setup)->calculateRoute("/timer1/pulse", "/digitizer3/start", {});
      Stream hung = running.connectRaw();
      ASSERT_TRUE(writeAll(hung, WireBytes()
                                    .message(test::wire::kCall, "reserveRoute")
                                    .i32Field(1, ticket)
                                    .stop()
                                    .frame()));
      while ((*other)->getSystemChangeNumber() == before) {
      }
      ASSERT_TRUE(writeAll(hung, call("isDebug")));
      EXPECT_FALSE((*other)->isDebug());
   }
   running.finish();
   EXPECT_EQ(running.bench().routes().begin()->second.state, RouteState::RESERVED);
}

TEST(SimulatorFaults, CallsOfAllConnectionsAreCounted)
{
   const RunningService running(exampleWithFault(R"(after = 3, drop = true)"));
   const auto first = running.connect();
   const auto second = running.connect();
   EXPECT_FALSE((*first)->isDebug());
   EXPECT_ANY_THROW((*second)->isDebug());
}

TEST(SimulatorFaults, CallsOfEachConnectionAreCountedWhenThePlanSaysSo)
{
   const RunningService running(
      exampleWithFault(R"(after = 2, times = 1, each_connection = true, error = { code = -7 })"));
   for (int i = 0; i < 2; ++i) {
      const auto first = running.connect(); // its version is the first call
      const auto second = running.connect();
      EXPECT_FALSE((*first)->validateTerminalURI("x"));
      EXPECT_FALSE((*second)->validateTerminalURI("x"));
      EXPECT_EQ(codeOf([&] { (*first)->reserveRoute(1); }), -7);
      EXPECT_EQ(codeOf([&] { (*second)->reserveRoute(1); }), -7);
      EXPECT_EQ(codeOf([&] { (*first)->reserveRoute(1); }), -89304);
   }
}

TEST(SimulatorClients, GarbageEndsItsOwnConnectionOnly)
{
   const RunningService running(exampleBench("trigger_bench"));
   const auto good = running.connect();
   for (const std::string& bytes : {std::string(100, '\xFF'), std::string("GET / HTTP/1.0\r\n\r\n"),
                                    std::string(8, '\0'), WireBytes().raw("no message").frame()})
   {
      Stream bad = running.connectRaw();
      writeAll(bad, bytes);
      readToEnd(bad); // until the service ends it
      EXPECT_FALSE((*good)->isDebug());
   }
}

TEST(SimulatorClients, LengthsThatLieCostNoMemory)
{
   const RunningService running(exampleBench("trigger_bench"));
   const std::size_t before = peakMemory();
   const std::string lies[] = {
      WireBytes().raw("no message").frame(),
      WireBytes()
         .message(test::wire::kCall, "validateTerminalURI")
         .field(test::wire::kString, 1)
         .i32(0x7FFFFFFF)
         .frame(),
      WireBytes()
         .message(test::wire::kCall, "getTerminalNamesAndAttributesForDevice")
         .field(test::wire::kList, 2)
         .listHeader(test::wire::kString, 0x7FFFFFFF)
         .frame()};
   for (const std::string& lie : lies) {
      Stream bad = running.connectRaw();
      ASSERT_TRUE(writeAll(bad, lie));
      readToEnd(bad);
   }
   EXPECT_LT(peakMemory(), before + (std::size_t{64} << 20));
}

TEST(SimulatorClients, UnknownMethodIsAnsweredInTheProtocol)
{
   const RunningService running(exampleBench("trigger_bench"));
   Stream client = running.connectRaw();
   ASSERT_TRUE(writeAll(client, call("nothing")));
   EXPECT_THAT(readUpTo(client, 60), testing::HasSubstr("nothing"));
}

TEST(SimulatorClients, HalfRequestsDoNotHoldUpOthers)
{
   const RunningService running(exampleBench("trigger_bench"));
   std::vector<Stream> halves;
   for (int i = 0; i < 100; ++i) {
      halves.push_back(running.connectRaw());
      ASSERT_TRUE(writeAll(halves.back(), call("isDebug").substr(0, 9)));
   }
   EXPECT_FALSE((*running.connect())->isDebug());
   ASSERT_TRUE(writeAll(halves[50], call("isDebug").substr(9)));
   EXPECT_EQ(readUpTo(halves[50], 4).size(), 4u);
}

TEST(SimulatorClients, RequestInSinglePiecesAndSeveralInOneAreAnswered)
{
   const RunningService running(exampleBench("trigger_bench"));
   Stream client = running.connectRaw();
   const std::string request = call("isDebug");
   for (const char byte : request)
      ASSERT_TRUE(writeAll(client, std::string(1, byte)));
   const std::string one = readUpTo(client, 4);
   const std::string answer = one + readUpTo(client, static_cast<unsigned char>(one.at(3)));
   ASSERT_TRUE(writeAll(client, request + request + request));
   EXPECT_EQ(readUpTo(client, 3 * answer.size()), answer + answer + answer);
}

TEST(SimulatorClients, MessageThatIsNoCallEndsItsConnection)
{
   const RunningService running(exampleBench("trigger_bench"));
   Stream client = running.connectRaw();
   ASSERT_TRUE(writeAll(client, WireBytes().message(test::wire::kReply, "isDebug").stop().frame()));
   EXPECT_EQ(readToEnd(client), "");
}

TEST(SimulatorClients, RequestBeyondTheLimitEndsItsConnection)
{
   const RunningService running(exampleBench("trigger_bench"));
   Stream client = running.connectRaw();
   ASSERT_TRUE(writeAll(client, WireBytes().i32(kLongestRequest + 1).bytes()));
   EXPECT_EQ(readToEnd(client), "");
}

TEST(SimulatorClients, WhoIsBeyondTheLimitIsRefused)
{
   const RunningService running(exampleBench("trigger_bench"), {.mostConnections = 2});
   const auto first = running.connect();
   const auto second = running.connect();
   Stream third = running.connectRaw();
   EXPECT_EQ(readToEnd(third), "");
   EXPECT_FALSE((*first)->isDebug());
   EXPECT_FALSE((*second)->isDebug());
}

TEST(SimulatorClients, WhoSaysNothingMakesRoomForOthers)
{
   const RunningService running(exampleBench("trigger_bench"), {.mostConnections = 3});
   const auto first = running.connect();
   std::vector<Stream> silent;
   for (int i = 0; i < 50; ++i)
      silent.push_back(running.connectRaw());
   EXPECT_FALSE((*running.connect())->isDebug());
   EXPECT_FALSE((*first)->isDebug());
   EXPECT_EQ(readToEnd(silent.front()), "");
}

TEST(SimulatorClients, WhoDoesNotReadHoldsUpNobodyAndLosesNothing)
{
   const RunningService running(exampleBench("trigger_bench"));
   const std::string request = call("getRoutableDevices");
   Stream lazy = running.connectRaw();
   ASSERT_TRUE(writeAll(lazy, request));
   const std::string length = readUpTo(lazy, 4);
   const std::string answer =
      length + readUpTo(lazy, static_cast<unsigned char>(length.at(2)) * 256u +
                                 static_cast<unsigned char>(length.at(3)));
   // More than the system takes on the way back before somebody reads.
   constexpr std::size_t kRequests = 8000;
   std::thread writer([&] {
      for (std::size_t i = 0; i < kRequests; ++i)
         writeAll(lazy, request);
   });
   const auto other = running.connect();
   for (int i = 0; i < 100; ++i)
      EXPECT_FALSE((*other)->isDebug());
   const std::string all = readUpTo(lazy, kRequests * answer.size());
   writer.join();
   EXPECT_EQ(all.size(), kRequests * answer.size());
   EXPECT_TRUE(all.ends_with(answer));
   EXPECT_FALSE((*other)->isDebug());
}

// The long form, with all the calls of a day, is bench/bench_simulator.cpp.
TEST(SimulatorClients, ThousandSessionsAtOnceLoseNoCallBesideHostileOnes)
{
   RunningService running(exampleBench("trigger_bench"));
   std::vector<Stream> hostile;
   for (int i = 0; i < 300; ++i) {
      hostile.push_back(running.connectRaw());
      if (i % 3 == 0) writeAll(hostile.back(), std::string(64, '\xFF'));
      if (i % 3 == 1) writeAll(hostile.back(), WireBytes().i32(1000).raw("half").bytes());
   }
   constexpr std::size_t kThreads = 4;
   constexpr std::size_t kOfEach = 250;
   constexpr std::size_t kCalls = 10;
   std::atomic<std::size_t> answers = 0;
   std::vector<std::thread> threads;
   for (std::size_t t = 0; t < kThreads; ++t)
      threads.emplace_back([&] {
         std::vector<std::unique_ptr<Client>> clients;
         for (std::size_t i = 0; i < kOfEach; ++i)
            clients.push_back(running.connect());
         for (std::size_t call = 0; call < kCalls; ++call)
            for (const auto& client : clients)
               answers += (*client)->areTerminalURIsEqual("/timer1/pulse", "/clock/pulse/") ? 1 : 0;
      });
   for (std::thread& thread : threads)
      thread.join();
   EXPECT_EQ(answers, kThreads * kOfEach * kCalls);
}

TEST(SimulatorLog, HasEveryCallWithItsArgumentsAndOutcome)
{
   RunningService running(exampleBench("trigger_bench"));
   {
      const auto client = running.connect();
      RouteAttributes wishes = reserved();
      wishes.__set_owner_name("driver");
      wishes.constraints["SingleDevice"] = boolAttribute(false);
      wishes.__isset.constraints = true;
      (*client)->calculateRoute("/timer1/pulse", "/digitizer3/start", wishes);
      codeOf([&] { (*client)->destroyRoute(7); });
   }
   running.finish();
   const auto& log = running.log();
   ASSERT_GE(log.size(), 4u);
   EXPECT_EQ(log[0]["event"], "open");
   EXPECT_EQ(log[1]["method"], "version");
   EXPECT_EQ(log[2]["arguments"]["attrs"],
             Json::parse(
                R"({"routeState":1,"owner_name":"driver","constraints":{"SingleDevice":false}})"));
   EXPECT_EQ(log[2]["result"], 1001);
   EXPECT_EQ(log[3]["code"], -89304);
}

class ReplayedLog : public testing::Test
{
protected:
   ReplayedLog()
   {
      RunningService running(exampleWithFault(kFault));
      {
         const auto client = running.connect();
         const RouteAttributes wishes = reserved();
         (*client)->calculateRoute("/timer1/pulse", "/digitizer3/start", wishes);
         const auto immediate = running.connect("com.zerova.immediate");
         (*immediate)->calculateRoute("/digitizer3/ready", "/timer1/gate", reserved());
         codeOf(
            [&] { (*client)->calculateRoute("/timer1/pulse", "/matrix1/scan_advance", wishes); });
         codeOf([&] { (*client)->programRoute(1002); });
         std::vector<std::map<std::string, Attribute>> terminals;
         (*client)->getTerminalNamesAndAttributesForDevice(terminals, "timer1", {"Name", "InUse"});
         std::vector<DeviceInfo> devices;
         (*client)->getRouteInfo(devices, 1001);
         (*client)->resetTerminal("/timer1/pulse", "disconnect");
      }
      running.finish();
      for (const Json& event : running.log())
         text_ += lineOf(event);
   }

   Replay replayOn(Topology topology) const
   {
      Bench bench(std::move(topology));
      std::istringstream log(text_);
      return replay(bench, false, log, "log");
   }

   static constexpr char kFault[] = R"(method = "programRoute", error = { code = -9 })";
   std::string text_;
};

TEST_F(ReplayedLog, SameFileGivesTheSameAnswers)
{
   const Replay outcome = replayOn(exampleWithFault(kFault));
   EXPECT_EQ(outcome.calls, 9u);
   EXPECT_THAT(outcome.differences, testing::IsEmpty());
}

TEST_F(ReplayedLog, OtherFileIsToldCallByCall)
{
   Topology other = exampleWithFault(kFault);
   other.lines.pop_back();
   other.lines.pop_back();
   const Replay outcome = replayOn(other);
   ASSERT_FALSE(outcome.differences.empty());
   EXPECT_THAT(outcome.differences.front(), testing::StartsWith("log:"));
}

TEST_F(ReplayedLog, TextThatIsNoLogIsRefusedWithItsLine)
{
   Bench bench(exampleBench("trigger_bench"));
   for (const std::string& bad :
        {std::string("[]"), std::string("half a li"), std::string(R"({"connection":1})"),
         std::string(R"({"connection":1,"method":"nothing","arguments":{},"code":0})")})
   {
      std::istringstream log(R"({"connection":1,"event":"open","endpoint":"local"})"
                             "\n" +
                             bad + "\n");
      try {
         replay(bench, false, log, "log");
         ADD_FAILURE() << bad;
      } catch (const BadLog& error) {
         EXPECT_THAT(error.what(), testing::StartsWith("log:2: "));
      }
   }
}

} // namespace
