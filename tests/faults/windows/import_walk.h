// Fails every call of every import in turn while something is done with the library.
#ifndef TESTS_FAULTS_WINDOWS_IMPORT_WALK_H
#define TESTS_FAULTS_WINDOWS_IMPORT_WALK_H

#include "faults/fixed_status.h"
#include "service/json_check.h"
#include "support/failing_malloc.h"
#include "support/windows/failing_import.h"
#include "support/windows/library_handles.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zerova::test {

// use(status) does something and returns whether it has got its result; it runs once without a failure
// to see that it can, and for what is made once for the process. Returns how often a call of the import
// has failed. Each such use must end well or in a told failure, leave nothing, and work afterwards.
template <typename Use>
std::size_t failEachCall(const Import& import, Use use)
{
   constexpr std::size_t kEachOne = 8;
   const auto works = [&use] {
      FixedStatus status;
      EXPECT_TRUE(use(status)) << status.code() << status.text();
   };
   works();
   const LibraryHandles handles;
   std::size_t failures = 0;
   // Behind the first ones few, as there may be a call for each byte that comes.
   for (std::size_t index = 0;; index += index < kEachOne ? 1 : index) {
      SCOPED_TRACE(index);
      const ptrdiff_t blocks = liveBlocks();
      FixedStatus status;
      bool hasResult = false;
      bool hasFailed = false;
      {
         const FailingImport failing(import, index);
         hasResult = use(status);
         hasFailed = failing.hasFailed();
      }
      const ptrdiff_t left = liveBlocks() - blocks;
      EXPECT_EQ(left, 0) << "blocks";
      EXPECT_EQ(handles.count(), 0) << "handles";
      EXPECT_EQ(hasResult, status.code() == 0) << status.code() << status.text();
      EXPECT_TRUE(!status.hasText() || isJsonDocument(status.text())) << status.text();
      if (!hasFailed) {
         EXPECT_TRUE(hasResult) << status.code() << status.text();
         return failures;
      }
      ++failures;
      works();
      if (testing::Test::HasFailure()) return failures;
   }
}

} // namespace zerova::test

#endif
