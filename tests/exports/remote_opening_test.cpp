// Why a session with another host does not open, cause by cause.
#include "exports/opening_cause.h"
#include "exports/opening_page.h"
#include "service/locator_peer.h"
#include "service/wire_bytes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;

constexpr const char* kRefusal = R"({"why":"clients of version 1.0 are too old"})";

Opening sessionWith(const std::string& host)
{
   return [host](quelerr_Status* status) {
      return zerovaapi_createRemoteSession(host.c_str(), status);
   };
}

Script answeringTheVersion(const std::string& reply)
{
   return Script().answer([reply](const std::string&) { return reply; }).hold();
}

SeenOpening tryToOpenAt(const Script& service)
{
   const RemotePeer peer(service);
   return tryToOpen(sessionWith(peer.host()));
}

TEST(RemoteOpening, RefusedVersionIsSeenAsItsRowSays)
{
   const SeenOpening refused =
      tryToOpenAt(answeringTheVersion(statusReply("version", -77, kRefusal)));
   const SeenOpening warned =
      tryToOpenAt(answeringTheVersion(statusReply("version", 77, kRefusal)));
   const SeenOpening unsaid = tryToOpenAt(answeringTheVersion(statusReply("version", 0, kRefusal)));
   expectRow("version refused", refused, {-77, kRefusal});
   expectRow("version refused with a positive code", warned, {77, kRefusal});
   expectRow("version refused with code 0", unsaid, {0, kRefusal});
}

TEST(RemoteOpening, ServiceThatIsNotReadyOrSpeaksAnotherProtocolIsSeenAsItsRowSays)
{
   const RemotePeer starting(answeringTheVersion(statusReply("version", -89168, kRefusal)));
   const RemotePeer babbling(answeringTheVersion(
      WireBytes().i32(static_cast<int32_t>(0x80020002u)).text("version").frame()));
   const RemotePeer unwilling(answeringTheVersion(exceptionReply("version", 1, "no such method")));

   const std::vector<SeenOpening> seen = tryToOpenAtOnce(
      {sessionWith(starting.host()), sessionWith(babbling.host()), sessionWith(unwilling.host())});

   expectRow("version refused with -89168", seen[0], {-89168, kRefusal});
   expectRow("another protocol", seen[1]);
   expectRow("another protocol", seen[2]);
}

// No wait proves that a call never returns; this one is longer than the limit of all attempts.
TEST(RemoteOpening, SilentServiceKeepsTheCallUntilItsConnectionEnds)
{
   std::optional<RemotePeer> peer(Script().receive().hold());
   auto row = rowOf("silent service");
   std::future<SeenOpening> opening =
      std::async(std::launch::async, tryToOpen, sessionWith(peer->host()));
   ASSERT_TRUE(peer->service().waitForFrames(1));

   const bool returned = opening.wait_for(std::chrono::seconds(6)) == std::future_status::ready;
   peer.reset();

   EXPECT_EQ(returned, row["Returns"].front() != "never");
   EXPECT_EQ(opening.get().code, -89168);
}

} // namespace
