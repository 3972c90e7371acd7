#include "tools/zerovactl/descriptions.h"

#include "tools/zerovactl/language.h"
#include "tools/zerovactl/output.h"
#include "tools/zerovactl/shown_text.h"

#include "lorvex_translator.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace zerovactl {

namespace {

// What the translator's script answers for a code that no file has.
constexpr std::string_view kNoSentence = "Error description not found";

char* QUELERR_CALL giveMemory(void*, std::size_t length, void*, quelerr_Status* status)
{
   char* const block = static_cast<char*>(std::malloc(length));
   if (!block && status->code >= 0) status->code = -52000;
   return block;
}

class Translator
{
public:
   Translator(const std::string& sharedErrors, const std::string& auxErrors)
   {
      quelerr_heapStatus_init(&status_);
      const Json registration = {{"lorvexlua_xlator", "dorvex"},
                                 {"lorvexlua_settings",
                                  {{"driverName", "zerova"},
                                   {"trvSharedErrorsDir", sharedErrors},
                                   {"AuxErrorsDir", auxErrors}}}};
      translator_ = lorvex_exported_create("dorvex_zerova", registration.dump().c_str(), &status_);
   }
   ~Translator()
   {
      if (translator_) translator_->destroy(translator_);
      quelerr_heapStatus_release(&status_);
   }
   Translator(const Translator&) = delete;
   Translator& operator=(const Translator&) = delete;

   std::optional<std::string> sentence(std::int32_t code, std::uint32_t language)
   {
      if (!translator_) return {};
      auto text = taken(translator_->getStaticDesc(
         translator_, static_cast<std::uint32_t>(code),
         LORVEX_LANG_AND_ADE(language, lorvex_environmentNone), giveMemory, nullptr, &status_));
      if (text == kNoSentence) return {};
      return text;
   }

   std::optional<std::string> details(const std::string& json, std::uint32_t language)
   {
      if (!translator_) return {};
      return taken(translator_->getDynamicDesc(
         translator_, json.c_str(), LORVEX_LANG_AND_ADE(language, lorvex_environmentNone), "json1",
         giveMemory, nullptr, &status_));
   }

   std::string problem() const
   {
      const auto members = Json::parse(status_.json ? status_.json : "", nullptr, false);
      std::string text = "status " + std::to_string(status_.code);
      if (members.contains("/internal_error/string"_json_pointer)) {
         const auto& words = members["internal_error"]["string"];
         if (words.is_string()) {
            const auto all = words.get<std::string>();
            text += ": " + all.substr(0, all.find('\n'));
         }
      }
      return text;
   }

private:
   static std::optional<std::string> taken(char* text)
   {
      if (!text) return {};
      std::string result = text;
      std::free(text);
      return result;
   }

   quelerr_Status status_;
   lorvex_Translator* translator_ = nullptr;
};

std::vector<Row> rowsIn(const Json& document, const char* name)
{
   std::vector<Row> rows;
   if (!document.is_object() || !document.contains(name)) return rows;
   const auto text = [](const Json& value) {
      return value.is_string() ? value.get<std::string>()
                               : value.dump(-1, ' ', false, Json::error_handler_t::replace);
   };
   for (const Json& from : document[name]) {
      if (!from.is_object()) continue;
      Row row;
      row.type = from.contains("type") ? text(from["type"]) : "";
      if (from.contains("key")) row.key = text(from["key"]);
      if (from.contains("value")) {
         if (from["value"].is_array())
            for (const Json& value : from["value"])
               row.values.push_back(text(value));
         else
            row.values.push_back(text(from["value"]));
      }
      rows.push_back(std::move(row));
   }
   return rows;
}

struct Folders
{
   std::string shared;
   std::string aux;
};

// The machine's folders come first: an installer may have better words for a code of ours, too.
std::vector<Folders> foldersOfTexts()
{
   std::vector<Folders> folders;
   if (const auto shared = sharedFolder32().value)
      folders.push_back({*shared + "/Errors", *shared + "/Auxerrors"});
   if (const auto own = ownTexts(); !own.empty()) folders.push_back({own + "/zerova", own});
   return folders;
}

} // namespace

std::optional<std::string> sentenceOf(std::int32_t code, std::uint32_t language)
{
   for (const Folders& folders : foldersOfTexts()) {
      // A $ would begin a variable.
      if ((folders.shared + folders.aux).find('$') != std::string::npos) continue;
      if (auto sentence = Translator(folders.shared, folders.aux).sentence(code, language))
         return sentence;
   }
   return {};
}

Details detailsOf(const std::string& json, std::uint32_t language)
{
   Details details;
   if (json.size() > kLongestStatusJson) {
      details.problem = "longer than " + std::to_string(kLongestStatusJson) + " bytes";
      return details;
   }
   Translator translator("", "");
   const auto text = translator.details(json, language);
   if (!text) {
      details.problem = translator.problem();
      return details;
   }
   const Json document = Json::parse(*text, nullptr, false);
   details.rows = rowsIn(document, "dynamic");
   details.debug = rowsIn(document, "debug");
   return details;
}

std::vector<TextFolder> searchedFolders(std::uint32_t language)
{
   std::vector<TextFolder> searched;
   const auto add = [&](const std::string& path) {
      const auto is = [&](const TextFolder& folder) { return folder.path == path; };
      if (std::none_of(searched.begin(), searched.end(), is))
         searched.push_back(lookAtTextFolder(path));
   };
   const std::string own = kLanguages[language].folder;
   const std::string english = kLanguages[0].folder;
   for (const Folders& folders : foldersOfTexts()) {
      add(folders.aux + "/zerova/" + own);
      add(folders.aux + "/zerova/" + english);
      for (const std::string& name : {own, english}) {
         add(folders.shared + "/" + name);
         if (searched.back().isThere) add(folders.shared);
      }
   }
   return searched;
}

std::vector<std::string> linesOf(const std::vector<Row>& rows)
{
   std::size_t width = 0;
   for (const Row& row : rows)
      if (row.type == "usage") width = std::max(width, widthFor(shown(row.key)));
   std::vector<std::string> lines;
   for (const Row& row : rows) {
      std::string values;
      for (const std::string& value : row.values)
         values += (values.empty() ? "" : ", ") + shown(value);
      lines.push_back(row.type == "usage" ? padded(shown(row.key), width + 2) + values : values);
   }
   return lines;
}

} // namespace zerovactl
