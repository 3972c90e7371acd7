// Every allocation that an exported function makes fails in turn, alone and with all behind it.
#include "faults/export_uses.h"
#include "faults/fixed_status.h"
#include "service/json_check.h"
#include "service/locator_peer.h"
#include "service/raw_peer.h"
#include "service/wire_bytes.h"
#include "support/failing_malloc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <new>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;
using Then = FailingMalloc::Then;

constexpr size_t kNever = SIZE_MAX;

Script answeringAtLength()
{
   return Script().answerAll([](const std::string& frame) { return longReply(methodOf(frame)); });
}

// A service has got nothing but whole requests, the same ones for each method however often.
void expectOnlyWholeRequests(const RawPeer& service)
{
   std::map<std::string, std::string> requests;
   for (const std::string& frame : service.frames()) {
      const auto [first, isNew] = requests.try_emplace(methodOf(frame), frame);
      EXPECT_EQ(frame, first->second);
   }
   for (std::size_t i = 0; i < service.connectionCount(); ++i)
      EXPECT_EQ(service.record(i).rest, "");
}

struct Attempt
{
   bool failed = false; // an allocation
   bool succeeded = false;
   bool threw = false;
   size_t count = 0;
};

Attempt attempt(const ExportUse& use, UseObjects& on, quelerr_Status* status, size_t index,
                Then then)
{
   Attempt made;
   const FailingMalloc failing(index, then);
   try {
      made.succeeded = use.use(on, status);
   } catch (const std::bad_alloc&) {
      made.threw = true;
   }
   made.failed = failing.hasFailed();
   made.count = failing.count();
   return made;
}

bool isToldOutcome(const ExportUse& use, const Attempt& made, const FixedStatus& status)
{
   if (made.threw) return status.code() == 0;
   // A look-up or a resolution that gets no memory is an attempt that failed to connect, and such
   // attempts are made again.
   if (made.succeeded) return use.name == "createRemoteSession" && status.code() == 0;
   // The pipe's events are the system's, so memory is not all that they may lack.
   const std::string text = status.text();
   const bool lacksEvent = text.find("\"CreateEvent failed\"") != std::string::npos;
   return status.code() == (lacksEvent ? -52003 : -52000);
}

class EveryExport : public testing::TestWithParam<ExportUse>
{
protected:
   const ExportUse& use = GetParam();
   RawPeer plain{Listener::local("com.zerova"), answeringAtLength()};
   RawPeer immediate{Listener::local("com.zerova.immediate"), answeringAtLength()};
   RemotePeer remote{answeringAtLength()};

   void expectThatItWorks(UseObjects& on)
   {
      FixedStatus status;
      EXPECT_TRUE(use.use(on, status));
      EXPECT_EQ(status.code(), use.plainCode) << status.text();
   }

   void failEachAllocation(Then then);
};

std::vector<ExportUse> usesOfTheService()
{
   std::vector<ExportUse> uses = exportUses();
   std::erase_if(uses, [](const ExportUse& use) { return use.method.empty(); });
   return uses;
}

INSTANTIATE_TEST_SUITE_P(All, EveryExport, testing::ValuesIn(exportUses()),
                         [](const auto& each) { return each.param.name; });

void EveryExport::failEachAllocation(Then then)
{
   const size_t descriptors = openDescriptors();
   // What is made once for the process, by the runtime at the first exception too.
   EXPECT_THROW(throw std::bad_alloc(), std::bad_alloc);
   {
      UseObjects once(remote.host());
      expectThatItWorks(once);
   }
   bool failed = true;
   for (size_t index = 0; failed; ++index) {
      SCOPED_TRACE(index);
      const ptrdiff_t before = liveBlocks();
      {
         UseObjects on(remote.host());
         FixedStatus status;
         const Attempt made = attempt(use, on, status, index, then);
         failed = made.failed;
         if (!failed) break;
         EXPECT_EQ(made.threw, use.needs == Needs::memoryAndThrows);
         EXPECT_TRUE(isToldOutcome(use, made, status)) << status.code() << status.text();
         EXPECT_TRUE(!status.hasText() || isJsonDocument(status.text())) << status.text();
         on.releaseGiven();
         expectThatItWorks(on);
      }
      if (HasFailure()) return; // what was told of it is on the heap
      EXPECT_EQ(liveBlocks(), before);
   }
   EXPECT_TRUE(descriptorsComeDownTo(descriptors));
   for (const RawPeer* service : {&plain, &immediate, &remote.service()})
      expectOnlyWholeRequests(*service);
}

TEST_P(EveryExport, IsOutOfMemoryWhicheverAllocationFailsAndWorksAgainAfterwards)
{
   failEachAllocation(Then::succeed);
}

