// Opening a pipe of the system.
#include "support/windows/import_patch.h"
#include "transport/pipe_transport.h"
#include "unit/transport/asked_verifier.h"
#include "unit/transport/descriptors.h"
#include "unit/transport/local_service.h"
#include "unit/transport/system_faults.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>

namespace {

using apache::thrift::transport::TPipe;
using apache::thrift::transport::TTransportException;
using platform::PipeOpener;
using platform::PipeOpening;
using testing::ElementsAre;
using zerova::test::ImportPatch;
using zerova::test::kProgram;

using Open = decltype(&CreateFileA);
using Wait = decltype(&WaitNamedPipeA);

Open realOpen = nullptr;
std::vector<DWORD> flagsOfCalls;
DWORD failureOfCalls = 0; // 0: none fails

HANDLE WINAPI recordedOpen(const char* name, DWORD access, DWORD share,
                           SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                           HANDLE like)
{
   flagsOfCalls.push_back(flags);
   if (failureOfCalls == 0)
      return realOpen(name, access, share, security, disposition, flags, like);
   SetLastError(failureOfCalls);
   return INVALID_HANDLE_VALUE;
}

std::vector<DWORD> limitsOfWaits;

BOOL WINAPI recordedWait(const char*, DWORD limit)
{
   limitsOfWaits.push_back(limit);
   return FALSE;
}

// The calls that open, as the system gets them.
class RecordedOpens
{
public:
   explicit RecordedOpens(DWORD failure = 0)
      : patch_("CreateFileA", recordedOpen, kProgram)
   {
      realOpen = reinterpret_cast<Open>(patch_.original());
      flagsOfCalls.clear();
      failureOfCalls = failure;
   }

private:
   const ImportPatch patch_;
};

int errorOfOpening(const std::string& name)
{
   return PipeOpener(fullPipeName(name).c_str()).open(0).error;
}

TEST(PipeOpenCall, FlagsOfTheVerifierAreAddedToThatOfOverlappedTransfers)
{
   const LocalService service;
   AskedVerifier verifier;
   constexpr DWORD kOfVerifier = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;
   verifier.flags = [](int) { return uint32_t{kOfVerifier}; };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const RecordedOpens opens;
   pipe.open();
   EXPECT_THAT(flagsOfCalls, ElementsAre(FILE_FLAG_OVERLAPPED | kOfVerifier));
}

TEST(PipeOpenCall, FlagsAreThoseOfEachPass)
{
   const LocalService service;
   AskedVerifier verifier;
   verifier.flags = [](int pass) { return pass == 1 ? 0u : uint32_t{SECURITY_SQOS_PRESENT}; };
   TPipe pipe(service.name());
   pipe.setVerifier(&verifier);
   const faults::Refused busyOnce(faults::Wish::kPipeThatIsNotBusy);
   const RecordedOpens opens;
   pipe.open();
   EXPECT_THAT(flagsOfCalls,
               ElementsAre(FILE_FLAG_OVERLAPPED, FILE_FLAG_OVERLAPPED | SECURITY_SQOS_PRESENT));
}

TEST(PipeOpenCall, FailureOfTheSystemIsPassedOnAndLeavesNothingOpen)
{
   const LocalService service;
   const size_t before = descriptors::countOpen();
   for (const DWORD failure : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_TOO_MANY_OPEN_FILES}}) {
      const RecordedOpens opens(failure);
      EXPECT_EQ(errorOfOpening(service.name()), static_cast<int>(failure));
   }
   EXPECT_EQ(descriptors::countOpen(), before);
}

TEST(PipeOpenCall, EachReasonHasItsNumber)
{
   EXPECT_EQ(errorOfOpening(unusedPipeName()), ERROR_FILE_NOT_FOUND);
   EXPECT_NE(errorOfOpening(std::string(300, 'x')), 0);
   std::optional<LocalService> service(std::in_place, 0);
   const std::string name = service->name();
   {
      const auto others = service->fill();
      EXPECT_EQ(errorOfOpening(name), ERROR_PIPE_BUSY);
   }
   service.reset();
   EXPECT_EQ(errorOfOpening(name), ERROR_FILE_NOT_FOUND) << "of a service that has gone";
}

TEST(PipeOpenCall, PrefixIsFoundWithoutRegardToCase)
{
   LocalService service;
   const std::string name = "\\\\.\\PIPE\\" + service.name();
   const platform::OpenedPipe opened = PipeOpener(name.c_str()).open(0);
   EXPECT_EQ(opened.result, PipeOpening::opened) << opened.error;
   platform::closePipe(opened.pipe);
}

TEST(PipeOpenCall, BusyPipeIsWaitedForThreeSecondsOnce)
{
   const LocalService service;
   TPipe pipe(service.name());
   const RecordedOpens opens(ERROR_PIPE_BUSY);
   limitsOfWaits.clear();
   const ImportPatch waiting("WaitNamedPipeA", recordedWait, kProgram);
   EXPECT_THROW(pipe.open(), TTransportException);
   EXPECT_THAT(flagsOfCalls, ElementsAre(FILE_FLAG_OVERLAPPED));
   EXPECT_THAT(limitsOfWaits, ElementsAre(3000u));
}

} // namespace
