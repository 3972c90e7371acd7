// What the files of a folder, and the folders of the languages, give.
#include "error_files.h"

#include "support/failing_malloc.h"
#include "support/scratch_folder.h"

#include <cerrno>
#include <cstring>
#include <gmock/gmock.h>
#include <string>

namespace {

using testing::AnyOf;

class ErrorFolder : public testing::Test
{
protected:
   const ScratchFolder folder_;
};

class ErrorsFolder : public ErrorFolder
{
};

std::string escaped(const std::string& path)
{
   return std::regex_replace(path, std::regex(R"(\\)"), R"(\\)");
}

// key and what are those of the step that failed.
Search failedWith(int number, const std::string& key, const std::string& what,
                  const std::string& folder)
{
   return failed(R"("internal_error":{"api":"errno","code":)" + std::to_string(number) +
                 R"(,"string":")" + std::strerror(number) + R"("},"lorvex_debug":{")" + key +
                 R"(":")" + what + R"(","path":")" + escaped(folder) + R"("})");
}

Search failedToList(int number, const std::string& folder)
{
   return failedWith(number, "debug", "open dir failed", folder);
}

Search failedToName(const std::string& folder)
{
   return failedWith(ENAMETOOLONG, "lorvex", "get file info failed", folder);
}

} // namespace

TEST_F(ErrorsFolder, NoSearchLeavesADescriptorOpen)
{
   folder_.write("English/a.txt", document(entry(1, "one")));
   folder_.write("French/a.txt", document(entry("x", "bad")));
   folder_.write("a.txt", document(entry(2, "two")));
   const NoDescriptorLeft noDescriptor;
   for (int32_t lang = 0; lang <= 6; ++lang)
      for (const int32_t code : {1, 2, 3})
         searchErrorsFolder(folder_.path(), code, lang);
   searchFolder(folder_.path("English"), 1);
   searchFolder(folder_.path("missing"), 1);
   searchFile(folder_.path("a.txt"), 3);
   searchFile(folder_.path("French/a.txt"), 3);
   searchFile(folder_.path("missing.txt"), 1);
   searchFile(folder_.path(), 1);
}

TEST_F(ErrorFolder, TheFilesWithTheTwoExtensionsAreSearched)
{
   folder_.write("one.txt", document(entry(1, "one")));
   folder_.write("two.err", document(entry(2, "two")));
   folder_.write("a.b.txt", document(entry(3, "three")));
   folder_.write(".txt", document(entry(4, "four")));
   EXPECT_EQ(searchFolder(folder_.path(), 1), found("one"));
   EXPECT_EQ(searchFolder(folder_.path(), 2), found("two"));
   EXPECT_EQ(searchFolder(folder_.path(), 3), found("three"));
   EXPECT_EQ(searchFolder(folder_.path(), 4), found("four"));
   EXPECT_EQ(searchFolder(folder_.path(), 5), notFound());
}

TEST_F(ErrorFolder, FilesWithOtherNamesAreNotRead)
{
   for (const char* name :
        {"a.TXT", "a.Txt", "a.ERR", "err", "txt", "a.txt2", "a.txt.bak", "a.tx", "a.txt ", "a."})
      folder_.write(name, document(entry("abc", "bad")));
   EXPECT_EQ(searchFolder(folder_.path(), 1), notFound());
}

TEST_F(ErrorFolder, ThatIsEmptyHasNoText)
{
   EXPECT_EQ(searchFolder(folder_.path(), 1), notFound());
}

TEST_F(ErrorFolder, ASubfolderIsNotAFileWhateverItsName)
{
   folder_.write("x.txt/inner.txt", document(entry(1, "one")));
   EXPECT_EQ(searchFolder(folder_.path(), 1), notFound());
}

TEST_F(ErrorFolder, AnEntryWithoutATextLetsTheSearchGoOn)
{
   // Whichever file is listed first: one has nothing, one has an empty entry.
   folder_.write("a.txt", document("<tverror code=\"1\">\n</tverror>\n"));
   folder_.write("b.txt", document("<tverror code=\"1\">\n</tverror>\n"));
   folder_.write("c.txt", document(entry(1, "text")));
   EXPECT_EQ(searchFolder(folder_.path(), 1), found("text"));
}

TEST_F(ErrorFolder, FilesThatAreNoErrorFilesLetTheSearchGoOn)
{
   folder_.write("a.txt", "");
   folder_.write("b.txt", "a readme\n");
   folder_.write("c.txt", document(entry(1, "text")));
   folder_.write("d.err", std::string("\0\1\2\xFF\n", 5));
   EXPECT_EQ(searchFolder(folder_.path(), 1), found("text"));
}

TEST_F(ErrorFolder, ABadFileEndsTheSearch)
{
   folder_.write("a.txt", document(entry("abc", "text")));
   folder_.write("b.txt", "a readme\n");
   EXPECT_EQ(searchFolder(folder_.path(), 1), failedNumber(0));
}

