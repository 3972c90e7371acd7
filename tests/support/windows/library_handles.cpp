#include "support/windows/library_handles.h"

#include <cstdio>

#include <windows.h>
#include <winsock2.h>

namespace zerova::test {

namespace {

int held = 0;

template <int change, bool (*counts)(std::intptr_t), typename Function>
struct Counted;

// One type for each function, as each has an original of its own.
template <int change, bool (*counts)(std::intptr_t), typename Result, typename... Arguments>
struct Counted<change, counts, Result(Arguments...)>
{
   template <int>
   struct Of
   {
      static inline Result (*original)(Arguments...) = nullptr;

      static Result call(Arguments... arguments)
      {
         const Result result = original(arguments...);
         if (counts((std::intptr_t)result)) held += change; // of a handle or a number
         return result;
      }
   };
};

bool isHandle(std::intptr_t result)
{
   return result != 0 && result != -1;
}

bool isSuccess(std::intptr_t result)
{
   return result == 0;
}

bool isTrue(std::intptr_t result)
{
   return result != 0;
}

} // namespace

#define ZEROVA_COUNT(name, change, counts)                                                         \
   do {                                                                                            \
      using Call = Counted<change, counts, decltype(name)>::Of<__LINE__>;                          \
      const ImportPatch& patch = patches_.emplace_back(#name, Call::call);                         \
      Call::original = reinterpret_cast<decltype(Call::original)>(patch.original());               \
   } while (false)

LibraryHandles::LibraryHandles()
{
   held = 0;
   ZEROVA_COUNT(CreateEventA, 1, isHandle);
   ZEROVA_COUNT(CreateFileA, 1, isHandle);
   ZEROVA_COUNT(FindFirstFileW, 1, isHandle);
   ZEROVA_COUNT(WSASocketW, 1, isHandle);
   ZEROVA_COUNT(_wfsopen, 1, isHandle);
   ZEROVA_COUNT(RegOpenKeyExW, 1, isSuccess);
   ZEROVA_COUNT(CloseHandle, -1, isTrue);
   ZEROVA_COUNT(FindClose, -1, isTrue);
   ZEROVA_COUNT(closesocket, -1, isSuccess);
   ZEROVA_COUNT(fclose, -1, isSuccess);
   ZEROVA_COUNT(RegCloseKey, -1, isSuccess);
}

#undef ZEROVA_COUNT

int LibraryHandles::count() const
{
   return held;
}

} // namespace zerova::test
