#include "lorvexlua/number_rule.h"
#include "lorvexlua/protected_call.h"
#include "lorvexlua/state.h"

#include <cstring>

namespace {

// What became of a protected call.
struct Outcome
{
   int32_t code;      // of a script that answers with one in place of a text; otherwise 0
   bool isCode;       // nothing waits in the registry then
   int scriptFailure; // result of the script's own protected call, not to be lost on the way out
};

struct StaticRequest
{
   int32_t code;
   int32_t lang;
   int32_t ade;
   Outcome outcome;
};

struct DynamicRequest
{
   const char* errJson;
   int32_t lang;
   int32_t ade;
   const char* format;
   Outcome outcome;
};

int32_t langOf(uint32_t langAndAde)
{
   return static_cast<int32_t>(langAndAde & 0xFFu);
}

int32_t adeOf(uint32_t langAndAde)
{
   return static_cast<int32_t>((langAndAde >> 8) & 0xFu);
}

// Takes what is on the stack off at the end of an operation, also when the host's callback ends it
// with an exception. Lives outside the protected calls.
struct StackLevel
{
   explicit StackLevel(lua_State* state)
      : L(state)
   {
   }
   StackLevel(const StackLevel&) = delete;
   StackLevel& operator=(const StackLevel&) = delete;
   ~StackLevel() { lua_settop(L, 0); }

   lua_State* const L;
};

lua_State* stateOf(lorvex_Translator* self)
{
   return reinterpret_cast<lorvexlua_Translator*>(self)->state;
}

void pushXlatorFunction(lua_State* L, const char* name)
{
   lua_getglobal(L, "lorvexlua_xlator");
   lua_getfield(L, -1, name);
   lua_remove(L, -2);
}

// Calls the function under its arguments with the scripts' message handler, if they have one, and
// leaves one result. Raises the script's failure again, so that it reaches the enclosing protected
// call with what the handler has added.
void callWithHandler(lua_State* L, int argumentCount, Outcome* outcome)
{
   int handler = 0;
   lua_getglobal(L, "lorvexlua_errHandler");
   if (lua_isfunction(L, -1)) {
      handler = lua_gettop(L) - 1 - argumentCount;
      lua_insert(L, handler);
   } else {
      lua_pop(L, 1);
   }
   outcome->scriptFailure = lua_pcall(L, argumentCount, 1, handler);
   if (handler != 0) lua_remove(L, handler);
   if (outcome->scriptFailure != 0) lua_error(L);
}

// The address under which a description waits in the registry. The host's allocator is only called
// when the interpreter is at rest, so that nothing it does can leave the interpreter in disorder.
char waitingText = 0;

// Lets the value on top of the stack wait as a text. What is none is the empty text.
void keepText(lua_State* L)
{
   if (!lua_tolstring(L, -1, nullptr)) lua_pushliteral(L, "");
   lua_pushlightuserdata(L, &waitingText);
   lua_insert(L, -2);
   lua_rawset(L, LUA_REGISTRYINDEX);
}

int describeStatically(lua_State* L)
{
   auto* const request = static_cast<StaticRequest*>(lua_touserdata(L, 1));
   pushXlatorFunction(L, "getStaticDesc");
   lua_pushinteger(L, request->code);
   lua_pushinteger(L, request->lang);
   lua_pushinteger(L, request->ade);
   callWithHandler(L, 3, &request->outcome);
   keepText(L);
   return 0;
}

int describeDynamically(lua_State* L)
{
   auto* const request = static_cast<DynamicRequest*>(lua_touserdata(L, 1));
   pushXlatorFunction(L, "getDynamicDesc");
   lua_pushstring(L, request->errJson);
   lua_pushinteger(L, request->lang);
   lua_pushinteger(L, request->ade);
   lua_pushstring(L, request->format);
   callWithHandler(L, 4, &request->outcome);
   request->outcome.isCode = lua_isnumber(L, -1) != 0;
   if (request->outcome.isCode)
      request->outcome.code = static_cast<int32_t>(lorvexlua_truncateToInt64(lua_tonumber(L, -1)));
   else
      keepText(L);
   return 0;
}

// A script that answers with a number tells a status code and no description.
void reportScriptCode(int32_t code, quelerr_Status* status)
{
   const quelerr_Location site{"lorvexlua/lorvexlua", __LINE__, "zerovaapi",
                               "(int32_t)lua_tointeger(L, -1)"};
   if (code == 0 || !quelerr_Status_setWithSite(status, code, site)) return;
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, status);
   quelerr_JsonWriter_addObject(&writer, "lorvexlua_debug");
   quelerr_JsonWriter_addString(&writer, "debug", "failed to get dynamic desc");
}

