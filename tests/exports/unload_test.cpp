// A host that has worked with the library lets go of it.
#include "lorvex_translator.h"
#include "service/locator_peer.h"
#include "service/raw_peer.h"
#include "service/wire_bytes.h"
#include "support/library.h"
#include "zerovaapi.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

using namespace zerova::test;

class Library
{
public:
   Library()
      : handle_(loadLibrary(ZEROVAAPI_LIBRARY, false, reason_.data(), reason_.size()))
   {
   }
   ~Library()
   {
      if (handle_) unloadLibrary(handle_);
   }
   Library(const Library&) = delete;
   Library& operator=(const Library&) = delete;

   template <typename Function>
   Function* find(const char* name) const
   {
      return reinterpret_cast<Function*>(findFunction(handle_, name));
   }

private:
   std::array<char, 256> reason_{};
   void* const handle_;
};

char* QUELERR_CALL allocate(void*, size_t length, void* context, quelerr_Status*)
{
   auto* const room = static_cast<std::array<char, 4096>*>(context);
   return length <= room->size() ? room->data() : nullptr;
}

// Calls a session, well and in vain. Returns the number that the service gave.
int32_t useSession(const Library& library, const std::string& host)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const zerovaapi_Session session = library.find<decltype(zerovaapi_createRemoteSession)>(
      "zerovaapi_createRemoteSession")(host.c_str(), &status);
   const int32_t number = library.find<decltype(zerovaapi_getSystemChangeNumber)>(
      "zerovaapi_getSystemChangeNumber")(session, &status);
   EXPECT_EQ(status.code, 0);
   library.find<decltype(zerovaapi_reserveRoute)>("zerovaapi_reserveRoute")(session, 1, &status);
   EXPECT_EQ(status.code, -52024);
   library.find<decltype(zerovaapi_destroySession)>("zerovaapi_destroySession")(session);
   quelerr_heapStatus_release(&status);
   return number;
}

void useTranslator(const Library& library)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   lorvex_Translator* const translator = library.find<decltype(lorvex_exported_create)>(
      "lorvex_exported_create")("dorvex_zerova", R"({"lorvexlua_xlator":"dorvex"})", &status);
   ASSERT_NE(translator, nullptr);
   std::array<char, 4096> room;
   EXPECT_NE(translator->getDynamicDesc(translator, "{}", 0, "json1", allocate, &room, &status),
             nullptr);
   translator->destroy(translator);
   quelerr_heapStatus_release(&status);
}

// What an object of the process keeps hold of, such as a thread's or a unique one, stays loaded.
TEST(Unload, TakesALibraryThatHasWorkedOutOfTheProcess)
{
   const RemotePeer service(
      Script()
         .acceptVersion()
         .answer([](const std::string& frame) { return plainReply(methodOf(frame)); })
         .receive()
         .close());
   for (int round = 0; round < 3; ++round) {
      {
         const Library library;
         EXPECT_EQ(useSession(library, service.host()), 7);
         useTranslator(library);
         EXPECT_TRUE(isLoaded(ZEROVAAPI_LIBRARY));
      }
      EXPECT_FALSE(isLoaded(ZEROVAAPI_LIBRARY));
   }
}

} // namespace
