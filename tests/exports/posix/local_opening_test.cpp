// Why a session on this machine does not open, cause by cause. There are three local endpoints, so
// three causes are seen at a time.
#include "exports/opening_cause.h"
#include "exports/opening_page.h"
#include "service/raw_peer.h"
#include "service/wire_bytes.h"
#include "support/other_account.h"
#include "support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

namespace {

using namespace zerova::test;
namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;

struct LocalEndpoint
{
   const char* name;
   Opening open;
};

const LocalEndpoint kPlain{"com.zerova", zerovaapi_createSession};
const LocalEndpoint kImmediate{"com.zerova.immediate", zerovaapi_createImmediateSession};
const LocalEndpoint kOfTheServicePath{"Trevanta/Zerova", [](quelerr_Status* status) {
                                         return zerovaapi_createRemoteSession("", status);
                                      }};

std::string pathOf(const LocalEndpoint& endpoint)
{
   return buildEndpointDir() + "/" + endpoint.name;
}

// The folders that an endpoint stands in, with nothing in the endpoint's place. What is there in the
// end goes, and so do the folders that were made for it.
class EndpointFolder
{
public:
   explicit EndpointFolder(const LocalEndpoint& endpoint)
      : file_(pathOf(endpoint))
   {
      for (fs::path folder = file_.parent_path(); !fs::exists(folder);
           folder = folder.parent_path())
         made_.push_back(folder);
      fs::create_directories(file_.parent_path());
      if (fs::is_directory(file_)) fs::remove(file_); // of a test that was killed
      // Replaces what another such test left, and does not replace a service that runs.
      const Listener trial = Listener::local(endpoint.name);
   }
   ~EndpointFolder()
   {
      std::error_code ignored;
      fs::remove(file_, ignored);
      for (const fs::path& folder : made_)
         fs::remove(folder, ignored); // refused while others use it
   }
   EndpointFolder(const EndpointFolder&) = delete;
   EndpointFolder& operator=(const EndpointFolder&) = delete;

   const fs::path& file() const { return file_; }

private:
   fs::path file_;
   std::vector<fs::path> made_; // the innermost first
};

// A socket on which nobody listens any more.
void leaveStale(const EndpointFolder& folder)
{
   const std::string first = "endpoint-of-a-service-that-ends";
   const Listener ends = Listener::local(first, folder.file().parent_path().string());
   fs::rename(folder.file().parent_path() / first, folder.file());
}

std::vector<std::string> looksOf(const LocalEndpoint& endpoint)
{
   return linesOfCommands("the endpoint", pathOf(endpoint));
}

// Where someone listens: the commands print all such endpoints of the machine.
std::string whereSomeoneListens(const std::vector<std::string>& looks,
                                const LocalEndpoint& endpoint)
{
   const auto first = looks.begin() + std::min<std::ptrdiff_t>(2, std::ssize(looks));
   if (std::find(first, looks.end(), pathOf(endpoint)) != looks.end()) return "here";
   return first == looks.end() ? "nowhere" : "elsewhere";
}

// Tests of another tree may listen elsewhere at any time.
bool isListeningAsSaid(const std::string& cell, const std::string& where)
{
   return cell == where || (cell == "nowhere" && where == "elsewhere");
}

void expectLooks(const std::string& cause, const LocalEndpoint& endpoint,
                 const std::vector<std::string>& looks)
{
   SCOPED_TRACE(cause);
   auto row = rowOf(cause);
   ASSERT_GE(looks.size(), 2u) << testing::PrintToString(looks);
   EXPECT_THAT(row["What is there"], Contains(looks[0]));
   EXPECT_THAT(row["For this account"], ElementsAre(looks[1]));
   const std::string said = row["Someone listens"].front();
   EXPECT_TRUE(isListeningAsSaid(said, whereSomeoneListens(looks, endpoint)))
      << said << " expected, seen " << testing::PrintToString(looks);
}

struct MadeCause
{
   std::string cause;
   const LocalEndpoint& endpoint;
};

void expectRows(const std::vector<MadeCause>& made)
{
   std::vector<Opening> openings;
   for (const MadeCause& one : made)
      openings.push_back(one.endpoint.open);
   const std::vector<SeenOpening> seen = tryToOpenAtOnce(openings);
   for (std::size_t i = 0; i < made.size(); ++i) {
      expectRow(made[i].cause, seen[i]);
      expectLooks(made[i].cause, made[i].endpoint, looksOf(made[i].endpoint));
   }
}

TEST(LocalOpening, EndpointOnWhichNobodyListensIsSeenAsItsRowSays)
{
   const EndpointFolder missing(kPlain);
   const EndpointFolder stale(kImmediate);
   const EndpointFolder plainFile(kOfTheServicePath);
   leaveStale(stale);
   std::ofstream(plainFile.file()) << "not a socket\n";
   expectRows({{"service not running", kPlain},
               {"stale socket", kImmediate},
               {"plain file in its place", kOfTheServicePath}});
}

TEST(LocalOpening, ServiceThatCannotBeReachedIsSeenAsItsRowSays)
{
   const EndpointFolder folder(kPlain);
   const EndpointFolder full(kImmediate);
   const EndpointFolder empty(kOfTheServicePath);
   fs::create_directory(folder.file());
   const Listener stopped = Listener::local(kImmediate.name, buildEndpointDir(), 0);
   const Stream first = Stream::connectLocal(kImmediate.name); // has the only place
   const ScratchFolder others;
   const RawPeer elsewhere(Listener::local("Zerova", others.path()), Script().close());
   expectRows({{"folder in its place", kPlain},
               {"service takes no connections", kImmediate},
               {"service in another folder", kOfTheServicePath}});
}

Script answeringTheVersion()
{
   return Script().answerAll([](const std::string&) { return plainReply("version"); });
}

// The fields in lines, since they come from another process.
std::string textOf(const SeenOpening& seen)
{
   return std::to_string(static_cast<int>(seen.opened)) + "\n" + std::to_string(seen.code) + "\n" +
          seen.json + "\n" + std::to_string(seen.time.count()) + "\n";
}

SeenOpening seenIn(std::istream& text)
{
   SeenOpening seen;
   std::chrono::milliseconds::rep time = 0;
   text >> seen.opened >> seen.code >> std::ws;
   std::getline(text, seen.json);
   text >> time >> std::ws;
   seen.time = std::chrono::milliseconds(time);
   return seen;
}

TEST(LocalOpening, ServiceThatTurnsTheCallerAwayIsSeenAsItsRowSays)
{
   OtherAccount user([] {
      std::string told = textOf(tryToOpen(kPlain.open));
      for (const std::string& look : looksOf(kPlain))
         told += look + "\n";
      return told;
   });
   const EndpointFolder closed(kPlain);
   const EndpointFolder taken(kImmediate);
   const RawPeer service(Listener::local(kPlain.name), answeringTheVersion());
   const RawPeer another(Listener::local(kImmediate.name), Script().close());
   ASSERT_TRUE(tryToOpen(kPlain.open).opened);
   fs::permissions(closed.file(), fs::perms::none);

   std::future<std::string> elsewhere =
      std::async(std::launch::async, [&user] { return user.run(); });
   expectRows({{"another program at the endpoint", kImmediate}});
   std::istringstream told(elsewhere.get());

   expectRow("no permission", seenIn(told));
   std::vector<std::string> looks;
   for (std::string look; std::getline(told, look);)
      looks.push_back(look);
   expectLooks("no permission", kPlain, looks);
}

} // namespace
