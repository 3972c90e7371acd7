// The translator: its registration, status JSON and codes, and what its scripts use.
//
// Input: a letter, and what it says.
//    d  language, environment ("0" to "9" each) and a status JSON, to a ready translator
//    D  the same, to one that knows a driver
//    f  a format, up to its line end, and a status JSON
//    s  language and an error description file, asked for the code of its first entry
//    S  the same, to the translator that knows a driver
//    r  a registration JSON, to its decoder alone
//    R  the same, and a translator is made of it, without the dictionaries
//    C  the same, with all that a translator has
//    else, a function of the native modules (see kNativeScript) and a text for it
#include "fuzz/error_file_input.h"
#include "fuzz/input.h"
#include "fuzz/require.h"
#include "fuzz/script_coverage.h"
#include "fuzz/settings_tree_in_memory.h"
#include "lorvexlua/lorvexlua.h"
#include "platform/settings_tree.h"
#include "support/owned.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int32_t kSoftwareFault = -52003;
constexpr int32_t kUnsupportedFormat = -52029;
constexpr const char* kName = "dorvex_zerova";
constexpr const char* kFormat = "json1";
constexpr int kMostReads = 16;

constexpr const char* kRegistration = R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{
   "trvSharedErrorsDir":"$_trvShared32Dir/."}})";
constexpr const char* kDriverRegistration = R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{
   "driverName":".","trvSharedErrorsDir":"$_trvShared32Dir/Errors",
   "AuxErrorsDir":"$_trvShared32Dir/."}})";

// Each function by the letter that asks for it.
constexpr const char* kNativeScript = R"(
   local function integer(make)
      return function(text)
         local value = make(text)
         return tostring(value + 1 - value * 2) .. (-value):hexstring() .. tostring(value < value)
      end
   end
   local functions = {
      u = integer(stdint.u64),
      i = integer(stdint.i64),
      e = function(text) return lorvexluautils.expandPath("name", text) end,
      v = function(text) return lorvexluautils.lookupVariable("name", text) end,
      j = function(text) return cjson.encode(cjson.decode(text)) end,
   }
   for language = 0, 6 do
      functions[tostring(language)] = function(text)
         return lorvexluautils.mbsToUtf8(language, text)
      end
   end
   return functions)";

struct Host
{
   int calls = 0;
   std::string text;

   static char* allocate(void*, size_t length, void* context, quelerr_Status*)
   {
      auto* const self = static_cast<Host*>(context);
      ++self->calls;
      self->text.assign(length, '\xAA');
      return self->text.data();
   }
};

lua_State* stateOf(lorvex_Translator* translator)
{
   return reinterpret_cast<lorvexlua_Translator*>(translator)->state;
}

uint32_t digit(Input& input)
{
   return (input.takeByte() - uint32_t{'0'}) & 0x0F;
}

// What a description must be, whatever was asked: the text that the host's memory holds, or a
// failure that is told.
void requireDescribed(lorvex_Translator* translator, const Host& host, const char* text,
                      std::initializer_list<int32_t> codes, const quelerr_Status& status)
{
   require(lua_gettop(stateOf(translator)) == 0);
   requireOneOf(codes, status);
   require((text != nullptr) == (status.code == 0));
   require(host.calls == (text ? 1 : 0));
   if (!text) return;
   require(text == host.text.data());
   require(host.text.back() == 0);
}

void describeStatus(lorvex_Translator* translator, uint32_t langAndAde, const char* format,
                    const std::string& json)
{
   Host host;
   OwnedStatus status;
   char* const text = translator->getDynamicDesc(translator, json.c_str(), langAndAde, format,
                                                 Host::allocate, &host, &status);
   requireDescribed(translator, host, text, {kSoftwareFault, kUnsupportedFormat}, status);
   require((status.code == kUnsupportedFormat) == (std::string_view(format) != kFormat));
   if (!text) return;
   require(std::string_view(text).starts_with("{\"dynamic\":["));
   require(std::strlen(text) + 1 == host.text.size());
   requireJson(text);
}

void describeCode(lorvex_Translator* translator, uint32_t langAndAde, int32_t code)
{
   Host host;
   OwnedStatus status;
   settingsTree.readsLeft = kMostReads;
   const char* const text = translator->getStaticDesc(translator, static_cast<uint32_t>(code),
                                                      langAndAde, Host::allocate, &host, &status);
   requireDescribed(translator, host, text, {kSoftwareFault}, status);
   require(settingsTree.openKeys == 0);
}

lorvexlua_Contents contentsWithoutTerms()
{
   static const std::vector<EmbeddedModule> modules = [] {
      std::vector<EmbeddedModule> kept;
      for (size_t i = 0; i < lorvexlua_embeddedModuleCount; ++i)
         if (!std::string_view(lorvexlua_embeddedModules[i].name).starts_with("commonTerms"))
            kept.push_back(lorvexlua_embeddedModules[i]);
      return kept;
   }();
   return {lorvexlua_libraries, lorvexlua_libraryCount, modules.data(), modules.size()};
}