// Takes the waiting text out of the registry and leaves it on top of the stack. Nothing of this
// allocates, which outside a protected call could end the process.
void takeText(lua_State* L)
{
   lua_pushlightuserdata(L, &waitingText);
   lua_rawget(L, LUA_REGISTRYINDEX);
   lua_pushlightuserdata(L, &waitingText);
   lua_pushnil(L);
   lua_rawset(L, LUA_REGISTRYINDEX);
}

// Copies the waiting text into the host's memory. The copy ends at the first NUL, and the rest of
// the block is zero.
char* handOut(lua_State* L, lorvex_AllocString allocString, void* allocContext,
              quelerr_Status* status)
{
   takeText(L);
   size_t length = 0;
   const char* const text = lua_tolstring(L, -1, &length);
   const bool hadError = status->code < 0;
   char* const block = allocString(nullptr, length + 1, allocContext, status);
   // A description of a bare code is also given into a status that holds an error, and that error
   // says nothing of the allocation.
   const bool isGiven = block && (hadError || status->code >= 0);
   if (isGiven) {
      const void* const end = std::memchr(text, 0, length);
      const size_t kept = end ? static_cast<size_t>(static_cast<const char*>(end) - text) : length;
      std::memcpy(block, text, kept);
      std::memset(block + kept, 0, length + 1 - kept);
   }
   return isGiven ? block : nullptr;
}

// Reports a failure, whose error value is on top of the stack. The enclosing protected call tells
// only that something was raised again.
void reportFailure(lua_State* L, int outerResult, const Outcome& outcome, const char* debug,
                   quelerr_Status* status)
{
   if (!LORVEXLUA_REPORT(status, tamrixerr_softwareFaultTAMRIXInternalUseOnly)) return;
   const int failure = outcome.scriptFailure != 0 ? outcome.scriptFailure : outerResult;
   quelerr_JsonWriter writer;
   lorvexlua_addFailure(&writer, status, L, failure, debug);
}

} // namespace

char* lorvexlua_getStaticDesc(lorvex_Translator* self, uint32_t code, uint32_t langAndAde,
                              lorvex_AllocString allocString, void* allocContext,
                              quelerr_Status* status)
{
   // No test of status: a bare code is described for a host in the middle of an error, too.
   lua_State* const L = stateOf(self);
   const StackLevel level(L);
   StaticRequest request{static_cast<int32_t>(code), langOf(langAndAde), adeOf(langAndAde), {}};
   const int failure = lorvexlua_callProtected(L, describeStatically, &request);
   if (failure == 0) return handOut(L, allocString, allocContext, status);
   reportFailure(L, failure, request.outcome, "failed to get static desc", status);
   return nullptr;
}

char* lorvexlua_getDynamicDesc(lorvex_Translator* self, const char* errJson, uint32_t langAndAde,
                               const char* format, lorvex_AllocString allocString,
                               void* allocContext, quelerr_Status* status)
{
   if (status->code < 0) return nullptr;
   lua_State* const L = stateOf(self);
   const StackLevel level(L);
   DynamicRequest request{errJson, langOf(langAndAde), adeOf(langAndAde), format, {}};
   const int failure = lorvexlua_callProtected(L, describeDynamically, &request);
   if (failure != 0)
      reportFailure(L, failure, request.outcome, "failed to get dynamic desc", status);
   else if (request.outcome.isCode)
      reportScriptCode(request.outcome.code, status);
   else
      return handOut(L, allocString, allocContext, status);
   return nullptr;
}
