#include "torvik/windows_registry.h"

#include "platform/failure_text.h"
#include "support/failing_malloc.h"
#include "unit/torvik/registry_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace {

using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using testing::StrEq;
using WindowsRegistry = RegistryReader;

TEST_F(WindowsRegistry, MissingKeyIsResourceNotFoundWithItsWholeDocument)
{
   tree.addKey(View::native, "SOFTWARE");
   read(u"SOFTWARE\\TorvikTest\\Nowhere", u"Value");
   EXPECT_EQ(status.code, -52006);
   EXPECT_THAT(status.text(), StartsWith(R"({"error_constant":"tamrixerr_resourceNotFound",)"
                                         R"("file":"torvik/windowsRegistry","line":)"));
   EXPECT_THAT(status.text(), HasSubstr(R"(,"component":"zerovaapi",)"
                                        R"("internal_error":{"api":"win32","code":2,"string":")"));
   EXPECT_THAT(status.text(), EndsWith(R"("},)"
                                       R"("torvik_debug":{"desc":"RegOpenKeyEx failed"}})"));
}

TEST_F(WindowsRegistry, MissingValueIsResourceNotFound)
{
   tree.addKey(View::native, kKey);
   read(kSubKey, u"Nothing");
   EXPECT_EQ(status.code, -52006);
   EXPECT_THAT(status.text(), HasSubstr(R"("internal_error":{"api":"win32","code":2,)"));
   EXPECT_THAT(status.text(), EndsWith(R"("torvik_debug":{"desc":"RegQueryValue failed"}})"));
}

TEST_F(WindowsRegistry, ValueIsReadAsUtf16)
{
   EXPECT_EQ(valueOf("C:\\Shared"), u"C:\\Shared");
}

TEST_F(WindowsRegistry, ValueOfNonLatinScriptArrives)
{
   EXPECT_EQ(valueOf("/opt/\xE6\x97\xA5\xE6\x9C\xAC/\xF0\x9F\x98\x80"), u"/opt/日本/\U0001F600");
}

TEST_F(WindowsRegistry, ValueOfZeroLengthIsEmpty)
{
   EXPECT_EQ(valueOf(""), u"");
}

TEST_F(WindowsRegistry, ValueAsLargeAsTheFirstBufferIsReadWhole)
{
   EXPECT_EQ(valueOf(std::string(256, 'a')), std::u16string(256, u'a'));
}

TEST_F(WindowsRegistry, ValueLongerThanTheFirstBufferIsReadWhole)
{
   EXPECT_EQ(valueOf(std::string(257, 'a')), std::u16string(257, u'a'));
}

TEST_F(WindowsRegistry, ValueOfTenThousandCharactersIsReadWhole)
{
   std::string content;
   std::u16string expected;
   for (int i = 0; i < 10'000; ++i) {
      content += "\xE2\x82\xAC"; // three bytes, so that reads end within a character
      expected += u'\u20AC';
   }
   EXPECT_EQ(valueOf(content), expected);
}

TEST_F(WindowsRegistry, LargerBufferOfTheCallerIsCutToTheValue)
{
   quelerr_WideBuffer_resize(&value, 5000, &status);
   EXPECT_EQ(valueOf("short"), u"short");
}

TEST_F(WindowsRegistry, NulBytesAreContent)
{
   EXPECT_EQ(valueOf(std::string_view("a\0b\0", 4)), std::u16string(u"a\0b\0", 4));
}

TEST_F(WindowsRegistry, ViewsAreTreesOfTheirOwn)
{
   tree.addValue(View::native, kKey, "Value", "native");
   tree.addValue(View::of32Bit, kKey, "Value", "of 32 bits");
   read(kSubKey, u"Value", kNativeView);
   EXPECT_EQ(text(), u"native");
   read(kSubKey, u"Value", k32BitView);
   EXPECT_EQ(text(), u"of 32 bits");
}