void create(bool isWhole, const std::string& registration)
{
   OwnedStatus status;
   settingsTree.readsLeft = kMostReads;
   lorvex_Translator* const translator =
      isWhole ? lorvex_exported_create(kName, registration.c_str(), &status)
              : lorvexlua_createTranslatorWith(contentsWithoutTerms(), kName, registration.c_str(),
                                               &status);
   requireOneOf({kSoftwareFault}, status);
   require((translator != nullptr) == (status.code == 0));
   if (!translator) return;
   // The registration may have named a module that is no translator, so failures are good, too.
   Host host;
   OwnedStatus described;
   const char* const text =
      translator->getDynamicDesc(translator, "{}", 0, kFormat, Host::allocate, &host, &described);
   requireDescribed(translator, host, text, {kSoftwareFault}, described);
   describeCode(translator, 0, 1);
   translator->destroy(translator);
}

// Ready translators, and what is to be found on their machine.
struct Ready
{
   lorvex_Translator* plain;
   lorvex_Translator* forDriver;
   lorvex_Translator* forScripts; // with json.decode and the native functions as globals

   Ready()
   {
      SettingsValue folder{};
      folder.key = u"SOFTWARE\\Trevanta\\Common\\Installer";
      folder.view = platform::kSettingsOf32Bit;
      folder.name = u"TRVSHAREDDIR";
      for (const char c : kErrorsFolderPath) {
         folder.bytes += c;
         folder.bytes += '\0';
      }
      settingsTree.values.push_back(folder);
      plain = make(kRegistration);
      forDriver = make(kDriverRegistration);
      forScripts = make(kRegistration);
      lua_State* const scripts = stateOf(forScripts);
      require(luaL_dostring(scripts, "decode = require('json').decode") == 0);
      require(luaL_dostring(scripts, kNativeScript) == 0);
      lua_setglobal(scripts, "native");
   }

private:
   static lorvex_Translator* make(const char* registration)
   {
      OwnedStatus status;
      lorvex_Translator* const translator = lorvex_exported_create(kName, registration, &status);
      require(translator != nullptr);
      for (uint32_t language = 0; language < 6; ++language)
         describeStatus(translator, language, kFormat, "{}"); // reads the dictionaries
      coverScripts(stateOf(translator));
      return translator;
   }
};

// Calls the function on top of the stack with a text. Its error is left to be looked at.
int callScript(lua_State* L, std::string_view text)
{
   settingsTree.readsLeft = kMostReads;
   lua_pushlstring(L, text.data(), text.size());
   const int failure = lua_pcall(L, 1, 1, 0);
   require(failure == 0 || (failure == LUA_ERRRUN && lua_type(L, -1) == LUA_TSTRING));
   require(settingsTree.openKeys == 0);
   return failure;
}

void decode(lua_State* L, std::string_view registration)
{
   lua_getglobal(L, "decode");
   if (callScript(L, registration) != 0)
      require(std::string_view(lua_tostring(L, -1)).starts_with("json: "));
   lua_settop(L, 0);
}

void callNative(lua_State* L, char function, std::string_view text)
{
   lua_getglobal(L, "native");
   lua_getfield(L, -1, std::string(1, function).c_str());
   if (lua_isfunction(L, -1) && callScript(L, text) != 0) {
      // The module of the framework raises status JSON, the others a sentence.
      std::string message = lua_tostring(L, -1);
      if (message.starts_with('{')) requireJson(message.data());
   }
   lua_settop(L, 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
   static const Ready ready;
   lua_State* const scripts = stateOf(ready.forScripts);
   Input input(data, size);
   const char letter = static_cast<char>(input.takeByte());
   switch (letter) {
   case 'd':
   case 'D': {
      const uint32_t language = digit(input);
      const uint32_t environment = digit(input);
      describeStatus(letter == 'd' ? ready.plain : ready.forDriver, language | environment << 8,
                     kFormat, std::string(input.rest()));
      break;
   }
   case 'f': {
      const std::string format = input.takeUpTo('\n');
      describeStatus(ready.plain, 0, format.c_str(), std::string(input.rest()));
      break;
   }
   case 's':
   case 'S': {
      const uint32_t language = digit(input);
      writeErrorFile(input.rest());
      describeCode(letter == 's' ? ready.plain : ready.forDriver, language,
                   codeOfEntry(0, input.rest()));
      break;
   }
   case 'r':
      decode(scripts, input.rest());
      break;
   case 'R':
   case 'C':
      decode(scripts, input.rest());
      create(letter == 'C', std::string(input.rest()));
      break;
   default:
      callNative(scripts, letter, input.rest());
   }
   return 0;
}
