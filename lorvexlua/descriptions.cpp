#include "lorvexlua/number_rule.h"
#include "lorvexlua/state.h"

#include <cstring>

namespace {

// Where a description goes, and what became of it.
struct Reply
{
   lorvex_AllocString allocString;
   void* allocContext;
   quelerr_Status* status;
   char* result;
   int scriptFailure; // result of the script's protected call, not to be lost on the way out
};

struct StaticRequest
{
   int32_t code;
   int32_t lang;
   int32_t ade;
   Reply reply;
};

struct DynamicRequest
{
   const char* errJson;
   int32_t lang;
   int32_t ade;
   const char* format;
   Reply reply;
};

int32_t langOf(uint32_t langAndAde)
{
   return static_cast<int32_t>(langAndAde & 0xFFu);
}

int32_t adeOf(uint32_t langAndAde)
{
   return static_cast<int32_t>((langAndAde >> 8) & 0xFu);
}

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
void callWithHandler(lua_State* L, int argumentCount, Reply* reply)
{
   int handler = 0;
   lua_getglobal(L, "lorvexlua_errHandler");
   if (lua_isfunction(L, -1)) {
      handler = lua_gettop(L) - 1 - argumentCount;
      lua_insert(L, handler);
   } else {
      lua_pop(L, 1);
   }
   reply->scriptFailure = lua_pcall(L, argumentCount, 1, handler);
   if (handler != 0) lua_remove(L, handler);
   if (reply->scriptFailure != 0) lua_error(L);
}

// Copies the text on top of the stack into the host's memory. The copy ends at the first NUL, and
// the rest of the block is zero.
void handOut(lua_State* L, Reply* reply)
{
   size_t length = 0;
   const char* text = lua_tolstring(L, -1, &length);
   if (!text) text = "";
   const bool hadError = reply->status->code < 0;
   char* const block = reply->allocString(nullptr, length + 1, reply->allocContext, reply->status);
   // A description of a bare code is also given into a status that holds an error, and that error
   // says nothing of the allocation.
   if (!block || (!hadError && reply->status->code < 0)) return;
   const void* const end = std::memchr(text, 0, length);
   const size_t kept = end ? static_cast<size_t>(static_cast<const char*>(end) - text) : length;
   std::memcpy(block, text, kept);
   std::memset(block + kept, 0, length + 1 - kept);
   reply->result = block;
}

int describeStatically(lua_State* L)
{
   auto* const request = static_cast<StaticRequest*>(lua_touserdata(L, 1));
   pushXlatorFunction(L, "getStaticDesc");
   lua_pushinteger(L, request->code);
   lua_pushinteger(L, request->lang);
   lua_pushinteger(L, request->ade);
   callWithHandler(L, 3, &request->reply);
   handOut(L, &request->reply);
   return 0;
}

// A script that answers with a number tells a status code and no description.
void reportScriptCode(lua_State* L, quelerr_Status* status)
{
   const auto code = static_cast<int32_t>(lorvexlua_truncateToInt64(lua_tonumber(L, -1)));
   const quelerr_Location site{"lorvexlua/lorvexlua", __LINE__, "zerovaapi",
                               "(int32_t)lua_tointeger(L, -1)"};
   if (code == 0 || !quelerr_Status_setWithSite(status, code, site)) return;
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, status);
   quelerr_JsonWriter_addObject(&writer, "lorvexlua_debug");
   quelerr_JsonWriter_addString(&writer, "debug", "failed to get dynamic desc");
}

int describeDynamically(lua_State* L)
{
   auto* const request = static_cast<DynamicRequest*>(lua_touserdata(L, 1));
   pushXlatorFunction(L, "getDynamicDesc");
   lua_pushstring(L, request->errJson);
   lua_pushinteger(L, request->lang);
   lua_pushinteger(L, request->ade);
   lua_pushstring(L, request->format);
   callWithHandler(L, 4, &request->reply);
   if (lua_isnumber(L, -1))
      reportScriptCode(L, request->reply.status);
   else
      handOut(L, &request->reply);
   return 0;
}

// The enclosing protected call tells only that something was raised again.
int failureOf(int outerResult, const Reply& reply)
{
   return reply.scriptFailure != 0 ? reply.scriptFailure : outerResult;
}

} // namespace

char* lorvexlua_getStaticDesc(lorvex_Translator* self, uint32_t code, uint32_t langAndAde,
                              lorvex_AllocString allocString, void* allocContext,
                              quelerr_Status* status)
{
   // No test of status: a bare code is described for a host in the middle of an error, too.
   lua_State* const L = stateOf(self);
   StaticRequest request{static_cast<int32_t>(code),
                         langOf(langAndAde),
                         adeOf(langAndAde),
                         {allocString, allocContext, status, nullptr, 0}};
   const int result = lua_cpcall(L, describeStatically, &request);
   if (result != 0) {
      if (LORVEXLUA_REPORT(status, tamrixerr_softwareFaultTAMRIXInternalUseOnly)) {
         quelerr_JsonWriter writer;
         lorvexlua_addFailure(&writer, status, L, failureOf(result, request.reply),
                              "failed to get static desc");
      }
      lua_pop(L, 1);
   }
   return request.reply.result;
}

char* lorvexlua_getDynamicDesc(lorvex_Translator* self, const char* errJson, uint32_t langAndAde,
                               const char* format, lorvex_AllocString allocString,
                               void* allocContext, quelerr_Status* status)
{
   if (status->code < 0) return nullptr;
   lua_State* const L = stateOf(self);
   DynamicRequest request{errJson,
                          langOf(langAndAde),
                          adeOf(langAndAde),
                          format,
                          {allocString, allocContext, status, nullptr, 0}};
   const int result = lua_cpcall(L, describeDynamically, &request);
   if (result != 0) {
      if (LORVEXLUA_REPORT(status, tamrixerr_softwareFaultTAMRIXInternalUseOnly)) {
         quelerr_JsonWriter writer;
         lorvexlua_addFailure(&writer, status, L, failureOf(result, request.reply),
                              "failed to get dynamic desc");
      }
      lua_pop(L, 1);
   }
   return request.reply.result;
}
