// What a translator costs over the interpreter that it is made of: to create one, to describe a
// status with it, to hold it.
#include "bench/machine.h"
#include "bench/report.h"
#include "lorvex_translator.h"
#include "lorvexlua/lorvexlua.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

// The codec's package has no header of its own.
extern "C" int luaopen_cjson(lua_State* L);

namespace {

constexpr char kRegistration[] = R"({"lorvexlua_xlator":"dorvex"})";
constexpr int kCreationPairs = 200;
constexpr int kDescriptionPairs = 2000;
constexpr int kDescriptionsInARow = 5;

[[noreturn]] void fail(const char* what)
{
   std::fprintf(stderr, "bench_translator: %s\n", what);
   std::exit(EXIT_FAILURE);
}

// The same modules as the library has, as texts.
class Texts
{
public:
   Texts()
   {
      for (size_t i = 0; i < lorvexlua_embeddedModuleCount; ++i) {
         const std::string name = lorvexlua_embeddedModules[i].name;
         const bool isMade = name.starts_with("commonTerms_");
         std::ifstream file((isMade ? ZEROVA_DICTIONARIES_DIR "/" : ZEROVA_SCRIPTS_DIR "/") + name);
         if (!file) fail("cannot read the scripts");
         texts_[i].assign(std::istreambuf_iterator<char>(file), {});
         rows_.push_back({lorvexlua_embeddedModules[i].name,
                          reinterpret_cast<const unsigned char*>(texts_[i].data()),
                          texts_[i].size()});
      }
   }

   const EmbeddedModule* rows() const { return rows_.data(); }

private:
   std::vector<std::string> texts_{lorvexlua_embeddedModuleCount};
   std::vector<EmbeddedModule> rows_;
};

lorvex_Translator* createTranslator(const EmbeddedModule* modules = lorvexlua_embeddedModules)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   const lorvexlua_Contents contents{lorvexlua_libraries, lorvexlua_libraryCount, modules,
                                     lorvexlua_embeddedModuleCount};
   lorvex_Translator* const translator =
      lorvexlua_createTranslatorWith(contents, "dorvex_zerova", kRegistration, &status);
   if (!translator) fail(status.json);
   quelerr_heapStatus_release(&status);
   return translator;
}

void createAndDestroy(const EmbeddedModule* modules)
{
   lorvex_Translator* const translator = createTranslator(modules);
   translator->destroy(translator);
}

// The reference: the same libraries opened and the same modules loaded, with nothing around it.
lua_State* createBareState()
{
   lua_State* const L = luaL_newstate();
   if (!L) fail("no memory");
   for (size_t i = 0; i < lorvexlua_libraryCount; ++i) {
      lua_pushcfunction(L, lorvexlua_libraries[i].opener);
      lua_pushstring(L, lorvexlua_libraries[i].name);
      lua_call(L, 1, 0);
   }
   if (lorvexlua_addEmbeddedModules(L) != 0) fail("a module does not load");
   return L;
}

// The same with the plain codec and the client script loaded, ready to be called.
lua_State* createPlainInterpreter()
{
   lua_State* const L = createBareState();
   luaopen_cjson(L);
   lua_setglobal(L, "cjson");
   if (luaL_dostring(L, "require('lorvexlua') require('dorvex')") != 0) fail(lua_tostring(L, -1));
   return L;
}

std::string statusOfTwentyRows()
{
   std::string rows;
   for (int i = 0; i < 20; ++i)
      rows += std::string(i ? "," : "") +
              R"({"type":"usage","usage":"kUsageTypeSourceTerminal","value":"/matrix1/ch)" +
              std::to_string(i) + "\"}";
   return R"({"error_constant":"kErrorRouteInUse","file":"service/routes","line":218,)"
          R"("component":"routing service","translator_info":{"ordered_data":[)" +
          rows + "]}}";
}

char* allocate(void*, size_t length, void*, quelerr_Status*)
{
   return static_cast<char*>(std::malloc(length));
}

void describe(lorvex_Translator* translator, const std::string& errJson)
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   char* const text = translator->getDynamicDesc(translator, errJson.c_str(), 0, "json1", allocate,
                                                 nullptr, &status);
   if (!text) fail(status.json);
   std::free(text);
   quelerr_heapStatus_release(&status);
}

void describePlainly(lua_State* L, const std::string& errJson)
{
   lua_getglobal(L, "dorvex");
   lua_getfield(L, -1, "getDynamicDesc");
   lua_pushstring(L, errJson.c_str());
   lua_pushinteger(L, 0);
   lua_pushinteger(L, 0);
   lua_pushstring(L, "json1");
   if (lua_pcall(L, 4, 1, 0) != 0) fail(lua_tostring(L, -1));
   lua_pop(L, 2);
}

double heapBytes()
{
   return static_cast<double>(bench::heapBytes().value());
}

constexpr int kHeld = 20;

double heapOfNewTranslator(const EmbeddedModule* modules)
{
   std::vector<lorvex_Translator*> translators;
   const double before = heapBytes();
   for (int i = 0; i < kHeld; ++i)
      translators.push_back(createTranslator(modules));
   const double after = heapBytes();
   for (auto* translator : translators)
      translator->destroy(translator);
   return (after - before) / kHeld / 1024;
}

void reportHeap(bench::Report& report, const std::string& errJson, const Texts& texts)
{
   report.compare("heap of a new translator / of one from texts",
                  heapOfNewTranslator(lorvexlua_embeddedModules), heapOfNewTranslator(texts.rows()),
                  "KiB", bench::atMost(0.85));
   std::vector<lorvex_Translator*> translators;
   const double before = heapBytes();
   for (int i = 0; i < kHeld; ++i)
      translators.push_back(createTranslator());
   for (auto* translator : translators)
      describe(translator, errJson);
   report.figure("heap of a translator, one description later",
                 (heapBytes() - before) / kHeld / 1024, "KiB", bench::noGoal());
   for (auto* translator : translators)
      translator->destroy(translator);
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_translator", argc, argv);
   const std::string errJson = statusOfTwentyRows();
   const Texts texts;
   if (bench::heapBytes()) reportHeap(report, errJson, texts);

   const auto create = [] { createAndDestroy(lorvexlua_embeddedModules); };
   report.compare("create and destroy a translator / one from texts",
                  bench::measureInTurns(kCreationPairs, 1, bench::processorTime, create,
                                        [&] { createAndDestroy(texts.rows()); }),
                  "us", bench::atMost(0.45));
   report.compare("create and destroy a translator / a bare state",
                  bench::measureInTurns(kCreationPairs, 1, bench::processorTime, create,
                                        [] { lua_close(createBareState()); }),
                  "us", bench::noGoal());

   lorvex_Translator* const translator = createTranslator();
   lua_State* const interpreter = createPlainInterpreter();
   report.compare("describe 20 rows by a translator / by the plain interpreter",
                  bench::measureInTurns(
                     kDescriptionPairs, kDescriptionsInARow, bench::processorTime,
                     [&] { describe(translator, errJson); },
                     [&] { describePlainly(interpreter, errJson); }),
                  "us", bench::atMost(1.10));
   lua_close(interpreter);
   translator->destroy(translator);
   return report.finish();
}
