// What every exported function needs of the stack, as the headers tell hosts that call it on threads
// of their own.
#include "faults/export_uses.h"
#include "faults/fixed_status.h"
#include "service/locator_peer.h"
#include "service/raw_peer.h"
#include "service/wire_bytes.h"
#include "support/small_stack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace zerova::test;
using testing::Le;

constexpr size_t kNeed = 16 * 1024;

Script answeringAtLength()
{
   return Script().answerAll([](const std::string& frame) { return longReply(methodOf(frame)); });
}

class StackOfAnExport : public testing::TestWithParam<ExportUse>
{
protected:
   const ExportUse& use = GetParam();
   RawPeer plain{Listener::local("com.zerova"), answeringAtLength()};
   RawPeer immediate{Listener::local("com.zerova.immediate"), answeringAtLength()};
   RemotePeer remote{answeringAtLength()};

   // Plays the script to the session and uses the function, which is to end with the code.
   void expectThatItSufficesFor(Script script, int32_t code)
   {
      SCOPED_TRACE(code);
      plain.play(answeringAtLength());
      UseObjects on(remote.host());
      plain.play(std::move(script));
      on.renewSession();
      FixedStatus status;
      EXPECT_THAT(stackUsedBy(kNeed, [&] { use.use(on, status); }), Le(kNeed));
      EXPECT_EQ(status.code(), code) << status.text();
   }
};

INSTANTIATE_TEST_SUITE_P(All, StackOfAnExport, testing::ValuesIn(exportUses()),
                         [](const auto& each) { return each.param.name; });

TEST_P(StackOfAnExport, SufficesForAnAnswer)
{
   for (int round = 0; round < 2; ++round) // the first one also does what is done once
      expectThatItSufficesFor(answeringAtLength(), use.plainCode);
}

TEST_P(StackOfAnExport, SufficesForARefusalAndABrokenConnection)
{
   if (use.method.empty()) return; // does not ask the service
   const std::string refusal = statusReply(use.method, -77, R"({"why":"refused"})");
   const std::string exception = exceptionReply(use.method, 6, "why");
   // The one method that declares no status of its own.
   expectThatItSufficesFor(Script().acceptVersion().receive().send(refusal),
                           use.method == "isDebug" ? -52024 : -77);
   expectThatItSufficesFor(Script().acceptVersion().receive().send(exception), -52024);
   expectThatItSufficesFor(Script().acceptVersion().receive().close(), -52024);
   expectThatItSufficesFor(Script().acceptVersion().receive().send("\xFF\xFF\xFF\xFF"), -52024);
}

TEST(StackWithoutAService, SufficesForASessionThatCannotBeHad)
{
   const LoopbackAddress nobody;
   const std::string kHosts[] = {nobody.text(), "no host has a name with blanks"};
   for (const std::string& host : kHosts) {
      FixedStatus status;
      zerovaapi_Session session = nullptr;
      EXPECT_THAT(
         stackUsedBy(kNeed, [&] { session = zerovaapi_createRemoteSession(host.c_str(), status); }),
         Le(kNeed))
         << host;
      EXPECT_EQ(session, nullptr);
      EXPECT_EQ(status.code(), -89168);
   }
   FixedStatus status;
   EXPECT_THAT(stackUsedBy(kNeed, [&] { zerovaapi_createSession(status); }), Le(kNeed));
   EXPECT_EQ(status.code(), -89168);
}

} // namespace
