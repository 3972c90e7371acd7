// The public types keep their sizes, offsets and values, in C as in C++.
#include "exports/abi_layout.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

// Signatures of what the caller supplies and what he calls through.
static_assert(std::is_same_v<quelerr_Status_Resize, bool (*)(quelerr_Status*, uint32_t)>);
static_assert(std::is_same_v<lorvex_AllocString, char* (*)(void*, size_t, void*, quelerr_Status*)>);
static_assert(std::is_same_v<decltype(lorvex_Translator::structSize), uint64_t>);
static_assert(std::is_same_v<decltype(lorvex_Translator::destroy), void (*)(lorvex_Translator*)>);
static_assert(std::is_same_v<decltype(lorvex_Translator::getStaticDesc),
                             char* (*)(lorvex_Translator*, uint32_t, uint32_t, lorvex_AllocString,
                                       void*, quelerr_Status*)>);
static_assert(std::is_same_v<decltype(lorvex_Translator::getDynamicDesc),
                             char* (*)(lorvex_Translator*, const char*, uint32_t, const char*,
                                       lorvex_AllocString, void*, quelerr_Status*)>);
static_assert(std::is_same_v<decltype(quelerr_Status::code), int32_t>);
static_assert(std::is_same_v<decltype(quelerr_Status::capacity), uint32_t>);
static_assert(std::is_same_v<decltype(quelerr_Status::json), char*>);
static_assert(std::is_same_v<zerovaapi_Iterator, uint64_t>);

// A record that crosses between compilers is laid out as C lays it out.
static_assert(std::is_standard_layout_v<quelerr_Status> && std::is_trivial_v<quelerr_Status>);
static_assert(std::is_standard_layout_v<lorvex_Translator> && std::is_trivial_v<lorvex_Translator>);

#define FACT(what, value, expected)                                                                \
   static_assert(static_cast<long>(value) == static_cast<long>(expected), what);
#define ROW(...) FACT(__VA_ARGS__)
ABI_LAYOUT(ROW)
#undef ROW
#undef FACT

TEST(AbiLayout, CSeesEveryTypeAndValueAsItMustStay)
{
   size_t count = 0;
   const AbiFact* const facts = abiFactsFromC(&count);
   ASSERT_GT(count, 30u);
   for (size_t i = 0; i < count; ++i)
      EXPECT_EQ(facts[i].value, facts[i].expected) << facts[i].what;
}

} // namespace
