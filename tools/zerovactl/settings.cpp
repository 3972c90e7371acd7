#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/language.h"
#include "tools/zerovactl/machine_settings.h"
#include "tools/zerovactl/shown_text.h"
#include "tools/zerovactl/system.h"

#include <algorithm>

namespace zerovactl {

namespace {

struct Line
{
   std::string name;
   std::string value;
   std::string note;
};

Json asJson(const Setting& setting)
{
   Json members = {{"place", setting.place},
                   {"value", setting.value ? Json(*setting.value) : Json(nullptr)}};
   if (!setting.problem.empty()) members["problem"] = setting.problem;
   return members;
}

Line lineOf(const Setting& setting)
{
   return {setting.name, setting.value ? *setting.value : setting.problem, setting.place};
}

Json asJson(const std::string& path)
{
   Json languages = Json::object();
   for (const Language& language : kLanguages) {
      const auto folder = lookAtTextFolder(path + "/" + language.folder);
      languages[language.folder] = folder.isThere ? Json(folder.fileCount) : Json(nullptr);
   }
   return {{"folder", path}, {"there", lookAtTextFolder(path).isThere}, {"languages", languages}};
}

Line lineOf(const std::string& name, const std::string& path)
{
   if (!lookAtTextFolder(path).isThere) return {name, path, "MISSING"};
   std::string languages;
   for (const Language& language : kLanguages) {
      const auto folder = lookAtTextFolder(path + "/" + language.folder);
      languages += (languages.empty() ? "" : ", ") + std::string(language.folder) + " " +
                   (folder.isThere ? contentText(folder) : "MISSING");
   }
   return {name, path, "there; " + languages};
}

} // namespace

int showSettings(Context& context)
{
   const Setting shared32 = sharedFolder32();
   const Setting shared64 = sharedFolder64();
   const auto variables = pluginVariables();
   std::vector<std::pair<std::string, std::string>> folders;
   if (shared32.value) {
      folders.emplace_back("Errors", *shared32.value + "/Errors");
      folders.emplace_back("Auxerrors", *shared32.value + "/Auxerrors/zerova");
   }
   if (const auto own = ownTexts(); !own.empty())
      folders.emplace_back("own texts", own + "/zerova");

   if (context.output.asJson()) {
      Json plugin = Json::object();
      for (const Setting& variable : variables)
         plugin[variable.name] = asJson(variable);
      Json texts = Json::object();
      for (const auto& [name, path] : folders)
         texts[name] = asJson(path);
      context.output.document({{"TRVSHAREDDIR", asJson(shared32)},
                               {"TRVSHAREDDIR64", asJson(shared64)},
                               {"commonAppDataDir", commonDataFolder()},
                               {"tempDir", temporaryFolder()},
                               {"plugin", plugin},
                               {"texts", texts},
                               {"endpoints", endpointFolder()}});
      return kDone;
   }
   std::vector<Line> lines = {lineOf(shared32),
                              lineOf(shared64),
                              {"_commonAppDataDir", commonDataFolder(), ""},
                              {"_tempDir", temporaryFolder(), ""}};
   for (const Setting& variable : variables)
      lines.push_back(lineOf(variable));
   for (const auto& [name, path] : folders)
      lines.push_back(lineOf(name, path));
   lines.push_back({"endpoints", endpointFolder(), ""});
   std::size_t widthOfName = 0;
   std::size_t widthOfValue = 0;
   for (const Line& line : lines) {
      widthOfName = std::max(widthOfName, columnsOf(shown(line.name)));
      if (!line.note.empty()) widthOfValue = std::max(widthOfValue, columnsOf(shown(line.value)));
   }
   for (const Line& line : lines) {
      const std::string value = shown(line.value);
      context.output.line(
         padded(shown(line.name), widthOfName + 2) +
         (line.note.empty() ? value : padded(value, widthOfValue + 2) + line.note));
   }
   return kDone;
}

} // namespace zerovactl
