// Paths with variables over settings of any content.
//
// Input, in lines: how the status begins ("e" with an error, "w" with a warning, else clean) and
// the path, which without a "$" is also the name of a variable; the plug-in's name; then the
// values, each as its name and a letter that tells what follows it: "=" its text, one byte a unit;
// "#" its bytes, two a unit; "+" bytes that become more while they are read; "!" as many bytes as
// the number of the failure to read it.
#include "fuzz/input.h"
#include "fuzz/require.h"
#include "fuzz/settings_tree_in_memory.h"
#include "lorvex/variables.h"
#include "platform/settings_tree.h"
#include "support/owned.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr int kMostReads = 16;
constexpr int32_t kInvalidPath = -52005;
constexpr int32_t kNotFound = -52006;

std::u16string widen(std::string_view text)
{
   std::u16string wide;
   for (const char c : text)
      wide += static_cast<unsigned char>(c);
   return wide;
}

void addValue(const std::string& line, const std::u16string& pluginKey)
{
   const size_t mark = line.find_first_of("=#+!");
   if (mark == line.npos) return;
   SettingsValue value{};
   const std::string name = line.substr(0, mark);
   const std::string content = line.substr(mark + 1);
   const bool isFolder = name == "TRVSHAREDDIR" || name == "TRVSHAREDDIR64";
   value.key = isFolder ? u"SOFTWARE\\Trevanta\\Common\\Installer" : pluginKey;
   value.view = name == "TRVSHAREDDIR64" ? 0 : platform::kSettingsOf32Bit;
   value.name = widen(name);
   value.bytes = content;
   value.growsWhenRead = line[mark] == '+';
   if (line[mark] == '=') {
      const std::u16string wide = widen(content);
      value.bytes.assign(reinterpret_cast<const char*>(wide.data()), wide.size() * 2);
   } else if (line[mark] == '!') {
      value.failure = static_cast<uint32_t>(content.size());
   }
   settingsTree.values.push_back(value);
}

// A status that begins as the letter says, with something to report.
struct StartedStatus : OwnedStatus
{
   const int32_t codeBefore;

   explicit StartedStatus(char letter)
      : codeBefore(letter == 'e'   ? -1
                   : letter == 'w' ? 1
                                   : 0)
   {
      quelerr_Status_setCode(this, codeBefore);
      quelerr_Status_setJson(this, "{\"before\":1}");
   }

   void requireSound()
   {
      if (code != codeBefore) {
         require(codeBefore >= 0);
         requireOneOf({kInvalidPath, kNotFound}, *this);
      } else {
         require(std::string_view(json) == "{\"before\":1}");
      }
   }
};

void requireSoundExpansion(const std::string& given, const std::string& text, bool isClean)
{
   require(text.find('$') == text.npos);
   if (given.find('$') != given.npos) return;
   std::string turned = given;
   std::replace(turned.begin(), turned.end(), '/', '\\');
   require(text == turned && isClean);
}

void expand(char letter, const char* pluginName, const std::string& given)
{
   StartedStatus status(letter);
   OwnedString path(given);
   settingsTree.readsLeft = kMostReads;
   lorvex_expandPath(pluginName, &path, &status);
   status.requireSound();
   requireSoundExpansion(given, path.text(), status.code == status.codeBefore);
   require(settingsTree.openKeys == 0);
}

void lookUp(char letter, const char* pluginName, const char* variableName)
{
   StartedStatus status(letter);
   OwnedString value;
   settingsTree.readsLeft = kMostReads;
   lorvex_lookupVariable(pluginName, variableName, &value, &status);
   status.requireSound();
   if (status.code < 0) require(value.length == 0);
   require(settingsTree.openKeys == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
   [[maybe_unused]] static const int temporaryFolder = setenv("TMPDIR", "/tmp", 1);
   Input input(data, size);
   const char letter = static_cast<char>(input.takeByte());
   const std::string path = input.takeUpTo('\n');
   const std::string pluginName = input.takeUpTo('\n');
   const std::u16string pluginKey =
      u"SOFTWARE\\Trevanta\\Lorvex\\plugins\\" + widen(pluginName.c_str());
   settingsTree.values.clear();
   while (!input.isAtEnd())
      addValue(input.takeUpTo('\n'), pluginKey);

   expand(letter, pluginName.c_str(), path);
   if (path.find('$') == path.npos) lookUp(letter, pluginName.c_str(), path.c_str());
   return 0;
}
