// Does to the service's pipe what a service would not do, until its input ends:
//
//    busy     the only instance of the pipe is taken
//    silent   connections are taken, and nothing is answered
#include <windows.h>

#include <iostream>
#include <string>

namespace {

constexpr char kPipe[] = "\\\\.\\pipe\\com.zerova";

int fail(const char* what)
{
   std::cerr << what << ": failure " << GetLastError() << '\n';
   return 1;
}

HANDLE open()
{
   return CreateFileA(kPipe, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
}

int own(bool isBusy)
{
   const DWORD instances = isBusy ? 1 : 4;
   for (DWORD i = 0; i < instances; ++i)
      if (CreateNamedPipeA(kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, instances, 4096, 4096, 0,
                           nullptr) == INVALID_HANDLE_VALUE)
         return fail("no pipe");
   if (isBusy && open() == INVALID_HANDLE_VALUE) return fail("it cannot be taken");
   std::cout << "ready" << std::endl;
   for (std::string line; std::getline(std::cin, line);) {
   }
   return 0;
}

} // namespace

int main(int argc, char** argv)
{
   const std::string what = argc > 1 ? argv[1] : "";
   if (what == "busy" || what == "silent") return own(what == "busy");
   return 2;
}
