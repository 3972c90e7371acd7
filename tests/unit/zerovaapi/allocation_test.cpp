// What a call asks of the heap, against what the stub under it asks for the same call.
#include "service/checked_status.h"
#include "support/failing_malloc.h"
#include "support/heap_watch.h"
#include "unit/zerovaapi/memory_session.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace zerova;
using namespace zerova::test;

// Too long to live inside a string object, so each copy is one allocation.
const std::string kUri1 = "device://first/terminal/number/1";
const std::string kUri2 = "device://second/terminal/number/2";

constexpr size_t kNever = SIZE_MAX;

template <typename Call>
size_t allocationsOf(MemorySession& session, const std::string& reply, Call call)
{
   // The first round grows the buffers of the frame layer to what the messages need.
   session.wire->answerWith(reply);
   call();
   session.wire->answerAgain();
   const HeapWatch watch;
   call();
   return watch.count();
}

TEST(Allocation, SmallCallAddsNothingToTheStub)
{
   MemorySession session;
   CheckedStatus status;
   const std::string reply = voidReply("reserveRoute");
   const size_t stub =
      allocationsOf(session, reply, [&] { session.session.client.reserveRoute(1); });
   EXPECT_EQ(allocationsOf(session, reply, [&] { zerovaapi_reserveRoute(session, 1, status); }),
             stub);
   EXPECT_EQ(status.code(), 0);
   EXPECT_EQ(status.growCalls(), 0);
}

TEST(Allocation, CallWithTextsAddsOneCopyOfEach)
{
   MemorySession session;
   CheckedStatus status;
   const std::string reply = i32Reply("calculateRoute", 7);
   const RouteAttributes attributes;
   const size_t stub = allocationsOf(
      session, reply, [&] { session.session.client.calculateRoute(kUri1, kUri2, attributes); });
   EXPECT_EQ(allocationsOf(session, reply,
                           [&] {
                              zerovaapi_calculateRoute(session, kUri1.c_str(), kUri2.c_str(),
                                                       nullptr, status);
                           }),
             stub + 2);
   EXPECT_EQ(status.growCalls(), 0);
}

TEST(Allocation, AttributeObjectIsNotCopied)
{
   MemorySession session;
   CheckedStatus status;
   const std::string reply = i32Reply("calculateRoute", 7);
   const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(status);
   const zerovaapi_AttributeMap map = zerovaapi_RouteAttributes_getConstraints(attributes);
   for (int i = 0; i < 10; ++i)
      zerovaapi_RouteConstraints_setStringConstraint(map, std::to_string(i).c_str(), kUri1.c_str(),
                                                     status);
   const auto calculate = [&](zerovaapi_RouteAttributes attrs) {
      return allocationsOf(session, reply,
                           [&] { zerovaapi_calculateRoute(session, "a", "b", attrs, status); });
   };
   const size_t withoutAttributes = calculate(nullptr);
   EXPECT_EQ(calculate(attributes), withoutAttributes);
   zerovaapi_RouteAttributes_destroy(attributes);
}

TEST(Allocation, ContainerTakesAsFewBlocksForManyTerminalsAsForTwo)
{
   const auto wire = std::make_shared<MemoryWire>();
   wire->outgoing.reserve(4096);
   const std::unique_ptr<ClientSession> session = makeClientSession(wire);
   CheckedStatus status;
   const auto blocks = [&](int terminals) {
      WireBytes out;
      out.message(wire::kReply, "getTerminalNamesAndAttributesForDevice");
      out.field(wire::kList, 0).listHeader(wire::kMap, terminals);
      for (int i = 0; i < terminals; ++i) {
         out.mapHeader(wire::kString, wire::kStruct, 1);
         out.stringAttribute("a name too long for a string object", "/device/terminal");
      }
      const auto call = [&] {
         zerovaapi_TerminalContainer_destroy(zerovaapi_getTerminalNamesAndAttributesForDevice(
            wrap<zerovaapi_Session>(session.get()), "d", nullptr, status));
      };
      wire->answerWith(out.stop().frame());
      call();
      wire->answerAgain();
      const HeapWatch watch;
      call();
      return watch.count();
   };
   const size_t ofTwo = blocks(2);
   EXPECT_LE(ofTwo, 8u);
   EXPECT_EQ(blocks(1000), ofTwo);
   EXPECT_EQ(status.code(), 0);
}

