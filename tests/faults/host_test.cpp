// What docs/host.md tells a host that it can rely on, and that no other test looks at.
#include "faults/child_service.h"
#include "faults/endpoint.h"
#include "faults/fixed_status.h"
#include "faults/process_state.h"
#include "lorvex_translator.h"
#include "service/loopback_address.h"
#include "support/environment.h"
#include "support/open_descriptors.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace zerova::test;

constexpr const char* kDorvex = R"({"lorvexlua_xlator":"dorvex"})";

// Where the callbacks of a host were called.
struct Seen
{
   std::set<std::thread::id> threads;
   std::set<std::string> threadCounts;

   void note()
   {
      threads.insert(std::this_thread::get_id());
      threadCounts.insert(processState().at("threads"));
   }
};

// A status whose resize function notes where it is called. The record comes first, so that the
// callback finds the rest.
struct WatchingStatus
{
   explicit WatchingStatus(Seen& where)
      : status{0, 0, resize, nullptr}
      , seen(where)
   {
   }
   ~WatchingStatus() { quelerr_heapStatus_release(&status); }
   WatchingStatus(const WatchingStatus&) = delete;
   WatchingStatus& operator=(const WatchingStatus&) = delete;

   static bool resize(quelerr_Status* status, uint32_t capacity)
   {
      reinterpret_cast<WatchingStatus*>(status)->seen.note();
      return quelerr_heapStatus_resize(status, capacity);
   }

   quelerr_Status status;
   Seen& seen;
};

struct Room
{
   Seen* seen = nullptr;
   std::array<char, 4096> text = {};
};

char* allocate(void*, size_t length, void* context, quelerr_Status*)
{
   auto* const room = static_cast<Room*>(context);
   if (room->seen) room->seen->note();
   return length <= room->text.size() ? room->text.data() : nullptr;
}

class HostProcess : public testing::Test
{
protected:
   HostProcess() { service.start(); }

   zerovaapi_Session connect(Endpoint endpoint) const
   {
      FixedStatus outcome;
      const zerovaapi_Session session = createSession(endpoint, address.text(), outcome);
      if (!session) throw std::runtime_error(outcome.text());
      return session;
   }

   static lorvex_Translator* createTranslator()
   {
      FixedStatus outcome;
      lorvex_Translator* const translator =
         lorvex_exported_create("dorvex_zerova", kDorvex, outcome);
      if (!translator) throw std::runtime_error(outcome.text());
      return translator;
   }

   LoopbackAddress address;
   ChildService service{ChildScript::answering, address.text()};
   FixedStatus status;
};

TEST_F(HostProcess, CallsRunOnTheThreadOfTheirCallerAndNoOtherIsThere)
{
   Seen seen;
   const std::string threads = processState().at("threads");
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      const zerovaapi_Session session = connect(endpoint);
      WatchingStatus retired(seen);
      zerovaapi_destroyAllImmediateRoutes(session, &retired.status);
      EXPECT_EQ(retired.status.code, -52002);
      zerovaapi_destroySession(session);
   }
   lorvex_Translator* const translator = createTranslator();
   Room room{&seen};
   EXPECT_NE(translator->getDynamicDesc(translator, "{}", 0, "json1", allocate, &room, status),
             nullptr);
   translator->destroy(translator);
   const zerovaapi_Session broken = connect(Endpoint::local);
   service.kill();
   WatchingStatus failed(seen);
   zerovaapi_reserveRoute(broken, 1, &failed.status);
   EXPECT_EQ(failed.status.code, -52024);
   zerovaapi_destroySession(broken);
   EXPECT_THAT(seen.threads, testing::ElementsAre(std::this_thread::get_id()));
   EXPECT_THAT(seen.threadCounts, testing::ElementsAre(threads));
}

TEST_F(HostProcess, SessionMayPassFromThreadToThread)
{
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      zerovaapi_Session session = nullptr;
      int32_t number = 0;
      std::thread([&] { session = connect(endpoint); }).join();
      std::thread([&] { number = zerovaapi_getSystemChangeNumber(session, status); }).join();
      EXPECT_EQ(number, 7);
      EXPECT_EQ(status.code(), 0) << status.text();
      std::thread([&] { zerovaapi_destroySession(session); }).join();
   }
}

TEST_F(HostProcess, TranslatorMayPassFromThreadToThread)
{
   lorvex_Translator* translator = nullptr;
   Room room;
   const char* text = nullptr;
   std::thread([&] { translator = createTranslator(); }).join();
   std::thread([&] {
      text = translator->getDynamicDesc(translator, "{}", 0, "json1", allocate, &room, status);
   }).join();
   EXPECT_STREQ(text, room.text.data());
   EXPECT_EQ(status.code(), 0) << status.text();
   std::thread([&] { translator->destroy(translator); }).join();
}

TEST_F(HostProcess, SessionHoldsTheDescriptorsOfItsConnectionAndATranslatorNone)
{
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      makeWhatARuntimeKeeps([&] { zerovaapi_destroySession(connect(endpoint)); });
      const size_t before = openDescriptors();
      const zerovaapi_Session session = connect(endpoint);
      EXPECT_EQ(openDescriptors(), before + descriptorsOfASession(endpoint));
      zerovaapi_destroySession(session);
      EXPECT_EQ(openDescriptors(), before);
   }
   const size_t before = openDescriptors();
   lorvex_Translator* const translator = createTranslator();
   EXPECT_EQ(openDescriptors(), before);
   translator->destroy(translator);
   EXPECT_EQ(openDescriptors(), before);
}

TEST_F(HostProcess, NoFileIsMadeInTheWorkingFolderOrTheTemporaryOne)
{
   const ScratchFolder folder;
   const std::filesystem::path usual = std::filesystem::current_path();
   std::filesystem::current_path(folder.path());
   {
      const EnvironmentVariable temporary(kTemporaryFolderVariable, folder.path().c_str());
      for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp})
         zerovaapi_destroySession(connect(endpoint));
      lorvex_Translator* const translator = createTranslator();
      Room room;
      translator->getStaticDesc(translator, 7, 0, allocate, &room, status);
      translator->getDynamicDesc(translator, "no JSON", 0, "json1", allocate, &room, status);
      translator->destroy(translator);
   }
   std::filesystem::current_path(usual);
   EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(HostProcess, SearchPathsOfTheEnvironmentLeadToNoScript)
{
   const ScratchFolder folder;
   folder.write("client.lua", "return {}");
   const EnvironmentVariable scripts("LUA_PATH", folder.path("?.lua").c_str());
   const EnvironmentVariable native("LUA_CPATH", folder.path("?.so").c_str());
   EXPECT_EQ(lorvex_exported_create("dorvex_zerova", R"({"lorvexlua_xlator":"client"})", status),
             nullptr);
   EXPECT_EQ(status.code(), -52003);
   EXPECT_THAT(status.text(), testing::Not(testing::HasSubstr(folder.path())));
}

} // namespace
