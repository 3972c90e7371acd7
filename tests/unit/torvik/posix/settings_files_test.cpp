// Settings where they are files of a tree.
#include "platform/failure_text.h"
#include "platform/settings_tree.h"
#include "unit/torvik/registry_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/fsuid.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace {

using testing::HasSubstr;
using SettingsFiles = RegistryReader;

TEST_F(SettingsFiles, OneLineEndAtTheEndIsNotTheValues)
{
   EXPECT_EQ(valueOf("text\n"), u"text");
   EXPECT_EQ(valueOf("text\r\n"), u"text");
   EXPECT_EQ(valueOf("text\n\n"), u"text\n");
   EXPECT_EQ(valueOf("text\r\n\r\n"), u"text\r\n");
   EXPECT_EQ(valueOf("text\r\n\n"), u"text\r\n");
   EXPECT_EQ(valueOf("text\n\r\n"), u"text\n");
   EXPECT_EQ(valueOf("text\r\r\n"), u"text\r");
   EXPECT_EQ(valueOf("\n"), u"");
   EXPECT_EQ(valueOf("\r\n"), u"");
}

TEST_F(SettingsFiles, LineEndIsOneWhereverTheReadsCutIt)
{
   for (const size_t length : {4094u, 4095u, 4096u}) {
      const std::string text(length, 'a');
      const std::u16string units(length, u'a');
      EXPECT_EQ(valueOf(text + "\n"), units);
      EXPECT_EQ(valueOf(text + "\r\n"), units);
      EXPECT_EQ(valueOf(text + "\r"), units + u"\r");
      EXPECT_EQ(valueOf(text + "\r\nz"), units + u"\r\nz");
      EXPECT_EQ(valueOf(text + "\rz"), units + u"\rz");
   }
}

TEST_F(SettingsFiles, OtherLineEndsAreTheValues)
{
   EXPECT_EQ(valueOf("one\ntwo\r\nthree\r"), u"one\ntwo\r\nthree\r");
   EXPECT_EQ(valueOf("text\n\r"), u"text\n\r");
   EXPECT_EQ(valueOf("text\r\r"), u"text\r\r");
}

