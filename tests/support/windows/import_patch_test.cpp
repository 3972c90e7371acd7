#include "support/windows/import_patch.h"

#include "faults/fixed_status.h"
#include "zerovaapi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace {

using namespace zerova::test;
using testing::IsSupersetOf;

void* noMemory(size_t)
{
   return nullptr;
}

int32_t codeOfNewAttributes()
{
   FixedStatus status;
   zerovaapi_RouteAttributes_destroy(zerovaapi_RouteAttributes_new(status));
   return status.code();
}

TEST(ImportPatch, NamesOfTheLibrarysImportsAreTold)
{
   EXPECT_THAT(importsOf(kLibrary), IsSupersetOf({"CreateFileA", "malloc", "send"}));
}

TEST(ImportPatch, NameThatIsNotImportedIsRefused)
{
   EXPECT_THROW(ImportPatch("NoSuchFunction", noMemory), std::runtime_error);
}

TEST(ImportPatch, LibraryThatIsNotLoadedIsRefused)
{
   EXPECT_FALSE(isLoaded("none.dll"));
   EXPECT_THROW(importsOf("none.dll"), std::runtime_error);
}

TEST(ImportPatch, LibraryAloneCallsTheReplacementForAsLongAsItLives)
{
   int32_t code = 0;
   std::unique_ptr<int> ofTheProgram;
   {
      const ImportPatch patch("malloc", noMemory);
      code = codeOfNewAttributes();
      ofTheProgram = std::make_unique<int>(1);
   }
   EXPECT_EQ(code, -52000);
   EXPECT_NE(ofTheProgram, nullptr);
   EXPECT_EQ(codeOfNewAttributes(), 0);
}

TEST(ImportPatch, ProgramAloneCallsTheReplacementOfItsOwnImport)
{
   int32_t code = 1;
   bool hasBlock = true;
   {
      const ImportPatch patch("malloc", noMemory, kProgram);
      void* const block = std::malloc(1);
      hasBlock = block != nullptr;
      std::free(block);
      code = codeOfNewAttributes();
   }
   EXPECT_FALSE(hasBlock);
   EXPECT_EQ(code, 0);
}

} // namespace
