// What the generated client makes of replies, where no exported function shows it.
#include "unit/zerovaapi/memory_session.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace zerova;
using namespace zerova::test;

class ClientStub : public testing::Test
{
protected:
   MemorySession memory;
   APIv1Client& client = memory.session.client;
};

TEST_F(ClientStub, EmptyListReplacesWhatTheCallerHeld)
{
   std::vector<std::string> names = {"earlier", "content"};
   memory.wire->answerWith(textListReply("getRoutableDevices", {}));
   client.getRoutableDevices(names);
   EXPECT_TRUE(names.empty());
}

TEST_F(ClientStub, ListReplacesWhatTheCallerHeld)
{
   std::vector<AttributeMap> terminals(5);
   terminals[0]["earlier"].__set_str_attr("content");
   memory.wire->answerWith(terminalListReply());
   client.getTerminalNamesAndAttributesForDevice(terminals, "d", {});
   ASSERT_EQ(terminals.size(), 1u);
   EXPECT_EQ(terminals[0].count("earlier"), 0u);
   EXPECT_EQ(terminals[0].at("Name").str_attr, "/dev1/t0");
}

TEST_F(ClientStub, ThrownStatusOutlivesTheReply)
{
   const std::string description = R"({"why":"longer than fits inside a string object"})";
   memory.wire->answerWith(statusReply("reserveRoute", -5, description));
   ThriftStatus kept;
   try {
      client.reserveRoute(1);
      FAIL() << "no exception";
   } catch (const ThriftStatus& e) {
      kept = e;
   }
   memory.wire->answerWith(voidReply("reserveRoute"));
   client.reserveRoute(1);
   EXPECT_EQ(kept.code, -5);
   EXPECT_EQ(kept.description, description);
}

TEST_F(ClientStub, OneProtocolServesBothDirections)
{
   EXPECT_EQ(client.getInputProtocol(), memory.session.protocol);
   EXPECT_EQ(client.getOutputProtocol(), memory.session.protocol);
}

} // namespace
