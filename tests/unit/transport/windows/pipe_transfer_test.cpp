// One transfer on a pipe of the system.
#include "unit/transport/transferring_pipe.h"

#include "support/windows/import_patch.h"

#include <gmock/gmock.h>

#include <windows.h>

namespace {

using zerova::test::ImportPatch;
using zerova::test::kProgram;

class OverlappedTransfer : public TransferringPipe
{
};

// The pipe of a service that has gone tells at once, by one number or the other.
TEST_F(OverlappedTransfer, EndOfTheConnectionHasTheNumbersOfTheSystem)
{
   peer.close();
   platform::PipeTransfer transfer{event->get()};
   EXPECT_EQ(platform::startRead(own.get(), buffer, sizeof buffer, transfer), ERROR_BROKEN_PIPE);
   EXPECT_EQ(platform::startWrite(own.get(), buffer, sizeof buffer, transfer), ERROR_NO_DATA);
}

TEST_F(OverlappedTransfer, DroppedConnectionIsNoPipeAnyMore)
{
   peer.reset();
   platform::PipeTransfer transfer{event->get()};
   EXPECT_EQ(platform::startRead(own.get(), buffer, sizeof buffer, transfer),
             ERROR_PIPE_NOT_CONNECTED);
   EXPECT_EQ(platform::startWrite(own.get(), buffer, sizeof buffer, transfer),
             ERROR_PIPE_NOT_CONNECTED);
}

TEST_F(OverlappedTransfer, ClosedHandleFailsTheStart)
{
   const platform::Handle closed = own.release();
   platform::closePipe(closed);
   platform::PipeTransfer transfer{event->get()};
   EXPECT_EQ(platform::startRead(closed, buffer, sizeof buffer, transfer), ERROR_INVALID_HANDLE);
   EXPECT_EQ(platform::startWrite(closed, buffer, sizeof buffer, transfer), ERROR_INVALID_HANDLE);
}

TEST_F(OverlappedTransfer, WaitForAnEventThatIsNoneFails)
{
   const platform::PipeTransfer transfer{0};
   const platform::WaitedTransfer waited = platform::waitForTransfer(transfer, 60000);
   EXPECT_EQ(waited.result, platform::TransferWait::failed);
   EXPECT_EQ(waited.error, ERROR_INVALID_HANDLE);
}

TEST_F(OverlappedTransfer, UnderWayHasANumberOfItsOwn)
{
   duringRead([&](platform::PipeTransfer& transfer) {
      uint32_t count = 0;
      EXPECT_EQ(platform::finishTransfer(own.get(), transfer, false, count), ERROR_IO_INCOMPLETE);
   });
}

int readsAsked = 0;

BOOL WINAPI countedRead(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*)
{
   ++readsAsked;
   SetLastError(ERROR_IO_PENDING);
   return FALSE;
}

// The system would have it wait until something has come.
TEST_F(OverlappedTransfer, ReadOfNothingIsNotAskedOfTheSystem)
{
   readsAsked = 0;
   const ImportPatch patch("ReadFile", countedRead, kProgram);
   platform::PipeTransfer transfer{event->get()};
   EXPECT_EQ(platform::startRead(own.get(), buffer, 0, transfer), 0);
   EXPECT_EQ(readsAsked, 0);
   EXPECT_EQ(platform::startRead(own.get(), buffer, 1, transfer), 0);
   EXPECT_EQ(readsAsked, 1);
}

} // namespace