TEST(Allocation, RoutableDevicesAreOneBlock)
{
   MemorySession session;
   CheckedStatus status;
   const std::string reply = textListReply("getRoutableDevices", {"a", kUri1, kUri2});
   const auto blocks = [&](auto call) {
      session.wire->answerWith(reply);
      const FailingMalloc counter(kNever);
      call();
      return counter.count();
   };
   const auto stub = [&] {
      std::vector<std::string> names;
      session.session.client.getRoutableDevices(names);
   };
   const auto exported = [&] {
      zerovaapi_destroyStringArray(zerovaapi_getRoutableDevices(session, status));
   };
   blocks(stub); // grows the buffers of the frame layer
   EXPECT_EQ(blocks(exported), blocks(stub) + 1);
   EXPECT_EQ(status.code(), 0);
}

// Fails one allocation of a call. False: the call had fewer.
bool failsToListDevices(size_t index)
{
   MemorySession session;
   session.wire->answerWith(textListReply("getRoutableDevices", {"abc", kUri1}));
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   char** devices = nullptr;
   bool failed = false;
   {
      const FailingMalloc failing(index);
      devices = zerovaapi_getRoutableDevices(session, &status);
      failed = failing.hasFailed();
   }
   EXPECT_EQ(devices == nullptr, failed);
   EXPECT_EQ(status.code, failed ? -52000 : 0);
   const std::string text = status.json ? status.json : "";
   EXPECT_EQ(text.find(R"({"file":"source\\zerovaapi\\api","line":)"), failed ? 0 : text.npos);
   zerovaapi_destroyStringArray(devices);
   quelerr_heapStatus_release(&status);
   return failed;
}

TEST(Allocation, RoutableDevicesAreOutOfMemoryWhicheverAllocationFails)
{
   size_t index = 0;
   while (failsToListDevices(index))
      ++index;
   EXPECT_GE(index, 3u); // the list, the long name, the block
}

TEST(Allocation, ShownRouteWithoutMemoryNamesTheConstant)
{
   CheckedStatus status;
   char* text = nullptr;
   {
      const FailingMalloc first(0);
      text = zerovaapi_showRoute(nullptr, 1, status);
   }
   EXPECT_EQ(text, nullptr);
   EXPECT_EQ(status.code(), -52000);
   EXPECT_EQ(status.json().find(R"({"error_constant":"nTamrixS100::tStatus::kMemoryFull",)"
                                R"("file":"source\\zerovaapi\\api","line":)"),
             0u);
   EXPECT_EQ(status.json().find("zerovaapi_debug"), std::string::npos);
}

TEST(Allocation, ShownRouteWithAnErrorInTheStatusAllocatesNothing)
{
   CheckedStatus status(-5, "{}");
   const FailingMalloc counter(kNever);
   EXPECT_EQ(zerovaapi_showRoute(nullptr, 1, status), nullptr);
   EXPECT_EQ(counter.count(), 0u);
}

TEST(Allocation, EntryThatRunsOutOfMemoryStaysAsTheStepsLeftIt)
{
   const char* const name = kUri1.c_str();
   CheckedStatus made;
   // The requests in order: the name and the entry for the type, the name for the marker, the name
   // and the value for the value.
   const std::vector<std::pair<bool, bool>> typedAndMarked = {
      {false, false}, {false, false}, {true, false}, {true, true}, {true, true}};
   for (size_t n = 1; n <= typedAndMarked.size(); ++n) {
      SCOPED_TRACE(n);
      const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(made);
      const zerovaapi_AttributeMap handle = zerovaapi_RouteAttributes_getConstraints(attributes);
      CheckedStatus status;
      bool failed = false;
      {
         HeapWatch watch;
         watch.failNth(n);
         zerovaapi_RouteConstraints_setStringConstraint(handle, name, kUri2.c_str(), status);
         failed = watch.hasFailed();
      }
      EXPECT_TRUE(failed);
      EXPECT_EQ(status.code(), -52000);
      const AttributeMap& map = *unwrap(handle);
      const auto found = map.find(kUri1);
      const bool typed = found != map.end() && found->second.attr_type == AttrType::STRING;
      const bool marked = found != map.end() && found->second.__isset.str_attr;
      EXPECT_EQ(std::make_pair(typed, marked), typedAndMarked[n - 1]);
      EXPECT_TRUE(found == map.end() || found->second.str_attr.empty());
      zerovaapi_RouteAttributes_destroy(attributes);
   }
}

} // namespace
