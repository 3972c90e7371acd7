// The library as a program gets it, for the benchmarks of what it exports. Needs ZEROVA_LIBRARY.
#ifndef BENCH_EXPORTS_H
#define BENCH_EXPORTS_H

#include "bench/machine.h"
#include "quelerr_status.h"

#include <cstdio>
#include <cstdlib>

namespace bench {

// The exported functions as a program gets them: from the shared library.
class Exports
{
public:
   Exports()
      : library_(openLibrary(ZEROVA_LIBRARY))
   {
   }
   template <typename Function>
   Function* get(Function*, const char* name) const
   {
      void* const address = findFunction(library_, name);
      if (!address) fail(name);
      return reinterpret_cast<Function*>(address);
   }

private:
   [[noreturn]] static void fail(const char* what)
   {
      std::fprintf(stderr, "%s\n", what);
      std::exit(1);
   }
   void* library_;
};

inline const Exports& exports()
{
   static const Exports instance;
   return instance;
}

#define EXPORT(name) bench::exports().get(static_cast<decltype(&name)>(nullptr), #name)

inline void requireSuccess(const quelerr_Status& status)
{
   if (status.code == 0) return;
   std::fprintf(stderr, "call failed: %d %s\n", status.code, status.json ? status.json : "");
   std::exit(1);
}

} // namespace bench

#endif
