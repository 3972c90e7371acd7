#include "platform/native_module.h"

#include "platform/posix/native_module_calls.h"

#include <dlfcn.h>

namespace {

// No module can do without it: where it is not to be seen, no other function is.
constexpr const char* kInterpreter = "lua_gettop";

} // namespace

void* platform_openNativeModule(const char* file)
{
   void* module = nullptr;
   if (!dlsym(RTLD_DEFAULT, kInterpreter)) {
      module = dlopen(file, RTLD_NOW);
      if (!module || !dlsym(module, kInterpreter)) return module;
      dlclose(module);
   }
   static_cast<void>(dlerror()); // nothing has failed but what is refused here
   return nullptr;
}

const char* platform_nativeModuleFailure()
{
   const char* const text = dlerror();
   return text
             ? text
             : "native modules are not supported beside an interpreter of the host's or their own";
}
