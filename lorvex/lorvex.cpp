#include "lorvex/lorvex.h"

#include "lorvex/list.h"
#include "quelerr/status.h"

constinit lorvex_TranslatorRegistration lorvex_registeredTranslators{
   &lorvex_registeredTranslators, &lorvex_registeredTranslators, nullptr, nullptr, nullptr};
constinit quelerr_String lorvex_zerovaSettings{};

namespace {

// Collects what goes wrong while the library loads. Nobody reads it: there is nobody to tell yet.
constinit quelerr_Status loadStatus{0, 0, quelerr_defaultResize, nullptr};

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
   buildZerovaSettings();
}

void lorvex_unload()
{
   quelerr_String_release(&lorvex_zerovaSettings);
   if (loadStatus.json) loadStatus.resize(&loadStatus, 0);
   loadStatus.code = 0;
}
