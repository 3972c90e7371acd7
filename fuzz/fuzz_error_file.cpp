// Error description files of any content, read alone and by way of their folders.
//
// Input: a letter, the file. The letter says which entry's code is looked for, "A" the first to "O"
// the fifteenth, "P" one that need not be there; in lower case the folders are searched as well.
#include "fuzz/error_file_input.h"
#include "fuzz/plain_error_file.h"
#include "fuzz/require.h"
#include "lorvex/xmErrorsParser.h"
#include "support/owned.h"

#include <cstdint>
#include <string_view>

namespace {

constexpr int32_t kNotFound = -52006;
constexpr int32_t kNoLanguage = -52005;

struct Search
{
   OwnedString description;
   OwnedStatus status;

   std::string_view text() const { return {quelerr_String_text(&description), description.length}; }
};

void requireSound(const Search& search, const PlainDescription& plain)
{
   requireOneOf({kNotFound}, search.status);
   require((search.status.code == kNotFound) == plain.isFailure);
   require(search.text() == plain.text);
}

void requireSame(const Search& search, const Search& reference)
{
   require(search.text() == reference.text());
   require(search.status.code == reference.status.code);
   if (search.status.code != 0)
      require(std::string_view(search.status.json) == reference.status.json);
}

void searchFolders(int32_t code, const Search& reference)
{
   const char* const folder = kErrorsFolderPath.c_str();
   Search inFolder;
   lorvex_findDescriptionInDir(folder, code, &inFolder.description, &inFolder.status);
   requireSame(inFolder, reference);

   Search inErrorsFolder;
   lorvex_findDescriptionInErrorsDir(folder, code, 0, &inErrorsFolder.description,
                                     &inErrorsFolder.status);
   requireSame(inErrorsFolder, reference);

   Search withoutLanguage;
   lorvex_findDescriptionInErrorsDir(folder, code, 6, &withoutLanguage.description,
                                     &withoutLanguage.status);
   requireOneOf({kNoLanguage}, withoutLanguage.status);
   require(withoutLanguage.status.code != 0 && withoutLanguage.text().empty());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
   if (size == 0) return 0;
   const std::string_view content(reinterpret_cast<const char*>(data) + 1, size - 1);
   const int letter = (data[0] - 1) & 0x0F;
   const int32_t code = letter == 0x0F ? kNotFound : codeOfEntry(letter, content);
   writeErrorFile(content);

   Search search;
   lorvex_findDescriptionInFile(kErrorFilePath.c_str(), code, &search.description, &search.status);
   requireSound(search, plainDescription(content, code));
   if (data[0] & 0x20) searchFolders(code, search);
   return 0;
}
