// Every call that a session makes of the system fails in turn.
#include "exports/peer_session.h"
#include "faults/endpoint.h"
#include "faults/windows/import_walk.h"
#include "service/locator_peer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ws2tcpip.h>

namespace {

using namespace zerova::test;

// The runtime's own calls are not among them, nor those that let go of something: what could not be
// closed stays open. Nor are select and send: who cannot send a request to the locator reads on for a
// minute, as the locator may still have something to tell.
const Import kImports[] = {
   importOf<"malloc", nullptr, decltype(malloc)>(ERROR_NOT_ENOUGH_MEMORY),
   importOf<"CreateEventA", nullptr, decltype(CreateEventA)>(ERROR_NO_SYSTEM_RESOURCES),
   importOf<"CreateFileA", -1, decltype(CreateFileA)>(ERROR_ACCESS_DENIED),
   importOf<"ReadFile", FALSE, decltype(ReadFile)>(ERROR_BROKEN_PIPE),
   importOf<"WriteFile", FALSE, decltype(WriteFile)>(ERROR_NO_DATA),
   importOf<"GetOverlappedResult", FALSE, decltype(GetOverlappedResult)>(ERROR_BROKEN_PIPE),
   importOf<"SetEvent", FALSE, decltype(SetEvent)>(ERROR_INVALID_HANDLE),
   importOf<"GetSystemTimeAdjustment", FALSE, decltype(GetSystemTimeAdjustment)>(
      ERROR_ACCESS_DENIED),
   importOf<"WSAStartup", WSASYSNOTREADY, decltype(WSAStartup)>(WSASYSNOTREADY),
   importOf<"WSASocketW", -1, decltype(WSASocketW)>(WSAENOBUFS),
   importOf<"SetHandleInformation", FALSE, decltype(SetHandleInformation)>(ERROR_INVALID_HANDLE),
   importOf<"ioctlsocket", SOCKET_ERROR, decltype(ioctlsocket)>(WSAENOBUFS),
   importOf<"setsockopt", SOCKET_ERROR, decltype(setsockopt)>(WSAENOBUFS),
   importOf<"getsockopt", SOCKET_ERROR, decltype(getsockopt)>(WSAENOBUFS),
   importOf<"connect", SOCKET_ERROR, decltype(connect)>(WSAECONNREFUSED),
   importOf<"WSAPoll", SOCKET_ERROR, decltype(WSAPoll)>(WSAENOBUFS),
   importOf<"recv", SOCKET_ERROR, decltype(recv)>(WSAECONNRESET),
   importOf<"shutdown", SOCKET_ERROR, decltype(shutdown)>(WSAENOTCONN),
   importOf<"getaddrinfo", EAI_MEMORY, decltype(getaddrinfo)>(WSA_NOT_ENOUGH_MEMORY),
};

class SessionOnAFailingSystem : public testing::TestWithParam<Import>
{
};

INSTANTIATE_TEST_SUITE_P(All, SessionOnAFailingSystem, testing::ValuesIn(kImports),
                         [](const auto& each) { return std::string(each.param.name); });

// A session, a call of it and its end.
bool useSession(Endpoint endpoint, const std::string& host, quelerr_Status* status)
{
   const zerovaapi_Session session = createSession(endpoint, host, status);
   const bool hasResult = zerovaapi_getSystemChangeNumber(session, status) == 7;
   zerovaapi_destroySession(session);
   return hasResult;
}

TEST_P(SessionOnAFailingSystem, EndsWellOrIsToldToHaveFailedAndLeavesNothing)
{
   const RawPeer service(Listener::local("com.zerova"), answeringPlainly());
   failEachCall(GetParam(),
                [](quelerr_Status* status) { return useSession(Endpoint::local, "", status); });
   RemotePeer remote(answeringPlainly());
   failEachCall(GetParam(), [&remote](quelerr_Status* status) {
      return useSession(Endpoint::tcp, remote.host(), status);
   });
}

// The walk is worth what it meets.
TEST(SessionImports, AreThoseThatPipesAndSocketsNeed)
{
   const RawPeer service(Listener::local("com.zerova"), answeringPlainly());
   RemotePeer remote(answeringPlainly());
   std::vector<std::string> met;
   for (const Import& import : kImports) {
      const FailingImport counted(import, SIZE_MAX);
      FixedStatus status;
      useSession(Endpoint::local, "", status);
      useSession(Endpoint::tcp, remote.host(), status);
      if (import.calls->count > 0) met.emplace_back(import.name);
   }
   EXPECT_THAT(met, testing::IsSupersetOf({"malloc", "CreateEventA", "CreateFileA", "ReadFile",
                                           "WriteFile", "GetOverlappedResult", "WSASocketW",
                                           "ioctlsocket", "connect", "recv"}));
}

} // namespace
