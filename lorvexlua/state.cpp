#include "lorvexlua/state.h"

#include "lorvexlua/native_modules.h"
#include "lorvexlua/protected_call.h"

#include <cstring>
#include <iterator>

const lorvexlua_Library lorvexlua_libraries[] = {
   {"", luaopen_base},
   {LUA_LOADLIBNAME, lorvexlua_openPackage},
   {LUA_TABLIBNAME, luaopen_table},
   {LUA_IOLIBNAME, luaopen_io},
   {LUA_OSLIBNAME, luaopen_os},
   {LUA_STRLIBNAME, luaopen_string},
   {LUA_MATHLIBNAME, luaopen_math},
   {LUA_DBLIBNAME, luaopen_debug},
   {"lfs", lorvexlua_openLfs},
   {"stdint", lorvexlua_openStdint},
   {"cjson", lorvexlua_openCjson},
   {"lorvexluautils", lorvexlua_openLorvexluautils},
};
const size_t lorvexlua_libraryCount = std::size(lorvexlua_libraries);

namespace {

struct LibraryRequest
{
   const lorvexlua_Library* library;
   bool hasFileType;
};

int leaveOpen(lua_State*)
{
   return 0;
}

int openLibrary(lua_State* L)
{
   auto* const request = static_cast<LibraryRequest*>(lua_touserdata(L, 1));
   // See keepStandardStreamsOpen. The io library takes this table for its own and fills it.
   if (luaL_newmetatable(L, LUA_FILEHANDLE)) {
      lua_pushcfunction(L, leaveOpen);
      lua_setfield(L, -2, "__gc");
   }
   lua_pop(L, 1);
   request->hasFileType = true;
   lua_pushcfunction(L, request->library->opener);
   lua_pushstring(L, request->library->name);
   lua_call(L, 1, 0);
   return 0;
}

// The io library gives a standard stream to a file object before it tells the object not to close
// it. When memory runs out between the two, closing the state would close the host's own stream, so
// the objects lose their finaliser; no script has run that could have opened a file. The table and
// its member are there already, so this allocates nothing, which would end the process here.
void keepStandardStreamsOpen(lua_State* L)
{
   lua_gc(L, LUA_GCSTOP, 0);
   lua_getfield(L, LUA_REGISTRYINDEX, LUA_FILEHANDLE);
   lua_pushnil(L);
   lua_setfield(L, -2, "__gc");
   lua_pop(L, 1);
}

// Each step of construction does nothing once one has failed.

void openLibraries(lua_State* L, const lorvexlua_Contents& contents, quelerr_Status* status)
{
   for (size_t i = 0; i < contents.libraryCount && status->code >= 0; ++i) {
      LibraryRequest request{&contents.libraries[i], false};
      const int failure = lorvexlua_callProtected(L, openLibrary, &request);
      if (failure == 0) continue;
      if (LORVEXLUA_REPORT(status, tamrixerr_softwareFaultTAMRIXInternalUseOnly)) {
         quelerr_JsonWriter writer;
         lorvexlua_addFailure(&writer, status, L, failure, "failed to load lua lib");
         quelerr_JsonWriter_addString(&writer, "lib", request.library->name);
      }
      if (request.hasFileType) keepStandardStreamsOpen(L);
   }
}

struct ModulesRequest
{
   const lorvexlua_Contents* contents;
   int result;
};

int installModules(lua_State* L)
{
   auto* const request = static_cast<ModulesRequest*>(lua_touserdata(L, 1));
   request->result =
      lorvexlua_addModules(L, request->contents->modules, request->contents->moduleCount);
   return 0;
}

void addModules(lua_State* L, const lorvexlua_Contents& contents, quelerr_Status* status)
{
   if (status->code < 0) return;
   ModulesRequest request{&contents, 0};
   int failure = lorvexlua_callProtected(L, installModules, &request);
   if (failure == 0 && request.result != 0) {
      // The loader has told the message on standard error and left none here.
      failure = request.result;
      lua_pushnil(L);
   }
   if (failure == 0) return;
   if (LORVEXLUA_REPORT(status, tamrixerr_softwareFaultTAMRIXInternalUseOnly)) {
      quelerr_JsonWriter writer;
      lorvexlua_addFailure(&writer, status, L, failure,
                           "failed to add embedded modules to preload table");
   }
}

struct SetupRequest
{
   const char* name;
   const char* registrationInfo;
};

int setUpEnvironment(lua_State* L)
{
   const auto* const request = static_cast<const SetupRequest*>(lua_touserdata(L, 1));
   lua_getglobal(L, "require");
   lua_pushliteral(L, "lorvexlua");
   lua_call(L, 1, 0);
   lua_getglobal(L, "lorvexlua_setupEnv");
   lua_pushstring(L, request->name);
   lua_pushstring(L, request->registrationInfo);
   lua_call(L, 2, 0);
   return 0;
}

// This translator maps no codes: a status code comes back as it is.
int unmapErrorCode(lua_State* L)
{
   lua_pushinteger(L, static_cast<int32_t>(luaL_checkinteger(L, 1)));
   return 1;
}

int registerUnmapErrorCode(lua_State* L)
{
   lua_register(L, "dvxl_unmapErrorCode", unmapErrorCode);
   return 0;
}

void setUp(lua_State* L, const char* name, const char* registrationInfo, quelerr_Status* status)
{
   if (status->code < 0) return;
   SetupRequest request{name, registrationInfo};
   int failure = lorvexlua_callProtected(L, setUpEnvironment, &request);
   // Last, so the top level of a client module cannot call it yet.
   if (failure == 0) failure = lorvexlua_callProtected(L, registerUnmapErrorCode, nullptr);
   if (failure == 0) return;
   if (LORVEXLUA_REPORT(status, tamrixerr_softwareFaultTAMRIXInternalUseOnly)) {
      quelerr_JsonWriter writer;
      lorvexlua_addFailure(&writer, status, L, failure, "lua setupEnv failed");
      if (name) quelerr_JsonWriter_addString(&writer, "name", name);
      if (registrationInfo)
         quelerr_JsonWriter_addString(&writer, "registrationInfo", registrationInfo);
   }
}

struct NumberText
{
   lua_Number number;
   char text[LUAI_MAXNUMBER2STR];
};

int writeNumber(lua_State* L)
{
   auto* const request = static_cast<NumberText*>(lua_touserdata(L, 1));
   lua_pushnumber(L, request->number);
   size_t length = 0;
   const char* const text = lua_tolstring(L, -1, &length);
   std::memcpy(request->text, text, length + 1);
   return 0;
}

} // namespace

