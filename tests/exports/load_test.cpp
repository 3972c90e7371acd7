// The library as a plug-in of a long-lived host: loaded, asked, and let go of, over and over.
#include "lorvex_translator.h"
#include "support/heap_in_use.h"
#include "support/library.h"
#include "support/open_descriptors.h"

#include <gtest/gtest.h>

#include <string>

#ifdef __SANITIZE_ADDRESS__
extern "C" int __lsan_do_recoverable_leak_check();
#endif

namespace {

// Bytes that repeating action leaves on the heap, over and above a few rounds of it.
template <typename Action>
size_t heapGrowth(int rounds, Action action)
{
   // What the loader and the libraries below keep for good, they have after these.
   for (int i = 0; i < 10; ++i)
      action();
#ifdef __SANITIZE_ADDRESS__
   // The sanitizer's own notes on what is loaded grow, so the one that can tell is asked: memory of
   // a library that is gone is memory that nothing points to.
   for (int i = 0; i < rounds; ++i)
      action();
   return __lsan_do_recoverable_leak_check() ? SIZE_MAX : 0;
#else
   const size_t before = heapBytesInUse();
   for (int i = 0; i < rounds; ++i)
      action();
   const size_t after = heapBytesInUse();
   return after > before ? after - before : 0;
#endif
}

// Loads the library, lets it fail once, so that every layer of a report has run, and lets go of it.
// Returns the code of the failure.
int32_t loadAskAndUnload()
{
   char reason[256];
   void* const library = loadLibrary(ZEROVAAPI_LIBRARY, false, reason, sizeof reason);
   if (!library) return 0;
   const auto create = reinterpret_cast<decltype(&lorvex_exported_create)>(
      findFunction(library, "lorvex_exported_create"));
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   if (create) create("wrong", "{}", &status);
   quelerr_heapStatus_release(&status);
   unloadLibrary(library);
   return status.code;
}

TEST(Load, UnloadingTakesTheLibraryOutOfTheProcess)
{
   ASSERT_EQ(loadAskAndUnload(), -52005);
   EXPECT_FALSE(isLoaded(ZEROVAAPI_LIBRARY));
}

TEST(Load, ThousandLoadsLeaveHeapAndDescriptorsAsTheyWere)
{
   const size_t descriptors = openDescriptors();
   int32_t code = -52005;
   const size_t growth = heapGrowth(1000, [&code] {
      if (code == -52005) code = loadAskAndUnload();
   });
   EXPECT_EQ(code, -52005);
   EXPECT_EQ(openDescriptors(), descriptors);
   // The smallest block takes 32 bytes, so one that each load leaves behind adds 32,000. The
   // allocator's own caches account for a few hundred.
   EXPECT_LT(growth, 8'000u);
}

} // namespace
