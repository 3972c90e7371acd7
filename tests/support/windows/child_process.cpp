#include "support/child_process.h"

#include "support/windows/started_program.h"

#include <stdexcept>

#include <winternl.h>

namespace {

using zerova::test::makePipeToRead;
using zerova::test::makePipeToWrite;
using zerova::test::startProgram;

[[noreturn]] void fail(const std::string& what)
{
   throw std::runtime_error(what + ": failure " + std::to_string(GetLastError()));
}

HANDLE handleOf(std::intptr_t handle)
{
   return reinterpret_cast<HANDLE>(handle);
}

// The system stops all threads of a process at once in a function that its import libraries lack.
bool stopThreads(HANDLE process)
{
   using Stop = NTSTATUS(NTAPI*)(HANDLE);
   const FARPROC found = GetProcAddress(GetModuleHandleA("ntdll.dll"), "NtSuspendProcess");
   const auto stop = reinterpret_cast<Stop>(reinterpret_cast<void*>(found));
   return stop && NT_SUCCESS(stop(process));
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& words)
{
   HANDLE toChild = nullptr;
   HANDLE fromChild = nullptr;
   HANDLE input = nullptr;
   HANDLE output = nullptr;
   if (!makePipeToWrite(toChild, input) || !makePipeToRead(fromChild, output))
      fail("no pipe to a child");
   const HANDLE process = startProgram(words, input, output, GetStdHandle(STD_ERROR_HANDLE));
   if (!process) fail(words[0]);
   CloseHandle(input);
   CloseHandle(output);
   process_ = reinterpret_cast<std::intptr_t>(process);
   toChild_ = reinterpret_cast<std::intptr_t>(toChild);
   fromChild_ = reinterpret_cast<std::intptr_t>(fromChild);
}

ChildProcess::~ChildProcess()
{
   CloseHandle(handleOf(toChild_));
   CloseHandle(handleOf(fromChild_));
   WaitForSingleObject(handleOf(process_), INFINITE);
   CloseHandle(handleOf(process_));
}

void ChildProcess::tell()
{
   const char byte = 's';
   DWORD count = 0;
   if (!WriteFile(handleOf(toChild_), &byte, 1, &count, nullptr)) fail("a child cannot be told");
}

bool ChildProcess::waitToBeTold()
{
   char byte = 0;
   DWORD count = 0;
   return ReadFile(handleOf(fromChild_), &byte, 1, &count, nullptr) && count == 1;
}

void ChildProcess::freeze()
{
   if (!stopThreads(handleOf(process_))) fail("a child cannot be frozen");
}

void ChildProcess::kill()
{
   if (!TerminateProcess(handleOf(process_), 1) ||
       WaitForSingleObject(handleOf(process_), INFINITE) != WAIT_OBJECT_0)
      fail("a child cannot be killed");
}