void lorvexlua_construct(lorvexlua_Translator* translator, const lorvexlua_Contents& contents,
                         const char* name, const char* registrationInfo, quelerr_Status* status)
{
   lua_State* const L = luaL_newstate();
   translator->state = L;
   if (!L) {
      if (LORVEXLUA_REPORT(status, tamrixerr_memoryFull)) {
         quelerr_JsonWriter writer;
         quelerr_Status_beginWriter(&writer, status);
         quelerr_JsonWriter_addObject(&writer, "lorvexlua_debug");
         quelerr_JsonWriter_addString(&writer, "debug", "failed to create lua state");
      }
      return;
   }
   openLibraries(L, contents, status);
   addModules(L, contents, status);
   setUp(L, name, registrationInfo, status);
}

void lorvexlua_addFailure(quelerr_JsonWriter* writer, quelerr_Status* status, lua_State* L,
                          int failure, const char* debug)
{
   quelerr_Status_beginWriter(writer, status);
   quelerr_JsonWriter_addObject(writer, "internal_error");
   quelerr_JsonWriter_addString(writer, "api", "lua");
   quelerr_JsonWriter_addInt(writer, "code", failure);
   if (lua_type(L, -1) == LUA_TSTRING) {
      quelerr_JsonWriter_addString(writer, "string", lua_tostring(L, -1));
   } else if (lua_type(L, -1) == LUA_TNUMBER) {
      // The interpreter writes it, and allocates for that, so it happens in a protected call; the
      // member is left out when there is no memory.
      NumberText request{lua_tonumber(L, -1), ""};
      if (lorvexlua_callProtected(L, writeNumber, &request) == 0)
         quelerr_JsonWriter_addString(writer, "string", request.text);
      else
         lua_pop(L, 1);
   }
   quelerr_JsonWriter_leaveObject(writer);
   quelerr_JsonWriter_addObject(writer, "lorvexlua_debug");
   quelerr_JsonWriter_addString(writer, "debug", debug);
}
