// Names, as the resolver of this system answers.
#include "platform/socket.h"

#include "support/windows/import_patch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include <winsock2.h>

namespace {

constexpr uint32_t kLoopback = 0x7F000001;
constexpr uint32_t kFarAway = 0xC0000201; // 192.0.2.1, which is nobody's

hostent* answer = nullptr;

hostent* WSAAPI answered(const char*)
{
   return answer;
}

// While it lives, every name has these addresses, or no answer at all.
class Answer
{
public:
   Answer()
      : patch_("gethostbyname", answered, zerova::test::kProgram)
   {
      answer = nullptr;
   }
   explicit Answer(std::initializer_list<uint32_t> addresses, short family = AF_INET)
      : Answer()
   {
      for (const uint32_t address : addresses)
         addresses_.push_back(htonl(address));
      for (uint32_t& address : addresses_)
         list_.push_back(reinterpret_cast<char*>(&address));
      list_.push_back(nullptr);
      host_ = {nullptr, nullptr, family, sizeof(uint32_t), list_.data()};
      answer = &host_;
   }

   void dropList() { host_.h_addr_list = nullptr; }

private:
   const zerova::test::ImportPatch patch_;
   std::vector<uint32_t> addresses_;
   std::vector<char*> list_;
   hostent host_{};
};

TEST(ResolveName, FirstAddressIsTheFirstOfTheResolversAnswer)
{
   const Answer resolver({kFarAway, kLoopback});
   uint32_t address = 0;
   EXPECT_TRUE(platform::resolveName("two-addresses.test", address));
   EXPECT_EQ(address, kFarAway);
}

TEST(ResolveName, NameWithoutAnAddressIsNotResolved)
{
   uint32_t address = 5;
   const std::string name = "no-address.test";
   {
      const Answer none;
      EXPECT_FALSE(platform::resolveName(name.c_str(), address)) << "no answer";
   }
   {
      const Answer empty({});
      EXPECT_FALSE(platform::resolveName(name.c_str(), address)) << "an empty list";
   }
   {
      Answer without({});
      without.dropList();
      EXPECT_FALSE(platform::resolveName(name.c_str(), address)) << "no list";
   }
   {
      const Answer other({kLoopback}, AF_INET6);
      EXPECT_FALSE(platform::resolveName(name.c_str(), address)) << "of another family";
   }
   EXPECT_EQ(address, 5u);
}

} // namespace