TEST_F(WindowsRegistry, ValueOfOneViewIsNotInTheOther)
{
   tree.addValue(View::native, kKey, "Value", "native");
   tree.addKey(View::of32Bit, "SOFTWARE");
   read(kSubKey, u"Value", k32BitView);
   EXPECT_EQ(status.code, -52006);
}

TEST_F(WindowsRegistry, NamesAreFoundWithoutRegardToCase)
{
   tree.addValue(View::native, kKey, "M\xC3\xA9lange", "found");
   read(u"software\\TORVIKtest\\kEY", u"MéLANGE");
   EXPECT_EQ(status.code, 0) << status.text();
   EXPECT_EQ(text(), u"found");
}

TEST_F(WindowsRegistry, KeyAndValueOfOneNameDoNotHideEachOther)
{
   tree.addValue(View::native, "SOFTWARE/TorvikTest/Name", "Inner", "inner");
   tree.addValue(View::native, "SOFTWARE/TorvikTest", "NAME", "outer");
   read(u"SOFTWARE\\TorvikTest", u"name");
   EXPECT_EQ(text(), u"outer");
   read(u"SOFTWARE\\TorvikTest\\name", u"Inner");
   EXPECT_EQ(text(), u"inner");
}

TEST_F(WindowsRegistry, NameLongerThanAnyFileNameIsNotFound)
{
   tree.addKey(View::native, kKey);
   read(kSubKey, std::u16string(10'000, u'x'));
   EXPECT_EQ(status.code, -52006);
   status.code = 0;
   read(std::u16string(kSubKey) + u"\\" + std::u16string(10'000, u'x'), u"Value");
   EXPECT_EQ(status.code, -52006);
}

TEST_F(WindowsRegistry, ErrorInTheStatusKeepsEverythingAway)
{
   tree.addValue(View::native, kKey, "Value", "text");
   status.code = -1;
   torvik_RegistryKey key{0, true};
   torvik_openKey(&key, wideName(kSubKey).c_str(), kNativeView, &status);
   EXPECT_FALSE(key.isOpen);
   torvik_closeKey(&key);
   read(kSubKey, u"Value");
   EXPECT_EQ(status.code, -1);
   EXPECT_EQ(status.json, nullptr);
   EXPECT_EQ(value.data, nullptr);
}

TEST_F(WindowsRegistry, WarningIsReplacedByAFailureAndSurvivesSuccess)
{
   tree.addValue(View::native, kKey, "Value", "text");
   status.code = 5;
   read(kSubKey, u"Value");
   EXPECT_EQ(status.code, 5);
   read(kSubKey, u"Nothing");
   EXPECT_EQ(status.code, -52006);
}

TEST_F(WindowsRegistry, EachFailedAllocationIsAFailureOfItsOwnAndLeaksNothing)
{
   tree.addValue(View::native, kKey, "Value", std::string(300, 'a'));
   const auto key = wideName(u"software\\TorvikTest\\Key");
   const auto name = wideName(u"Value");
   int32_t code = 0;
   const Held before = held();
   const size_t count = forEachFailingAllocation(
      FailingMalloc::Then::succeed,
      [&](size_t) {
         quelerr_Status attempt;
         quelerr_WideBuffer buffer{};
         quelerr_Status_init(&attempt);
         torvik_readRegistryString(key.c_str(), name.c_str(), kNativeView, &buffer, &attempt);
         code = attempt.code;
         quelerr_WideBuffer_release(&buffer);
         quelerr_Status_release(&attempt);
      },
      [&](size_t index) {
         // The platform's own blocks are told as its failure, the buffer's as the buffer's.
         EXPECT_TRUE(code == -52000 || code == -52006) << index << ": " << code;
      });
   EXPECT_EQ(held(), before);
   EXPECT_EQ(code, 0);
   EXPECT_GE(count, 2u);
}

TEST(FailureText, NumbersOfFilesAreThoseOfErrno)
{
   char text[platform::kFailureTextSize];
   ASSERT_TRUE(platform::errnoText(ENAMETOOLONG, text));
   EXPECT_THAT(text, AnyOf(StrEq("File name too long"), StrEq("Filename too long")));
}

} // namespace
