// The library as a guest in somebody else's process.
#include "exports/peer_session.h"
#include "exports/service_calls.h"
#include "faults/child_service.h"
#include "faults/endpoint.h"
#include "faults/fixed_status.h"
#include "faults/process_state.h"
#include "lorvex_translator.h"
#include "service/wire_bytes.h"
#include "support/failing_malloc.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cfenv>
#include <csignal>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;

constexpr int kRefusal = -77;

// Refuses the version, at once and for good.
Script refusing()
{
   return Script().answerAll(
      [](const std::string&) { return statusReply("version", kRefusal, R"({"why":"too old"})"); });
}

char* allocate(void*, size_t length, void* context, quelerr_Status*)
{
   auto* const room = static_cast<std::vector<char>*>(context);
   return length <= room->size() ? room->data() : nullptr;
}

class Guest : public testing::Test
{
protected:
   // Calls everything on a session: the calls of the service, the containers, the attributes.
   static void useSession(zerovaapi_Session session)
   {
      FixedStatus status;
      for (const ServiceCall& call : serviceCalls())
         EXPECT_EQ(call.call(session, status), call.success) << call.method << status.text();
      const zerovaapi_RouteAttributes attributes = zerovaapi_RouteAttributes_new(status);
      zerovaapi_RouteAttributes_setOwnerName(attributes, "owner", status);
      zerovaapi_RouteConstraints_setStringConstraint(
         zerovaapi_RouteAttributes_getConstraints(attributes), "name", "value", status);
      zerovaapi_calculateRoute(session, "a", "b", attributes, status);
      zerovaapi_RouteAttributes_destroy(attributes);
      zerovaapi_destroyString(zerovaapi_showRoute(session, 1, status));
      EXPECT_EQ(status.code(), 0) << status.text();
      zerovaapi_destroyAllImmediateRoutes(session, status);
      EXPECT_EQ(status.code(), -52002);
   }

   static lorvex_Translator* createTranslator()
   {
      FixedStatus status;
      lorvex_Translator* const translator = lorvex_exported_create(
         "dorvex_zerova",
         R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"trvSharedErrorsDir":"/"}})",
         status);
      EXPECT_NE(translator, nullptr) << status.text();
      return translator;
   }

   void useTranslator()
   {
      lorvex_Translator* const translator = createTranslator();
      FixedStatus status;
      const uint32_t japanese = LORVEX_LANG_AND_ADE(lorvex_languageJapanese, 1);
      EXPECT_NE(translator->getStaticDesc(translator, 7, japanese, allocate, &room, status),
                nullptr);
      EXPECT_NE(
         translator->getDynamicDesc(translator, "{}", japanese, "json1", allocate, &room, status),
         nullptr);
      EXPECT_EQ(status.code(), 0) << status.text();
      translator->getDynamicDesc(translator, "no JSON", japanese, "json1", allocate, &room, status);
      EXPECT_EQ(status.code(), -52003);
      translator->destroy(translator);
      FixedStatus unknown;
      EXPECT_EQ(lorvex_exported_create("another", "{}", unknown), nullptr);
   }

   zerovaapi_Session connect(Endpoint endpoint) const
   {
      FixedStatus status;
      const zerovaapi_Session session = createSession(endpoint, host.text(), status);
      if (!session) throw std::runtime_error(status.text());
      return session;
   }

   // Every part once, what fails with it.
   void useEverything(ChildService& service)
   {
      for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
         const zerovaapi_Session session = connect(endpoint);
         useSession(session);
         zerovaapi_destroySession(session);
      }
      FixedStatus status;
      const zerovaapi_Session immediate = zerovaapi_createImmediateSession(status);
      useSession(immediate);
      useTranslator();
      service.kill();
      zerovaapi_getSystemChangeNumber(immediate, status);
      EXPECT_EQ(status.code(), -52024);
      zerovaapi_destroySession(immediate);
   }

   LoopbackAddress host;
   std::vector<char> room = std::vector<char>(16384);
};

TEST_F(Guest, LeavesTheProcessAsItWas)
{
   ChildService service(answeringPlainly(), host.text());
   service.start();
   const auto before = processState();
   useEverything(service);
   FixedStatus nobody;
   EXPECT_EQ(zerovaapi_createRemoteSession("no host has a name with blanks", nobody), nullptr);
   EXPECT_EQ(nobody.code(), -89168);
   EXPECT_EQ(processState(), before);
}

// Values that a library might take for granted are the host's own here.
TEST_F(Guest, LeavesAnUnusualProcessAsItWas)
{
   ChildService service(answeringPlainly(), host.text());
   service.start();
   const int usualRounding = std::fegetround();
   const mode_t usualMask = umask(0077);
   struct sigaction usual = {};
   struct sigaction ignored = {};
   ignored.sa_handler = SIG_IGN;
   sigaction(SIGUSR1, &ignored, &usual);
   std::fesetround(FE_UPWARD);
   const auto before = processState();
   useEverything(service);
   const auto after = processState();
   std::fesetround(usualRounding);
   sigaction(SIGUSR1, &usual, nullptr);
   umask(usualMask);
   EXPECT_EQ(after, before);
}

volatile std::sig_atomic_t brokenPipes = 0;

