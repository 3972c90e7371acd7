// Why a session with another host does not open, cause by cause.
#include "exports/opening_cause.h"
#include "exports/opening_page.h"
#include "service/locator_peer.h"
#include "service/wire_bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAreArray;

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

struct Place
{
   std::string cause;
   std::string host;
};

TEST(RemoteOpening, CauseOnTheWayIsSeenAsItsRowSays)
{
   const std::string page = "HTTP/1.0 404 Not Found\r\n\r\n<p>No such page</p>\n";
   const LoopbackAddress nobody;
   const LoopbackAddress withAWebServer;
   LocatorPeer webServer(withAWebServer.text(), page);
   const LoopbackAddress withoutService;
   const LoopbackAddress withAnotherProgram;
   RawPeer another(Listener::tcp(withAnotherProgram.text()), Script().receive().close());
   const std::optional<ReservedAddress> closed = ReservedAddress::take(withoutService.text(), 4000);
   LocatorPeer staleLocator(withoutService.text(), mappingReply(4000));
   LocatorPeer mistakenLocator(withAnotherProgram.text(), mappingReply(another.port()));
   const std::vector<Place> places = {
      {"unknown host", "no host has a name with blanks"},
      {"no locator", nobody.text()},
      {"locator that is something else", withAWebServer.text()},
      {"closed port", withoutService.text()},
      {"another program at the port", withAnotherProgram.text()},
   };
   std::vector<Opening> openings;
   for (const Place& place : places)
      openings.push_back(sessionWith(place.host));

   const std::vector<SeenOpening> seen = tryToOpenAtOnce(openings);

   for (std::size_t i = 0; i < places.size(); ++i) {
      expectRow(places[i].cause, seen[i]);
      EXPECT_THAT(linesOfCommands("the host", places[i].host),
                  ElementsAreArray(rowOf(places[i].cause)["The commands say"]))
         << places[i].cause;
   }
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
