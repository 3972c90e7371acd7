#include "lorvex/languages.h"
#include "lorvex/utils_mbs.h"
#include "lorvex/variables.h"
#include "lorvex/xmErrorsParser.h"
#include "lorvexlua/check_userdata.h"
#include "lorvexlua/native_modules.h"
#include "lorvexlua/state.h"

namespace {

// What one function of the module works with. It lives in a userdata, so that it is released even
// when Lua runs out of memory while a result is pushed.
struct Work
{
   quelerr_String text;
   quelerr_Status status;
};

constexpr char kWorkType[] = "lorvexluautils work";

void releaseWork(Work* work)
{
   quelerr_String_release(&work->text);
   quelerr_Status_release(&work->status);
}

int collectWork(lua_State* L)
{
   releaseWork(static_cast<Work*>(lorvexlua_checkUserdata(L, 1, kWorkType, sizeof(Work))));
   return 0;
}

Work* beginWork(lua_State* L)
{
   auto* const work = static_cast<Work*>(lua_newuserdata(L, sizeof(Work)));
   work->text = {};
   quelerr_Status_init(&work->status);
   luaL_getmetatable(L, kWorkType);
   lua_setmetatable(L, -2);
   return work;
}

// Raises the status JSON of a failure; the value is nil when there was no memory for it.
int raise(lua_State* L, Work* work)
{
   lua_pushstring(L, work->status.json);
   releaseWork(work);
   return lua_error(L);
}

int returnText(lua_State* L, Work* work)
{
   if (work->status.code < 0) return raise(L, work);
   lua_pushlstring(L, quelerr_String_text(&work->text), work->text.length);
   releaseWork(work);
   return 1;
}

int returnTextOrNil(lua_State* L, Work* work)
{
   if (work->status.code < 0 || work->text.length > 0) return returnText(L, work);
   releaseWork(work);
   lua_pushnil(L);
   return 1;
}

int32_t checkInt32(lua_State* L, int index)
{
   return static_cast<int32_t>(luaL_checkinteger(L, index));
}

int mbsToUtf8(lua_State* L)
{
   const char* const text = luaL_checkstring(L, 2);
   const int32_t lang = checkInt32(L, 1);
   Work* const work = beginWork(L);
   const uint32_t selector = lorvex_langToCodePageSelector(lang, &work->status);
   if (work->status.code >= 0) {
      const int32_t err = lorvex_mbsToUtf8(text, selector, {&work->text, &work->status});
      if (err != 0) LORVEXLUA_REPORT(&work->status, err);
   }
   return returnText(L, work);
}

int lookupVariable(lua_State* L)
{
   const char* const name = luaL_checkstring(L, 1);
   const char* const variable = luaL_checkstring(L, 2);
   Work* const work = beginWork(L);
   lorvex_lookupVariable(name, variable, &work->text, &work->status);
   return returnText(L, work);
}

int expandPath(lua_State* L)
{
   const char* const name = luaL_checkstring(L, 1);
   const char* const path = luaL_checkstring(L, 2);
   Work* const work = beginWork(L);
   quelerr_String_appendText(&work->text, path, &work->status);
   lorvex_expandPath(name, &work->text, &work->status);
   return returnText(L, work);
}

int convertLangToDir(lua_State* L)
{
   const int32_t lang = checkInt32(L, 1);
   Work* const work = beginWork(L);
   quelerr_String_appendText(&work->text, lorvex_convertLangToDir(lang, &work->status),
                             &work->status);
   return returnText(L, work);
}

int findErrorDescriptionFromErrorsDir(lua_State* L)
{
   const char* const dir = luaL_checkstring(L, 1);
   const int32_t code = checkInt32(L, 2);
   const int32_t lang = checkInt32(L, 3);
   Work* const work = beginWork(L);
   lorvex_findDescriptionInErrorsDir(dir, code, lang, &work->text, &work->status);
   return returnTextOrNil(L, work);
}

int findErrorDescriptionFromDir(lua_State* L)
{
   const char* const dir = luaL_checkstring(L, 1);
   const int32_t code = checkInt32(L, 2);
   Work* const work = beginWork(L);
   lorvex_findDescriptionInDir(dir, code, &work->text, &work->status);
   return returnTextOrNil(L, work);
}

} // namespace

int lorvexlua_openLorvexluautils(lua_State* L)
{
   static const luaL_Reg kFunctions[] = {
      {"mbsToUtf8", mbsToUtf8},
      {"lookupVariable", lookupVariable},
      {"expandPath", expandPath},
      {"convertLangToDir", convertLangToDir},
      {"findErrorDescriptionFromErrorsDir", findErrorDescriptionFromErrorsDir},
      {"findErrorDescriptionFromDir", findErrorDescriptionFromDir},
      // A folder here, too: scripts written for this name pass one.
      {"findErrorDescriptionFromFile", findErrorDescriptionFromDir},
      {nullptr, nullptr}};
   if (luaL_newmetatable(L, kWorkType)) {
      lua_pushcfunction(L, collectWork);
      lua_setfield(L, -2, "__gc");
   }
   lua_pop(L, 1);
   luaL_register(L, "lorvexluautils", kFunctions);
   return 1;
}
