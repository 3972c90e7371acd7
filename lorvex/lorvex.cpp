#include "lorvex/lorvex.h"

#include "lorvex/default_translator.h"
#include "lorvex/list.h"
#include "quelerr/status.h"

constinit lorvex_TranslatorRegistration lorvex_registeredTranslators{
   &lorvex_registeredTranslators, &lorvex_registeredTranslators, nullptr, nullptr, nullptr};
constinit quelerr_String lorvex_zerovaSettings{};

namespace {

// Collects what goes wrong while the library loads. Nobody reads it: there is nobody to tell yet.
constinit quelerr_Status loadStatus{0, 0, quelerr_defaultResize, nullptr};

constexpr const char* kZerovaName = "dorvex_zerova";
constinit lorvex_ExportedTranslator exportedZerova{nullptr, nullptr, kZerovaName,
                                                   lorvexlua_createTranslator};
constinit lorvex_TranslatorRegistration registeredZerova{nullptr, nullptr, kZerovaName, nullptr,
                                                         lorvexlua_createTranslator};
constinit lorvex_TranslatorRegistration registeredDefault{nullptr, nullptr, "lorvex_default", "{}",
                                                          lorvex_defaultTranslator_create};

void buildZerovaSettings()
{
   constexpr const char* kPieces[] = {
      R"({"lorvexlua_xlator":"dorvex","lorvexlua_settings":{"driverName":")",
      "zerova",
      (R"(","trvSharedErrorsDir":"$_trvShared32Dir/Errors",)"
       R"("AuxErrorsDir":"$_trvShared32Dir/Auxerrors"}})"),
   };
   for (const char* piece : kPieces)
      quelerr_String_appendText(&lorvex_zerovaSettings, piece, &loadStatus);
   // Half a JSON text would be worse than none.
   if (loadStatus.code < 0) quelerr_String_release(&lorvex_zerovaSettings);
}

// Static, so that load and unload do the work. It is the one object of its kind: all that happens
// at load happens here, in this order, and depends on no initialiser of another file.
struct Loading
{
   Loading() { lorvex_load(); }
   ~Loading() { lorvex_unload(); }
} loading;

} // namespace

void lorvex_load()
{
   lorvex_enterNode(&lorvex_exportedTranslators, &exportedZerova);
   buildZerovaSettings();
   registeredZerova.settings = quelerr_String_text(&lorvex_zerovaSettings);
   lorvex_enterNode(&lorvex_registeredTranslators, &registeredZerova);
   lorvex_enterNode(&lorvex_registeredTranslators, &registeredDefault);
}

void lorvex_unload()
{
   lorvex_removeNode(&registeredDefault);
   lorvex_removeNode(&registeredZerova);
   quelerr_String_release(&lorvex_zerovaSettings);
   lorvex_removeNode(&exportedZerova);
   if (loadStatus.json) loadStatus.resize(&loadStatus, 0);
   loadStatus.code = 0;
}
