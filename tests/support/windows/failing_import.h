// Lets a chosen call fail of all that the library makes of one function of the system.
#ifndef TESTS_SUPPORT_WINDOWS_FAILING_IMPORT_H
#define TESTS_SUPPORT_WINDOWS_FAILING_IMPORT_H

#include "support/windows/import_patch.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>

#include <windows.h>
#include <winsock2.h>

namespace zerova::test {

// A function as an argument of templates.
template <std::size_t size>
struct ImportName
{
   constexpr ImportName(const char (&name)[size]) { std::copy_n(name, size, text); }
   char text[size];
};

// An import with what it returns when it fails and the number that the system then tells.
struct Import
{
   struct Calls
   {
      std::size_t count = 0;
      std::size_t failing = SIZE_MAX;
      DWORD failure = 0;
   };

   const char* name;
   DWORD failure;
   void* replacement;
   void** original;
   Calls* calls;
};

inline void PrintTo(const Import& import, std::ostream* out)
{
   *out << import.name;
}

template <ImportName name, auto result, typename Function>
struct ImportCall;

template <ImportName name, auto result, typename Result, typename... Arguments>
struct ImportCall<name, result, Result(Arguments...)>
{
   static inline void* original = nullptr;
   static inline Import::Calls calls;

   static Result call(Arguments... arguments)
   {
      if (calls.count++ != calls.failing)
         return reinterpret_cast<Result (*)(Arguments...)>(original)(arguments...);
      SetLastError(calls.failure);
      return (Result)result; // a handle too, which no other cast makes of a number
   }
};

template <ImportName name, auto result, typename Function>
Import importOf(DWORD failure)
{
   using Call = ImportCall<name, result, Function>;
   static constexpr ImportName kName = name;
   return {kName.text, failure, reinterpret_cast<void*>(Call::call), &Call::original, &Call::calls};
}

// Fails the call number index of the import, counted from 0 and from now on.
class FailingImport
{
public:
   FailingImport(const Import& import, std::size_t index)
      : import_(import)
      , patch_(import.name, import.replacement)
   {
      *import.original = patch_.original();
      *import.calls = {0, index, import.failure};
   }

   bool hasFailed() const { return import_.calls->count > import_.calls->failing; }

private:
   const Import& import_;
   const ImportPatch patch_;
};

} // namespace zerova::test

#endif
