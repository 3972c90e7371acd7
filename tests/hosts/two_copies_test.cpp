// A host whose plug-ins each bring a copy of the library.
#include "hosts/host.h"

#include "support/scratch_folder.h"

#include <filesystem>

namespace {

using namespace zerova::test;

class TwoCopies : public Host
{
protected:
   TwoCopies() { std::filesystem::copy_file(ZEROVAAPI_LIBRARY, files_[1]); }

   void load(bool global)
   {
      for (size_t i = 0; i < 2; ++i)
         ASSERT_TRUE(tourLoad(&tours_[i], files_[i].c_str(), global)) << tours_[i].failure;
      ASSERT_NE(tours_[0].library, tours_[1].library);
   }

   void open(size_t i) { ASSERT_TRUE(tourOpen(&tours_[i], serviceHost())) << tours_[i].failure; }
   void use(size_t i) { ASSERT_TRUE(tourUse(&tours_[i])) << tours_[i].failure; }
   void close(size_t i) { ASSERT_TRUE(tourClose(&tours_[i])) << tours_[i].failure; }
   void unload(size_t i)
   {
      ASSERT_TRUE(tourUnload(&tours_[i], files_[i].c_str())) << tours_[i].failure;
   }

private:
   ScratchFolder folder_;
   std::string files_[2] = {
      ZEROVAAPI_LIBRARY,
      folder_.path(std::filesystem::path(ZEROVAAPI_LIBRARY).filename().string())};
   Tour tours_[2] = {};
};

TEST_F(TwoCopies, WorkSideBySide)
{
   for (const bool global : {false, true}) {
      load(global);
      open(0);
      open(1);
      for (int round = 0; round < 2; ++round) {
         use(1);
         use(0);
      }
      close(0);
      close(1);
      unload(1);
      unload(0);
   }
}

TEST_F(TwoCopies, EachOutlivesTheOther)
{
   for (const size_t first : {0u, 1u})
      for (const bool global : {false, true}) {
         const size_t last = 1 - first;
         load(global);
         open(last);
         open(first);
         use(first);
         close(first);
         unload(first);
         use(last);
         close(last);
         open(last);
         use(last);
         close(last);
         unload(last);
      }
}

} // namespace
