#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/descriptions.h"
#include "tools/zerovactl/file_content.h"
#include "tools/zerovactl/shown_text.h"

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <sstream>

namespace zerovactl {

namespace {

constexpr char kIndent[] = "   ";

std::optional<std::int32_t> codeIn(const std::string& text)
{
   char* end = nullptr;
   errno = 0;
   const long long number = std::strtoll(text.c_str(), &end, 0);
   if (end == text.c_str() || *end || errno != 0 || number < INT32_MIN || number > UINT32_MAX)
      return {};
   return static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
}

std::string contentOf(const std::string& thing)
{
   constexpr std::size_t kEnough = kLongestStatusJson + 1;
   if (thing == "-") {
      std::string content = contentOfInput(kEnough);
      if (content.empty()) throw Failure(kWrongUse, "standard input is empty");
      return content;
   }
   const std::string name = thing.substr(1);
   std::string content = contentOfFile(name, kEnough);
   if (content.empty()) throw Failure(kFailed, shown(name) + ": it is empty");
   return content;
}

Json asJson(const std::vector<Row>& rows)
{
   Json list = Json::array();
   for (const Row& row : rows) {
      Json one = {{"type", row.type}};
      if (row.type == "usage") one["key"] = row.key;
      if (row.type != "empty") one["values"] = row.values;
      list.push_back(one);
   }
   return list;
}

Json explainCode(Context& context, std::int32_t code)
{
   const std::uint32_t language = context.target.language;
   const auto sentence = sentenceOf(code, language);
   const auto folders = searchedFolders(language);
   Json searched = Json::array();
   for (const TextFolder& folder : folders)
      searched.push_back(
         {{"folder", folder.path}, {"there", folder.isThere}, {"files", folder.fileCount}});
   if (!context.output.asJson()) {
      context.output.line(std::to_string(code));
      std::istringstream lines(sentence.value_or("Error description not found"));
      for (std::string line; std::getline(lines, line);)
         context.output.line(line.empty() ? line : kIndent + line);
      std::string label = "searched";
      for (const TextFolder& folder : folders) {
         if (sentence) break;
         context.output.line(kIndent + padded(label, 11) + shown(folder.path) + "  " +
                             contentText(folder));
         label.clear();
      }
   }
   return {{"code", code},
           {"sentence", sentence ? Json(*sentence) : Json(nullptr)},
           {"searched", searched}};
}

Json explainJson(Context& context, const std::string& text)
{
   const Details details = detailsOf(text, context.target.language);
   if (!details.problem.empty())
      throw Failure(kFailed, "this is no status JSON (" + details.problem + ")");
   if (!context.output.asJson()) {
      for (const std::string& line : linesOf(details.rows))
         context.output.line(line);
      if (!details.debug.empty()) context.output.line({Part{"Details", Colour::kFaint}});
      for (const std::string& line : linesOf(details.debug))
         context.output.line({Part{kIndent + line, Colour::kFaint}});
   }
   return {{"rows", asJson(details.rows)}, {"debug", asJson(details.debug)}};
}

} // namespace

int explain(Context& context, const std::vector<std::string>& things)
{
   Json all = Json::array();
   for (const std::string& thing : things) {
      if (const auto code = codeIn(thing))
         all.push_back(explainCode(context, *code));
      else if (thing == "-" || thing[0] == '@')
         all.push_back(explainJson(context, contentOf(thing)));
      else if (thing[0] == '{')
         all.push_back(explainJson(context, thing));
      else
         throw Failure(kWrongUse, "\"" + shown(thing) +
                                     "\" is no status code and no status JSON; @FILE names a file");
   }
   if (context.output.asJson()) context.output.document({{"explained", all}});
   return kDone;
}

} // namespace zerovactl
