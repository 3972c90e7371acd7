// The library as a plug-in of a long-lived host: loaded, asked, and let go of, over and over.
#include "lorvex_translator.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>
#include <string>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#include <sanitizer/allocator_interface.h>
#else
#include <malloc.h>
#endif

namespace {

size_t heapBytesInUse()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
   return __sanitizer_get_current_allocated_bytes();
#else
   const struct mallinfo2 info = mallinfo2();
   return info.uordblks + info.hblkhd;
#endif
}

size_t openDescriptors()
{
   size_t count = 0;
   for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
      ++count;
   return count;
}

bool isLoaded()
{
   void* const library = dlopen(ZEROVAAPI_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
   if (library) dlclose(library);
   return library != nullptr;
}

// Loads the library, lets it fail once, so that every layer of a report has run, and lets go of it.
// Returns the code of the failure.
int32_t loadAskAndUnload()
{
   void* const library = dlopen(ZEROVAAPI_LIBRARY, RTLD_NOW | RTLD_LOCAL);
   if (!library) return 0;
   const auto create =
      reinterpret_cast<decltype(&lorvex_exported_create)>(dlsym(library, "lorvex_exported_create"));
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   if (create) create("wrong", "{}", &status);
   quelerr_heapStatus_release(&status);
   dlclose(library);
   return status.code;
}

TEST(Load, UnloadingTakesTheLibraryOutOfTheProcess)
{
   ASSERT_EQ(loadAskAndUnload(), -52005);
   EXPECT_FALSE(isLoaded());
}

TEST(Load, ThousandLoadsLeaveHeapAndDescriptorsAsTheyWere)
{
   // What the loader and the libraries below keep for good, they have after a few rounds.
   for (int i = 0; i < 10; ++i)
      ASSERT_EQ(loadAskAndUnload(), -52005);
   const size_t descriptors = openDescriptors();
   const size_t bytes = heapBytesInUse();
   for (int i = 0; i < 1000; ++i)
      ASSERT_EQ(loadAskAndUnload(), -52005);
   const size_t bytesAfter = heapBytesInUse();
   // The smallest block takes 32 bytes, so one that each load leaves behind adds 32,000. The
   // allocator's own caches account for a few hundred.
   EXPECT_LT(bytesAfter, bytes + 8'000);
   EXPECT_EQ(openDescriptors(), descriptors);
}

} // namespace
