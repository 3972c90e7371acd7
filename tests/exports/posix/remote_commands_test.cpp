// What stands on the way to another host, as a caller sees it and as the commands tell it.
#include "exports/opening_cause.h"
#include "exports/opening_page.h"
#include "service/locator_peer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;
using testing::ElementsAreArray;

Opening sessionWith(const std::string& host)
{
   return [host](quelerr_Status* status) {
      return zerovaapi_createRemoteSession(host.c_str(), status);
   };
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

} // namespace
