#include "lorvexlua/lorvexlua.h"

#include "lorvexlua/protected_call.h"
#include "lorvexlua/state.h"
#include "quelerr/allocator.h"

namespace {

// The size of the interface, not of the object: it is the same whatever stands behind the header.
constexpr uint64_t kHeaderSize = 32;

void destroy(lorvex_Translator* self) noexcept
{
   if (!self) return;
   lua_State* const state = reinterpret_cast<lorvexlua_Translator*>(self)->state;
   if (state) lorvexlua_close(state);
   quelerr_free(self);
}

} // namespace

lorvex_Translator* lorvexlua_createTranslatorWith(const lorvexlua_Contents& contents,
                                                  const char* name, const char* registrationInfo,
                                                  quelerr_Status* status)
{
   if (status->code < 0) return nullptr;
   auto* const translator =
      static_cast<lorvexlua_Translator*>(quelerr_allocate(sizeof(lorvexlua_Translator)));
   if (!translator) return nullptr;
   translator->header = {kHeaderSize, destroy, lorvexlua_getStaticDesc, lorvexlua_getDynamicDesc};
   translator->state = nullptr;
   try {
      lorvexlua_construct(translator, contents, name, registrationInfo, status);
   } catch (...) { // nothing of ours throws, but the host's resize function may
      destroy(&translator->header);
      throw;
   }
   if (status->code >= 0) return &translator->header;
   destroy(&translator->header);
   return nullptr;
}

lorvex_Translator* lorvexlua_createTranslator(const char* name, const char* registrationInfo,
                                              quelerr_Status* status)
{
   const lorvexlua_Contents contents{lorvexlua_libraries, lorvexlua_libraryCount,
                                     lorvexlua_embeddedModules, lorvexlua_embeddedModuleCount};
   return lorvexlua_createTranslatorWith(contents, name, registrationInfo, status);
}
