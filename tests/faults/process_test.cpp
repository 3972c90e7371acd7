// The library as a guest in somebody else's process.
#include "faults/guest.h"
#include "faults/many_descriptors.h"
#include "faults/process_state.h"
#include "support/failing_malloc.h"
#include "support/matches_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

using namespace zerova::test;

TEST_F(Guest, LeavesTheProcessAsItWas)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   makeWhatARuntimeKeeps([&] { openAndDestroySessions(); });
   const auto before = processState();
   useEverything(service);
   FixedStatus nobody;
   EXPECT_EQ(zerovaapi_createRemoteSession("no host has a name with blanks", nobody), nullptr);
   EXPECT_EQ(nobody.code(), -89168);
   EXPECT_EQ(processState(), before);
}

TEST_F(Guest, LeavesAnUnusualProcessAsItWas)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   makeWhatARuntimeKeeps([&] { openAndDestroySessions(); });
   std::map<std::string, std::string> before;
   std::map<std::string, std::string> after;
   {
      const UnusualProcess process;
      before = processState();
      useEverything(service);
      after = processState();
   }
   EXPECT_EQ(after, before);
}

// Repeats action a thousand times behind a few rounds that may leave something for good.
template <typename Action>
void expectThatAThousandRoundsLeaveNothing(Action action)
{
   for (int i = 0; i < 10; ++i)
      action();
   const auto state = processState();
   const ptrdiff_t blocks = liveBlocks();
   for (int i = 0; i < 1000; ++i)
      action();
   const ptrdiff_t left = liveBlocks() - blocks;
   EXPECT_EQ(left, 0);
   EXPECT_EQ(processState(), state);
}

TEST_F(Guest, ThousandSessionsLeaveNothingBehind)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp})
      expectThatAThousandRoundsLeaveNothing([&] {
         const zerovaapi_Session session = connect(endpoint);
         FixedStatus status;
         zerovaapi_TerminalContainer_destroy(
            zerovaapi_getTerminalNamesAndAttributesForDevice(session, "dev1", nullptr, status));
         zerovaapi_destroySession(session);
      });
}

TEST_F(Guest, ThousandRefusedSessionsLeaveNothingBehind)
{
   ChildService service(ChildScript::refusing, host.text());
   service.start();
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp})
      expectThatAThousandRoundsLeaveNothing([&] {
         FixedStatus status;
         EXPECT_EQ(createSession(endpoint, host.text(), status), nullptr);
         EXPECT_EQ(status.code(), kRefusalOfAChild);
      });
}

TEST_F(Guest, ThousandBrokenConnectionsLeaveNothingBehind)
{
   ChildService service(ChildScript::breaking, host.text());
   service.start();
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp})
      expectThatAThousandRoundsLeaveNothing([&] {
         const zerovaapi_Session session = connect(endpoint);
         FixedStatus status;
         zerovaapi_reserveRoute(session, 1, status);
         EXPECT_EQ(status.code(), -52024);
         zerovaapi_destroySession(session);
      });
}

TEST_F(Guest, ThousandObjectsWithoutASessionLeaveNothingBehind)
{
   expectThatAThousandRoundsLeaveNothing([] {
      FixedStatus status;
      const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(status);
      zerovaapi_RouteAttributes_setOwnerName(attributes, "an owner whose name is long", status);
      zerovaapi_RouteConstraints_setStringConstraint(
         zerovaapi_RouteAttributes_getConstraints(attributes), "name", "value", status);
      zerovaapi_RouteAttributes_destroy(attributes);
      zerovaapi_destroyString(zerovaapi_showRoute(nullptr, 1, status));
      lorvex_exported_create("another", "{}", status);
   });
}

TEST_F(Guest, TranslatorsLeaveNothingBehind)
{
   // A hundredth of the usual rounds, each of which compiles twelve scripts.
   useTranslator();
   const auto state = processState();
   const ptrdiff_t blocks = liveBlocks();
   for (int i = 0; i < 100; ++i)
      useTranslator();
   const ptrdiff_t left = liveBlocks() - blocks;
   EXPECT_EQ(left, 0);
   EXPECT_EQ(processState(), state);
}

TEST_F(Guest, WorksAboveFiveThousandOpenDescriptors)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   const ManyDescriptors many(5000);
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      const zerovaapi_Session session = connect(endpoint);
      useSession(session);
      zerovaapi_destroySession(session);
   }
   useTranslator();
}

TEST_F(Guest, NewProgramInheritsNoDescriptor)
{
   ChildService service(ChildScript::answering, host.text());
   service.start();
   const std::string without = descriptorsOfANewProgram();
   const zerovaapi_Session sessions[] = {connect(Endpoint::local), connect(Endpoint::tcp)};
   lorvex_Translator* const translator = createTranslator();
   const std::string with = descriptorsOfANewProgram();
   translator->destroy(translator);
   for (const zerovaapi_Session session : sessions)
      zerovaapi_destroySession(session);
   EXPECT_THAT(without, ContainsPattern("^[1-9][0-9]*$")) << "descriptors";
   EXPECT_EQ(with, without);
}

} // namespace
