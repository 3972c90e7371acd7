// Looking a code up in error description files, and converting their texts.
#include "bench/report.h"
#include "lorvex/utils_mbs.h"
#include "lorvex/xmErrorsParser.h"
#include "quelerr/status.h"
#include "tests/support/scratch_folder.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <iconv.h>
#include <random>
#include <string>
#include <strings.h>
#include <vector>

namespace {

constexpr int kFiles = 20;
constexpr int kEntriesPerFile = 500;
constexpr int kRounds = 201;
constexpr uint32_t kJapaneseSelector = 4;

// A benchmark of something that does not work would only be fast.
void require(bool condition, const char* what)
{
   if (condition) return;
   std::fprintf(stderr, "bench_translator_framework: %s\n", what);
   std::exit(1);
}

// Files of a folder in the order in which the system lists them.
std::vector<std::string> listed(const std::string& folder)
{
   std::vector<std::string> paths;
   DIR* const listing = opendir(folder.c_str());
   require(listing != nullptr, "cannot list the folder");
   while (const dirent* const entry = readdir(listing))
      if (entry->d_type == DT_REG) paths.push_back(folder + "/" + entry->d_name);
   closedir(listing);
   return paths;
}

// The codes of file number i are the negative numbers from -52000 - i * kEntriesPerFile down.
std::string errorFile(int number)
{
   std::string text = "<?xml version=\"1.0\"?>\n<tvdocument>\n";
   for (int i = 0; i < kEntriesPerFile; ++i) {
      const std::string code = std::to_string(-52000 - number * kEntriesPerFile - i);
      text += "<tverror code=\"" + code + "\">\n";
      text += "The device refused the request " + code + ". Check its connections and try again.\n";
      text += "</tverror>\n";
   }
   return text + "</tvdocument>\n";
}

size_t countEntries(const std::vector<std::string>& paths)
{
   size_t entries = 0;
   for (const std::string& path : paths) {
      std::FILE* const file = std::fopen(path.c_str(), "r");
      if (!file) continue;
      char line[1024];
      while (std::fgets(line, sizeof line, file))
         if (strncasecmp(line, "<tverror code=\"", 15) == 0) ++entries;
      std::fclose(file);
   }
   return entries;
}

void lookUp(bench::Report& report)
{
   const ScratchFolder scratch;
   for (int i = 0; i < kFiles; ++i)
      scratch.write("Errors/English/errors" + std::to_string(i) + ".txt", errorFile(i));
   const std::vector<std::string> paths = listed(scratch.path("Errors/English"));
   require(paths.size() == kFiles, "not all files are listed");
   const std::string& last = paths.back();
   const int lastNumber = std::stoi(last.substr(last.rfind("errors") + std::strlen("errors")));
   const int32_t lastCode = -52000 - lastNumber * kEntriesPerFile - (kEntriesPerFile - 1);

   const auto search = [&](const std::string& folder) {
      quelerr_String description{};
      quelerr_Status status;
      quelerr_Status_init(&status);
      lorvex_findDescriptionInDir(folder.c_str(), lastCode, &description, &status);
      require(status.code == 0 && description.length > 0, "the last code is not found");
      quelerr_String_release(&description);
   };
   const auto scan = [&] {
      require(countEntries(paths) == size_t{kFiles} * kEntriesPerFile, "not all entries are there");
   };
   const std::string exact = scratch.path("Errors\\English");
   report.compare("last of 10000 entries in 20 files / fgets+strncasecmp",
                  bench::measureInTurns(
                     kRounds, 1, bench::now, [&] { search(exact); }, scan),
                  "us", bench::atMost(0.4));
   const std::string folded = scratch.path("errors\\english");
   report.compare("the same, folders named in another case",
                  bench::measureInTurns(
                     kRounds, 1, bench::now, [&] { search(folded); }, scan),
                  "us", bench::atMost(0.4));
}

// Kana, kanji, half-width katakana and some ASCII, in about the shares of a text.
std::string japaneseText(size_t size)
{
   std::mt19937 random(1);
   const auto below = [&](unsigned bound) { return static_cast<unsigned>(random() % bound); };
   std::string text;
   const auto add = [&](unsigned byte) { text += static_cast<char>(byte); };
   while (text.size() < size) {
      const unsigned kind = below(100);
      if (kind < 45) {
         add(0x82);
         add(0x9F + below(83));
      } else if (kind < 55) {
         add(0x83);
         add(0x40 + below(63));
      } else if (kind < 90) {
         add(0x89 + below(14));
         add(0x40 + below(63));
      } else if (kind < 92) {
         add(0xB1 + below(40));
      } else {
         add(' ' + below(95));
      }
   }
   return text;
}

size_t convertOurs(const std::string& text)
{
   quelerr_String utf8{};
   quelerr_Status status;
   quelerr_Status_init(&status);
   const int32_t failure = lorvex_mbsToUtf8(text.c_str(), kJapaneseSelector, {&utf8, &status});
   require(failure == 0 && status.code == 0, "the text is refused");
   const size_t length = utf8.length;
   quelerr_String_release(&utf8);
   return length;
}

// Drops what it converts, block by block.
size_t convertByIconv(const std::string& text)
{
   const iconv_t converter = iconv_open("UTF-8", "CP932");
   char* input = const_cast<char*>(text.data());
   size_t inputLeft = text.size();
   size_t length = 0;
   while (inputLeft > 0) {
      char block[4096];
      char* output = block;
      size_t outputLeft = sizeof block;
      iconv(converter, &input, &inputLeft, &output, &outputLeft);
      require(outputLeft < sizeof block, "iconv refuses the text");
      length += sizeof block - outputLeft;
   }
   iconv_close(converter);
   return length;
}

void convert(bench::Report& report, size_t size, const char* what, int repeats)
{
   const std::string text = japaneseText(size);
   require(convertOurs(text) == convertByIconv(text), "the two conversions differ");
   report.compare(
      what,
      bench::measureInTurns(
         kRounds, repeats, bench::now, [&] { convertOurs(text); }, [&] { convertByIconv(text); }),
      "us", bench::atMost(1.25));
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_translator_framework", argc, argv);
   lookUp(report);
   convert(report, 1000000, "1 MB of Japanese text to UTF-8 / iconv", 1);
   convert(report, 60, "a sentence of Japanese text to UTF-8 / iconv", 1000);
   return report.finish();
}