TEST_F(SettingsFiles, ContentThatIsNoUtf8ComesOutAsReplacementCharacters)
{
   EXPECT_EQ(valueOf("a\xFFz"), u"a\uFFFDz");
   EXPECT_EQ(valueOf("a\x80\x80z"), u"a\uFFFD\uFFFDz");
   EXPECT_EQ(valueOf("a\xE2\x82z"), u"a\uFFFDz") << "a sequence broken off is one";
   EXPECT_EQ(valueOf("a\xE2\x82"), u"a\uFFFD") << "so is one that the end cuts";
   EXPECT_EQ(valueOf("a\xE2\x82\n"), u"a\uFFFD") << "or the line feed at the end";
   EXPECT_EQ(valueOf("a\xE2\x82\r\n"), u"a\uFFFD");
   EXPECT_EQ(valueOf("\xC0\xAF"), u"\uFFFD\uFFFD") << "longer than need be";
   EXPECT_EQ(valueOf("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD") << "a surrogate";
   EXPECT_EQ(valueOf("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD") << "above 0x10FFFF";
   EXPECT_EQ(valueOf("\xE0\x9F\x80"), u"\uFFFD\uFFFD\uFFFD");
   EXPECT_EQ(valueOf("\xF0\x8F\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST_F(SettingsFiles, NameSpelledAsAskedWinsOverOthers)
{
   tree.addValue(View::native, kKey, "VALUE", "upper");
   tree.addValue(View::native, kKey, "value", "lower");
   tree.addValue(View::native, kKey, "Value", "mixed");
   read(kSubKey, u"value");
   EXPECT_EQ(text(), u"lower");
   read(kSubKey, u"Value");
   EXPECT_EQ(text(), u"mixed");
   read(kSubKey, u"vALUE");
   EXPECT_EQ(text(), u"upper") << "the first by its bytes";
}

TEST_F(SettingsFiles, ValueThatIsALinkToAFileIsRead)
{
   const auto target = tree.addValue(View::native, kKey, "Target", "linked");
   const auto link = target.parent_path() / "Link";
   tree.adopt(link);
   std::filesystem::create_symlink(target, link);
   read(kSubKey, u"Link");
   EXPECT_EQ(text(), u"linked");
}

TEST_F(SettingsFiles, WhatIsNoFileIsNoValueAndIsNeverOpened)
{
   const auto key = tree.addKey(View::native, kKey);
   for (const char* name : {"Fifo", "Socket", "Device", "Dangling", "Loop"})
      tree.adopt(key / name);
   tree.addKey(View::native, std::string(kKey) + "/Folder");
   ASSERT_EQ(mkfifo((key / "Fifo").c_str(), 0600), 0);
   std::filesystem::create_symlink("/dev/zero", key / "Device");
   std::filesystem::create_symlink(key / "nothing", key / "Dangling");
   std::filesystem::create_symlink("Loop", key / "Loop");
   const int folder = open(key.c_str(), O_PATH | O_CLOEXEC);
   const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
   sockaddr_un address{};
   address.sun_family = AF_UNIX;
   // Through the descriptor, as the build folder's name may be too long for an address.
   snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/Socket", folder);
   EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
   close(listener);
   close(folder);

   for (const char16_t* name : {u"Fifo", u"Socket", u"Device", u"Dangling", u"Loop", u"Folder"}) {
      status.code = 0;
      read(kSubKey, name);
      EXPECT_EQ(status.code, -52006) << testing::PrintToString(name);
      EXPECT_THAT(status.text(), HasSubstr(R"("code":2,)")) << testing::PrintToString(name);
   }
}

TEST_F(SettingsFiles, FileIsNoKey)
{
   tree.addValue(View::native, kKey, "Value", "text");
   read(std::u16string(kSubKey) + u"\\Value", u"Value");
   EXPECT_EQ(status.code, -52006);
   EXPECT_THAT(status.text(), HasSubstr(R"("code":2,)"));
}

TEST_F(SettingsFiles, NoNameLeadsOutOfTheKey)
{
   tree.addValue(View::native, kKey, "Value", "text");
   tree.addValue(View::native, "SOFTWARE/TorvikTest", "Outside", "secret");
   const std::u16string key(kSubKey);
   const std::pair<std::u16string, const char16_t*> names[] = {
      {key, u"../Outside"},
      {key, u"..\\Outside"},
      {key, u"../Key/Value"},
      {key, u"./Value"},
      {key, u"/etc/passwd"},
      {key, u""},
      {key, u"."},
      {key, u".."},
      {key + u"\\..", u"Outside"},
      {key + u"\\.", u"Value"},
      {key + u"/.", u"Value"},
      {key + u"\\", u"Value"},
      {u"\\" + key, u"Value"},
      {u"SOFTWARE\\\\TorvikTest\\Key", u"Value"},
      {u"SOFTWARE/TorvikTest/Key", u"Value"},
      {u"", u"Value"},
      {u"..", u"Value"},
   };
   for (const auto& [subKey, name] : names) {
      status.code = 0;
      read(subKey, name);
      EXPECT_EQ(status.code, -52006)
         << testing::PrintToString(subKey) << testing::PrintToString(name);
   }
}

TEST_F(SettingsFiles, LongestFileNameIsFound)
{
   tree.addValue(View::native, kKey, std::string(255, 'n'), "text");
   read(kSubKey, std::u16string(255, u'N'));
   EXPECT_EQ(text(), u"text");
}

TEST_F(SettingsFiles, FileOf16MebibytesIsReadAndALargerOneRefused)
{
   const auto path = tree.addValue(View::native, kKey, "Value", "");
   std::filesystem::resize_file(path, 16 * 1024 * 1024);
   read(kSubKey, u"Value");
   EXPECT_EQ(status.code, 0);
   EXPECT_EQ(value.length, 16u * 1024 * 1024);
   std::filesystem::resize_file(path, 16 * 1024 * 1024 + 1);
   read(kSubKey, u"Value");
   EXPECT_EQ(status.code, -52006);
   EXPECT_THAT(status.text(), HasSubstr(R"("code":27,"string":"File too large")"));
}

TEST_F(SettingsFiles, FileThatMayNotBeReadIsToldByTheSystemsNumber)
{
   const auto path = tree.addValue(View::native, kKey, "Value", "secret");
   std::filesystem::permissions(path, std::filesystem::perms::none);
   std::filesystem::permissions(path.parent_path(), std::filesystem::perms(0755));
   torvik_RegistryKey key;
   torvik_openKey(&key, wideName(kSubKey).c_str(), kNativeView, &status);
   ASSERT_TRUE(key.isOpen);
   uint32_t size = 0;
   // No permission binds root, so another user asks; of this thread's file accesses alone.
   const int user = setfsuid(65534);
   const uint32_t result =
      platform::readSettingsValue(key.handle, wideName(u"Value").c_str(), nullptr, &size);
   setfsuid(static_cast<uid_t>(user));
   torvik_closeKey(&key);
   EXPECT_EQ(result, static_cast<uint32_t>(EACCES));
}

TEST_F(SettingsFiles, ClosingAKeyTwiceClosesItOnce)
{
   tree.addKey(View::native, kKey);
   torvik_RegistryKey key;
   torvik_openKey(&key, wideName(kSubKey).c_str(), kNativeView, &status);
   ASSERT_TRUE(key.isOpen);
   torvik_closeKey(&key);
   EXPECT_FALSE(key.isOpen);
   // A stranger's, under the number that the key had.
   const int device = open("/dev/null", O_RDONLY | O_CLOEXEC);
   const int other = dup3(device, static_cast<int>(key.handle), O_CLOEXEC);
   close(device);
   ASSERT_EQ(other, key.handle);
   torvik_closeKey(&key);
   EXPECT_EQ(close(other), 0) << "the second close has hit a stranger's descriptor";
}

TEST(FailureText, NumberWithoutATextStillHasWords)
{
   char text[platform::kFailureTextSize];
   ASSERT_TRUE(platform::systemFailureText(2, text));
   EXPECT_STREQ(text, "No such file or directory");
   text[0] = 0;
   ASSERT_TRUE(platform::systemFailureText(4'000'000'000, text));
   EXPECT_STRNE(text, "");
}

} // namespace