TEST_F(Guest, RaisesNoSignalOnABrokenConnection)
{
   ChildService service(answeringPlainly(), host.text());
   service.start();
   struct sigaction counting = {};
   struct sigaction usual = {};
   counting.sa_handler = [](int) { brokenPipes = brokenPipes + 1; };
   sigaction(SIGPIPE, &counting, &usual);
   const zerovaapi_Session sessions[] = {connect(Endpoint::local), connect(Endpoint::tcp)};
   service.kill();
   for (const zerovaapi_Session session : sessions) {
      for (int i = 0; i < 5; ++i) {
         FixedStatus status;
         zerovaapi_reserveRoute(session, 1, status);
         EXPECT_EQ(status.code(), -52024);
      }
      zerovaapi_destroySession(session);
   }
   sigaction(SIGPIPE, &usual, nullptr);
   EXPECT_EQ(brokenPipes, 0);
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
   ChildService service(answeringPlainly(), host.text());
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
   ChildService service(refusing(), host.text());
   service.start();
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp})
      expectThatAThousandRoundsLeaveNothing([&] {
         FixedStatus status;
         EXPECT_EQ(createSession(endpoint, host.text(), status), nullptr);
         EXPECT_EQ(status.code(), kRefusal);
      });
}

TEST_F(Guest, ThousandBrokenConnectionsLeaveNothingBehind)
{
   ChildService service(Script().acceptVersion().receive().close(), host.text());
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

// Another limit on open descriptors, and descriptors on nothing below it, for as long as it lives.
class FilledDescriptors
{
public:
   explicit FilledDescriptors(rlim_t limit)
   {
      getrlimit(RLIMIT_NOFILE, &usual_);
      rlimit other = usual_;
      other.rlim_cur = limit;
      if (setrlimit(RLIMIT_NOFILE, &other) != 0)
         throw std::runtime_error("the hard limit of descriptors is too low for this test: raise "
                                  "it to 6000 (ulimit -Hn)");
   }
   ~FilledDescriptors()
   {
      for (const int descriptor : open_)
         close(descriptor);
      setrlimit(RLIMIT_NOFILE, &usual_);
   }
   FilledDescriptors(const FilledDescriptors&) = delete;
   FilledDescriptors& operator=(const FilledDescriptors&) = delete;

   // Opens that many, or as many as there can be, and returns how many that were.
   size_t open(size_t count)
   {
      while (open_.size() < count) {
         const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
         if (next < 0) break;
         open_.push_back(next);
      }
      return open_.size();
   }

private:
   rlimit usual_ = {};
   std::vector<int> open_;
};

TEST_F(Guest, WorksAboveFiveThousandOpenDescriptors)
{
   ChildService service(answeringPlainly(), host.text());
   service.start();
   FilledDescriptors many(6000);
   ASSERT_EQ(many.open(5000), 5000u);
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      const zerovaapi_Session session = connect(endpoint);
      useSession(session);
      zerovaapi_destroySession(session);
   }
   useTranslator();
}

// UBSan, which runs with AddressSanitizer here, looks at an object's type with a pipe of its own and
// takes any for a wrong one when it gets none.
#ifndef __SANITIZE_ADDRESS__

// Leaves the process without a descriptor to open.
struct NoDescriptors : FilledDescriptors
{
   NoDescriptors()
      : FilledDescriptors(64)
   {
      open(SIZE_MAX);
   }
};

TEST_F(Guest, WithoutDescriptorsOpensNoSessionUntilThereAreSomeAgain)
{
   ChildService service(answeringPlainly(), host.text());
   service.start();
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      FixedStatus status;
      {
         const NoDescriptors none;
         EXPECT_EQ(createSession(endpoint, host.text(), status), nullptr);
      }
      EXPECT_EQ(status.code(), -89168) << status.text();
      zerovaapi_destroySession(connect(endpoint));
   }
}

TEST_F(Guest, OpenSessionNeedsNoFurtherDescriptor)
{
   ChildService service(answeringPlainly(), host.text());
   service.start();
   for (const Endpoint endpoint : {Endpoint::local, Endpoint::tcp}) {
      const zerovaapi_Session session = connect(endpoint);
      {
         const NoDescriptors none;
         useSession(session);
      }
      zerovaapi_destroySession(session);
   }
}

#endif

// What a program finds open that this process has begun by fork and exec.
std::string descriptorsOfAChild()
{
   int ends[2];
   if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
   posix_spawn_file_actions_t actions;
   posix_spawn_file_actions_init(&actions);
   posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
   std::string program = "/bin/ls";
   std::string folder = "/proc/self/fd";
   char* const arguments[] = {program.data(), folder.data(), nullptr};
   pid_t child = -1;
   const int error = posix_spawn(&child, program.c_str(), &actions, nullptr, arguments, environ);
   posix_spawn_file_actions_destroy(&actions);
   close(ends[1]);
   std::string listing;
   char buffer[4096];
   for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
      listing.append(buffer, static_cast<size_t>(count));
   close(ends[0]);
   if (error != 0 || waitpid(child, nullptr, 0) != child) throw std::runtime_error(program);
   return listing;
}

TEST_F(Guest, NewProgramInheritsNoDescriptor)
{
   ChildService service(answeringPlainly(), host.text());
   service.start();
   const std::string without = descriptorsOfAChild();
   const zerovaapi_Session sessions[] = {connect(Endpoint::local), connect(Endpoint::tcp)};
   lorvex_Translator* const translator = createTranslator();
   const std::string with = descriptorsOfAChild();
   translator->destroy(translator);
   for (const zerovaapi_Session session : sessions)
      zerovaapi_destroySession(session);
   EXPECT_THAT(without, testing::HasSubstr("\n2\n"));
   EXPECT_EQ(with, without);
}

} // namespace
