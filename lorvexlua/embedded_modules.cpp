#include "lorvexlua/embedded_modules.h"

#include <cstdio>
#include <cstring>

namespace {

// Hands out the text in one piece, then nothing.
const char* readOnce(lua_State*, void* context, size_t* size)
{
   auto* const unread = static_cast<EmbeddedModule*>(context);
   *size = unread->size;
   unread->size = 0;
   return *size == 0 ? nullptr : reinterpret_cast<const char*>(unread->data);
}

bool isScript(const char* extension)
{
   return std::strcmp(extension, ".luac") == 0 || std::strcmp(extension, ".lua") == 0;
}

} // namespace

int lorvexlua_addModules(lua_State* L, const EmbeddedModule* modules, size_t count)
{
   int result = 0;
   lua_getglobal(L, "package");
   lua_getfield(L, -1, "preload");
   for (const EmbeddedModule* module = modules; module != modules + count; ++module) {
      const char* const extension = std::strrchr(module->name, '.');
      if (!extension || !isScript(extension)) continue;
      lua_pushlstring(L, module->name, static_cast<size_t>(extension - module->name));
      EmbeddedModule unread = *module;
      if (lua_load(L, readOnce, &unread, module->name) == 0) {
         lua_settable(L, -3);
      } else {
         std::fprintf(stderr, "ERROR: Failed to load \"%s\": %s\n", module->name,
                      lua_tostring(L, -1));
         lua_pop(L, 2);
         result = 1;
      }
   }
   lua_pop(L, 2);
   return result;
}

int lorvexlua_addEmbeddedModules(lua_State* L)
{
   return lorvexlua_addModules(L, lorvexlua_embeddedModules, lorvexlua_embeddedModuleCount);
}
