#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/file_content.h"
#include "tools/zerovactl/language.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/text_file_check.h"

#include "tools/support/utf8_path.h"

#include <algorithm>
#include <filesystem>

namespace zerovactl {

using zerova::tools::pathOf;
using zerova::tools::textOf;

namespace {

namespace fs = std::filesystem;

class FolderCheck
{
public:
   explicit FolderCheck(Output& output)
      : output_(output)
   {
   }

   // root: as the user named it. Its folders are those of languages, or of drivers with such.
   void check(const fs::path& root)
   {
      if (const Language* own = languageOfFolder(root)) {
         checkFiles(root, "", own->codePage);
         return;
      }
      if (!checkLanguages(root, "") && !checkDrivers(root))
         findings_.push_back({".", 0, 0,
                              "no folder of a language in here: English, French, German, "
                              "Japanese, Korean or ChineseS"});
   }

   int fileCount() const { return fileCount_; }
   const std::vector<Finding>& findings() const { return findings_; }

private:
   static const Language* languageOfFolder(const fs::path& folder)
   {
      const std::string name =
         textOf((folder.filename().empty() ? folder.parent_path() : folder).filename());
      const auto* const found =
         std::find_if(kLanguages.begin(), kLanguages.end(), [&](const Language& language) {
            return equalsIgnoringCase(language.folder, name);
         });
      return found == kLanguages.end() ? nullptr : found;
   }

   // In the order of their names, so that two runs tell the same.
   static std::vector<fs::path> entriesOf(const fs::path& folder)
   {
      std::vector<fs::path> entries;
      for (const auto& entry : fs::directory_iterator(folder))
         entries.push_back(entry.path());
      std::sort(entries.begin(), entries.end());
      return entries;
   }

   bool checkLanguages(const fs::path& folder, const std::string& shownFolder)
   {
      bool isAny = false;
      std::vector<bool> isThere(kLanguages.size());
      for (const fs::path& entry : entriesOf(folder)) {
         const Language* const language = languageOfFolder(entry);
         if (!language || !fs::is_directory(entry)) continue;
         isAny = true;
         isThere[static_cast<std::size_t>(language - kLanguages.data())] = true;
         checkFiles(entry, shownFolder + textOf(entry.filename()) + "/", language->codePage);
      }
      if (!isAny) return false;
      checkFiles(folder, shownFolder, 0);
      for (std::size_t i = 0; i < kLanguages.size(); ++i)
         if (!isThere[i])
            findings_.push_back({shownFolder + kLanguages[i].folder, 0, 0,
                                 "missing: for this language the folder above is not searched"});
      return true;
   }

   bool checkDrivers(const fs::path& folder)
   {
      bool isAny = false;
      for (const fs::path& entry : entriesOf(folder))
         if (fs::is_directory(entry))
            isAny = checkLanguages(entry, textOf(entry.filename()) + "/") || isAny;
      return isAny;
   }

   void checkFiles(const fs::path& folder, const std::string& shownFolder, std::uint32_t codePage)
   {
      KnownCodes known;
      for (const fs::path& entry : entriesOf(folder)) {
         if (!fs::is_regular_file(entry)) continue;
         ++fileCount_;
         output_.progress("checking " + textOf(entry));
         checkFile(entry, shownFolder + textOf(entry.filename()), codePage, known);
      }
   }

   void checkFile(const fs::path& path, const std::string& name, std::uint32_t codePage,
                  KnownCodes& known)
   {
      const std::string end = textOf(path.extension());
      if (end != ".err" && end != ".txt") {
         const bool isCase = equalsIgnoringCase(end, ".err") || equalsIgnoringCase(end, ".txt");
         findings_.push_back({name, 0, 0,
                              std::string("not read: the name must end in .err or .txt") +
                                 (isCase ? " in lower case" : "")});
         return;
      }
      if (name.find('\\') != std::string::npos) {
         findings_.push_back({name, 0, 0, "not read: the name has a backslash"});
         return;
      }
      try {
         checkTextFile(name, contentOfFile(textOf(path)), codePage, known, findings_);
      } catch (const Failure& failure) {
         findings_.push_back({name, 0, 0, std::string("cannot be read: ") + failure.what()});
      }
   }

   Output& output_;
   std::vector<Finding> findings_;
   int fileCount_ = 0;
};

std::string placeOf(const Finding& finding)
{
   std::string place = finding.file;
   if (finding.line > 0) place += ":" + std::to_string(finding.line);
   if (finding.column > 0) place += ":" + std::to_string(finding.column);
   return place;
}

} // namespace

int checkSettings(Context& context, const std::string& folder)
{
   FolderCheck check(context.output);
   try {
      check.check(pathOf(folder));
   } catch (const fs::filesystem_error& error) {
      throw Failure(kFailed, shown(textOf(error.path1())) + ": " + error.code().message());
   }
   const auto& findings = check.findings();
   if (context.output.asJson()) {
      Json list = Json::array();
      for (const Finding& finding : findings) {
         Json one = {{"file", finding.file}, {"text", finding.text}};
         if (finding.line > 0) one["line"] = finding.line;
         if (finding.column > 0) one["column"] = finding.column;
         list.push_back(one);
      }
      context.output.document(
         {{"folder", folder}, {"files", check.fileCount()}, {"findings", list}});
   } else {
      for (const Finding& finding : findings)
         context.output.line(placeOf(finding) + ": " + finding.text);
      context.output.endProgress();
      context.output.flush();
      context.output.message(
         std::to_string(check.fileCount()) + " files checked, " +
         (findings.empty() ? "nothing is wrong" : std::to_string(findings.size()) + " findings"));
   }
   return findings.empty() ? kDone : kNo;
}

} // namespace zerovactl