TEST_P(EveryExport, IsOutOfMemoryWhereverMemoryEndsAndWorksAgainAfterwards)
{
   failEachAllocation(Then::failAlways);
}

TEST_P(EveryExport, AsksForMemoryOnlyIfItIsSaidToNeedIt)
{
   UseObjects on(remote.host());
   FixedStatus status;
   const Attempt made = attempt(use, on, status, kNever, Then::succeed);
   EXPECT_TRUE(made.succeeded);
   EXPECT_EQ(made.count > 0, use.needs != Needs::nothing) << made.count;
}

// The caller's callback refuses each of its calls in turn, of a function that is out of memory or
// fails in its own way.
TEST_P(EveryExport, RefusedBufferLosesTextButNeverTheCode)
{
   using Refuse = FixedStatus::Refuse;
   if (use.needs == Needs::memoryAndThrows) return; // never describes a failure
   for (const Refuse refuse : {Refuse::one, Refuse::allFrom}) {
      int32_t code = 0;
      bool hasRefused = true;
      for (int call = 0; hasRefused; ++call) {
         SCOPED_TRACE(call);
         UseObjects on(remote.host());
         FixedStatus undisturbed;
         const Then then = Then::failAlways;
         attempt(use, on, undisturbed, 0, then);
         code = undisturbed.code();
         FixedStatus status(refuse, call);
         attempt(use, on, status, 0, then);
         hasRefused = status.hasRefused();
         EXPECT_EQ(status.code(), code);
         EXPECT_TRUE(!status.hasText() || isJsonDocument(status.text())) << status.text();
      }
      EXPECT_EQ(code, use.needs == Needs::memory ? -52000 : use.plainCode);
   }
}

// The service's own failure needs memory, too: its text is read before it is handed on.
class EveryRefusal : public testing::TestWithParam<ExportUse>
{
protected:
   const ExportUse& use = GetParam();

   // code: what the refusal is when there is memory.
   void failEachAllocation(const std::string& refusal, int32_t code, Then then)
   {
      RawPeer service(Listener::local("com.zerova"), answeringAtLength());
      bool failed = true;
      for (size_t index = 0; failed; ++index) {
         SCOPED_TRACE(index);
         service.play(answeringAtLength());
         UseObjects on("");
         service.play(
            Script().acceptVersion().answerAll([refusal](const std::string&) { return refusal; }));
         on.renewSession();
         FixedStatus status;
         const ptrdiff_t before = liveBlocks();
         const Attempt made = attempt(use, on, status, index, then);
         failed = made.failed;
         EXPECT_FALSE(made.threw || made.succeeded);
         // An exception for which there is no memory is made in the runtime's reserve.
         if (!failed || status.code() != -52000) {
            EXPECT_EQ(status.code(), code) << status.text();
         }
         EXPECT_TRUE(isJsonDocument(status.text())) << status.text();
         FixedStatus again;
         EXPECT_FALSE(use.use(on, again));
         EXPECT_EQ(again.code(), code) << again.text();
         on.renewSession();
         if (HasFailure()) return; // what was told of it is on the heap
         EXPECT_EQ(liveBlocks(), before);
      }
      expectOnlyWholeRequests(service);
   }
};

INSTANTIATE_TEST_SUITE_P(All, EveryRefusal, testing::ValuesIn(usesOfTheService()),
                         [](const auto& each) { return each.param.name; });

TEST_P(EveryRefusal, IsOutOfMemoryWhicheverAllocationFailsAndIsToldWhenMemoryIsBack)
{
   const std::string text = R"({"why":")" + std::string(1000, 'J') + R"("})";
   const std::string ofTheService = statusReply(use.method, -77, text);
   const std::string exception = exceptionReply(use.method, 6, text);
   for (const Then then : {Then::succeed, Then::failAlways}) {
      // The one method that declares no status of its own.
      failEachAllocation(ofTheService, use.method == "isDebug" ? -52024 : -77, then);
      failEachAllocation(exception, -52024, then);
   }
}

TEST(ExportUses, AreThoseOfEveryExport)
{
   std::ifstream list(ZEROVA_SOURCE_DIR "/source/zerovaapi/exports.txt");
   std::vector<std::string> names;
   for (std::string name; std::getline(list, name);)
      names.push_back(name);
   std::vector<std::string> used;
   for (const ExportUse& use : exportUses())
      used.push_back(use.name.starts_with("lorvex") ? use.name : "zerovaapi_" + use.name);
   EXPECT_THAT(used, testing::UnorderedElementsAreArray(names));
}

} // namespace