TEST_F(ErrorFolder, TheFileThatIsListedFirstDecides)
{
   folder_.write("a.txt", document(entry("abc", "text")));
   folder_.write("b.txt", document(entry(1, "one")));
   EXPECT_THAT(searchFolder(folder_.path(), 1), AnyOf(failedNumber(0), found("one")));
}

TEST_F(ErrorFolder, ThatIsMissingFails)
{
   EXPECT_EQ(searchFolder(folder_.path("missing"), 1),
             failedToList(ENOENT, folder_.path("missing")));
}

TEST_F(ErrorFolder, ThatIsAFileFails)
{
   const std::string file = folder_.write("a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchFolder(file, 1), failedToList(ENOTDIR, file));
}

TEST_F(ErrorFolder, WithoutANameFails)
{
   EXPECT_EQ(searchFolder("", 1), failedToList(EINVAL, ""));
}

TEST_F(ErrorFolder, OneSeparatorAtItsEndIsIgnored)
{
   const std::string path = folder_.makeFolder("sub");
   folder_.write("sub/a.txt", document(entry(1, "one")));
   for (const char* separator : {"", "/", "\\", "//", "\\\\"})
      EXPECT_EQ(searchFolder(path + separator, 1), found("one")) << separator;
}

TEST_F(ErrorFolder, OnlyOneSeparatorAtItsEndIsLeftOutOfTheLengths)
{
   // Room for the name "a.txt" exactly, so that a separator that stays is one too many.
   const std::string path = folder_.path() + "/";
   const std::string full = path + std::string(260 - 3 - 5 - 1 - path.size(), 'f');
   ASSERT_TRUE(std::filesystem::create_directory(full));
   folder_.write(full.substr(path.size()) + "/a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchFolder(full, 1), found("one"));
   EXPECT_EQ(searchFolder(full + "\\", 1), found("one"));
   EXPECT_EQ(searchFolder(full + "\\\\", 1), failedToName(full + "\\\\"));
}

TEST_F(ErrorFolder, ThatIsASeparatorAloneIsTheRoot)
{
   EXPECT_EQ(searchFolder("/", 1), notFound());
   EXPECT_EQ(searchFolder("\\", 1), notFound());
}

TEST_F(ErrorFolder, APathOf258BytesFailsAtOpening)
{
   const std::string path = folder_.path() + "/" + std::string(240, 'f');
   const std::string tooLong = path.substr(0, 258);
   EXPECT_EQ(searchFolder(tooLong, 1), failedToList(ENAMETOOLONG, tooLong));
   EXPECT_EQ(searchFolder(std::string(5000, 'f'), 1),
             failedToList(ENAMETOOLONG, std::string(5000, 'f')));
   const std::string longEnough = path.substr(0, 257);
   EXPECT_EQ(searchFolder(longEnough, 1), failedToList(ENOENT, longEnough));
}

TEST_F(ErrorFolder, AnEntryWhoseFullNameIsTooLongFails)
{
   const std::string name = "a.txt";
   const std::string prefix = folder_.path() + "/";
   const std::string path = prefix + std::string(260 - 3 - name.size() - prefix.size(), 'f');
   ASSERT_TRUE(std::filesystem::create_directory(path));
   EXPECT_EQ(searchFolder(path, 1), notFound());
   folder_.write(path.substr(prefix.size()) + "/" + name, document(entry(1, "one")));
   EXPECT_EQ(searchFolder(path, 1), failedToName(path));
}

TEST_F(ErrorFolder, WhateverTheEntryIsItsNameMustFit)
{
   const std::string prefix = folder_.path() + "/";
   folder_.makeFolder(std::string(260 - 3 - folder_.path().size(), 'f'));
   EXPECT_EQ(searchFolder(folder_.path(), 1), failedToName(folder_.path()));
   // The entry for the parent folder is the one that does not fit.
   const std::string path = prefix + std::string(255 - prefix.size(), 'g');
   ASSERT_TRUE(std::filesystem::create_directory(path));
   EXPECT_EQ(searchFolder(path, 1), failedToName(path));
}

TEST_F(ErrorFolder, WithAnErrorInTheStatusNothingIsSearched)
{
   folder_.write("a.txt", document(entry(1, "one")));
   OwnedString description("left from before");
   OwnedStatus status(-1);
   lorvex_findDescriptionInDir(folder_.path().c_str(), 1, &description, &status);
   EXPECT_EQ(description.text(), "");
   EXPECT_EQ(status.code, -1);
   EXPECT_EQ(status.text(), "");
}

TEST_F(ErrorFolder, WithoutMemoryForTheWalkFails)
{
   for (const size_t index : {0u, 1u}) {
      OwnedString description;
      OwnedStatus status;
      {
         const FailingMalloc failing(index);
         lorvex_findDescriptionInDir(folder_.path().c_str(), 1, &description, &status);
      }
      EXPECT_EQ(status.code, -52000);
      EXPECT_EQ(
         withoutLine(status.text()),
         R"({"error_constant":"tamrixerr_memoryFull","file":"lorvex/xmErrorsParser","line":0,)"
         R"("component":"zerovaapi","lorvex_debug":{"lorvex":"failed to allocate memory"}})");
   }
}

TEST_F(ErrorsFolder, TheFolderOfTheLanguageComesFirst)
{
   folder_.write("German/a.txt", document(entry(1, "eins")));
   folder_.write("a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchErrorsFolder(folder_.path(), 1, 2), found("eins"));
}

TEST_F(ErrorsFolder, WhatTheFolderOfTheLanguageLacksIsSearchedInTheErrorsFolder)
{
   folder_.makeFolder("German");
   folder_.write("a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchErrorsFolder(folder_.path(), 1, 2), found("one"));
   EXPECT_EQ(searchErrorsFolder(folder_.path(), 2, 2), notFound());
}

TEST_F(ErrorsFolder, AnotherLanguageIsNotSearched)
{
   folder_.makeFolder("German");
   folder_.write("English/a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchErrorsFolder(folder_.path(), 1, 2), notFound());
}

TEST_F(ErrorsFolder, AMissingFolderOfTheLanguageFailsEvenIfTheErrorsFolderHasTheCode)
{
   folder_.write("a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchErrorsFolder(folder_.path(), 1, 0),
             failedToList(ENOENT, folder_.path() + "\\English"));
}

TEST_F(ErrorsFolder, ABadFileOfTheLanguageFailsEvenIfTheErrorsFolderHasTheCode)
{
   folder_.write("English/a.txt", document(entry("abc", "text")));
   folder_.write("a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchErrorsFolder(folder_.path(), 1, 0), failedNumber(0));
}

TEST_F(ErrorsFolder, EachLanguageHasItsFolder)
{
   const char* const names[] = {"English", "French", "German", "Japanese", "Korean", "ChineseS"};
   for (int lang = 0; lang < 6; ++lang)
      folder_.write(std::string(names[lang]) + "/a.txt", document(entry(1, names[lang])));
   for (int lang = 0; lang < 6; ++lang)
      EXPECT_EQ(searchErrorsFolder(folder_.path(), 1, lang), found(names[lang]));
}

TEST_F(ErrorsFolder, FoldersAreFoundWhateverTheirCase)
{
   folder_.write("Errors/ENGLISH/a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchErrorsFolder(folder_.path() + "\\errors", 1, 0), found("one"));
}

TEST_F(ErrorsFolder, ALanguageOutsideTheTableFails)
{
   folder_.write("a.txt", document(entry(1, "one")));
   EXPECT_EQ(searchErrorsFolder(folder_.path(), 1, 6),
             (Search{"", -52005,
                     R"({"error_constant":"tamrixerr_invalidParameter",)"
                     R"("file":"lorvex/xmErrorsParser","line":0,"component":"zerovaapi",)"
                     R"("lorvex_debug":{"xmerrorsparser":"invalid language","lang":6}})"}));
}

TEST_F(ErrorsFolder, WithAnErrorInTheStatusNothingIsSearched)
{
   folder_.write("English/a.txt", document(entry(1, "one")));
   OwnedString description("left from before");
   OwnedStatus status(-1);
   lorvex_findDescriptionInErrorsDir(folder_.path().c_str(), 1, 0, &description, &status);
   EXPECT_EQ(description.text(), "");
   EXPECT_EQ(status.code, -1);
}

TEST_F(ErrorsFolder, WithoutMemoryThereIsAFailureOrTheText)
{
   folder_.makeFolder("English");
   folder_.write("a.txt", document(entry(1, "one")));
   size_t failures = 0;
   for (const auto then : {FailingMalloc::Then::succeed, FailingMalloc::Then::failAlways}) {
      quelerr_String description{};
      quelerr_Status status;
      quelerr_Status_init(&status);
      forEachFailingAllocation(
         then,
         [&](size_t) {
            lorvex_findDescriptionInErrorsDir(folder_.path().c_str(), 1, 0, &description, &status);
         },
         [&](size_t index) {
            if (status.code == 0) {
               EXPECT_STREQ(description.data, "one") << index;
            } else {
               EXPECT_THAT(status.code, AnyOf(-52000, -52006));
               EXPECT_EQ(description.length, 0u) << index;
               ++failures;
            }
            quelerr_String_release(&description);
            quelerr_Status_release(&status);
            quelerr_Status_init(&status);
         });
      EXPECT_EQ(status.code, 0);
      EXPECT_STREQ(description.data, "one");
      quelerr_String_release(&description);
      quelerr_Status_release(&status);
   }
   EXPECT_GT(failures, 8u);
}
