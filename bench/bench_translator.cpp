// What a translator costs over the interpreter that it is made of: to create one, to describe a
// status with it, to hold it.
#include "bench/report.h"
#include "lorvex_translator.h"
#include "lorvexlua/lorvexlua.h"

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
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

lorvex_Translator* createTranslator()
{
   quelerr_Status status;
   quelerr_heapStatus_init(&status);
   lorvex_Translator* const translator =
      lorvex_exported_create("dorvex_zerova", kRegistration, &status);
   if (!translator) fail(status.json);
   quelerr_heapStatus_release(&status);
   return translator;
}

// The reference: the same libraries opened and the same texts loaded, with nothing around it.
lua_State* createBareState()
{
   lua_State* const L = luaL_newstate();
   if (!L) fail("no memory");
   for (size_t i = 0; i < lorvexlua_libraryCount; ++i) {
      lua_pushcfunction(L, lorvexlua_libraries[i].opener);
      lua_pushstring(L, lorvexlua_libraries[i].name);
      lua_call(L, 1, 0);
   }
   lua_getglobal(L, "package");
   lua_getfield(L, -1, "preload");
   for (size_t i = 0; i < lorvexlua_embeddedModuleCount; ++i) {
      const EmbeddedModule& module = lorvexlua_embeddedModules[i];
      if (luaL_loadbuffer(L, reinterpret_cast<const char*>(module.data), module.size,
                          module.name) != 0)
         fail(lua_tostring(L, -1));
      const std::string name = module.name;
      lua_setfield(L, -2, name.substr(0, name.rfind('.')).c_str());
   }
   lua_pop(L, 2);
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

// Nanoseconds of processor time: both sides only compute, so what else runs on the machine need not
// count.
double now()
{
   timespec time{};
   clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
   return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

struct Medians
{
   double ours;
   double reference;
};

// What each takes, taking turns.
template <typename Ours, typename Reference>
Medians measure(int pairs, int inARow, Ours ours, Reference reference)
{
   const auto time = [inARow](auto action) {
      const double start = now();
      for (int i = 0; i < inARow; ++i)
         action();
      return (now() - start) / inARow;
   };
   std::vector<double> oursTimes;
   std::vector<double> referenceTimes;
   time(ours);
   time(reference);
   for (int i = 0; i < pairs; ++i) {
      oursTimes.push_back(time(ours));
      referenceTimes.push_back(time(reference));
   }
   return {bench::median(oursTimes), bench::median(referenceTimes)};
}

double heapBytes()
{
   const struct mallinfo2 info = mallinfo2();
   return static_cast<double>(info.uordblks + info.hblkhd);
}

void reportHeap(bench::Report& report, const std::string& errJson)
{
   constexpr int kCount = 20;
   std::vector<lorvex_Translator*> translators;
   const double before = heapBytes();
   for (int i = 0; i < kCount; ++i)
      translators.push_back(createTranslator());
   report.figure("heap of a translator, new", (heapBytes() - before) / kCount / 1024, "KiB",
                 bench::noGoal());
   for (auto* translator : translators)
      describe(translator, errJson);
   report.figure("heap of a translator, one description later",
                 (heapBytes() - before) / kCount / 1024, "KiB", bench::noGoal());
   for (auto* translator : translators)
      translator->destroy(translator);
}

} // namespace

int main(int argc, char** argv)
{
   bench::Report report("bench_translator", argc, argv);
   const std::string errJson = statusOfTwentyRows();
   reportHeap(report, errJson);

   const Medians creation = measure(
      kCreationPairs, 1,
      [] {
         lorvex_Translator* const translator = createTranslator();
         translator->destroy(translator);
      },
      [] { lua_close(createBareState()); });
   report.compare("create and destroy a translator / a bare state", creation.ours / 1000,
                  creation.reference / 1000, "us", bench::atMost(1.05));

   lorvex_Translator* const translator = createTranslator();
   lua_State* const interpreter = createPlainInterpreter();
   const Medians description = measure(
      kDescriptionPairs, kDescriptionsInARow, [&] { describe(translator, errJson); },
      [&] { describePlainly(interpreter, errJson); });
   lua_close(interpreter);
   translator->destroy(translator);
   report.compare("describe 20 rows by a translator / by the plain interpreter",
                  description.ours / 1000, description.reference / 1000, "us", bench::atMost(1.10));
   return report.finish();
}
