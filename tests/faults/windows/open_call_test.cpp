// The call by which a session opens its pipe, as the system gets it.
#include "exports/peer_session.h"
#include "faults/fixed_status.h"
#include "support/windows/import_patch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <windows.h>

namespace {

using namespace zerova::test;

struct OpenCall
{
   std::string name;
   DWORD access;
   DWORD share;
   bool hasSecurity;
   DWORD disposition;
   DWORD flags;
};

std::vector<OpenCall> calls;

HANDLE WINAPI recorded(const char* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                       DWORD disposition, DWORD flags, HANDLE like)
{
   calls.push_back({name, access, share, security != nullptr, disposition, flags});
   return CreateFileA(name, access, share, security, disposition, flags, like);
}

TEST(OpenCall, OfASessionIsForReadingAndWritingOverlappedSharedWithNobodyAndNotInherited)
{
   const RawPeer service(Listener::local("com.zerova"), answeringPlainly());
   FixedStatus status;
   calls.clear();
   zerovaapi_Session session = nullptr;
   {
      const ImportPatch patch("CreateFileA", recorded);
      session = zerovaapi_createSession(status);
   }
   zerovaapi_destroySession(session);
   ASSERT_NE(session, nullptr) << status.text();
   ASSERT_EQ(calls.size(), 1u);
   EXPECT_EQ(calls[0].name, "\\\\.\\pipe\\com.zerova");
   EXPECT_EQ(calls[0].access, static_cast<DWORD>(GENERIC_READ | GENERIC_WRITE));
   EXPECT_EQ(calls[0].share, 0u);
   EXPECT_FALSE(calls[0].hasSecurity);
   EXPECT_EQ(calls[0].disposition, static_cast<DWORD>(OPEN_EXISTING));
   EXPECT_EQ(calls[0].flags, static_cast<DWORD>(FILE_FLAG_OVERLAPPED));
}

} // namespace
