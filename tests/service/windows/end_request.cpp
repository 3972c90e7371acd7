#include "service/standin/end_request.h"

#include "service/windows/handles.h"

#include <thread>

namespace zerova::standin {

namespace {

using test::handleOf;

// Of the one object that there is; the system's handler is given nothing of the caller's.
HANDLE asked = nullptr;

BOOL WINAPI noteThatAnEndIsAsked(DWORD)
{
   return SetEvent(asked);
}

void readInput()
{
   const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
   char ignored[256];
   DWORD count = 1;
   while (ReadFile(input, ignored, sizeof ignored, &count, nullptr) && count > 0) {
   }
   SetEvent(asked);
}

} // namespace

EndRequest::EndRequest()
   : handle_(reinterpret_cast<test::NativeHandle>(CreateEventA(nullptr, TRUE, FALSE, nullptr)))
{
   asked = handleOf(handle_);
   if (!asked) test::fail("cannot make an event", GetLastError());
   SetConsoleCtrlHandler(noteThatAnEndIsAsked, TRUE);
}

// The event stays: the input may be read until the process ends.
EndRequest::~EndRequest()
{
   SetConsoleCtrlHandler(noteThatAnEndIsAsked, FALSE);
}

void EndRequest::wait()
{
   std::thread(readInput).detach();
   waitForSignal();
}

void EndRequest::waitForSignal()
{
   WaitForSingleObject(asked, INFINITE);
}

} // namespace zerova::standin
