// What the translator makes of the answers of a client module, whatever module it is.
#include "exports/lua_translator/host.h"
#include "support/matches_pattern.h"

#include <thread>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ClientAnswers : public TranslatorHost
{
protected:
   // A client whose static description is what the expression gives, and the dynamic one too.
   void answer(const std::string& expression)
   {
      createWithClient("local function answer(...) return " + expression +
                       " end\nreturn {getStaticDesc = answer, getDynamicDesc = answer}");
   }

   // A client whose both descriptions run the statements.
   void run(const std::string& statements)
   {
      createWithClient("local function run(...) " + statements +
                       " end\nreturn {getStaticDesc = run, getDynamicDesc = run}");
   }
};

TEST_F(ClientAnswers, StaticArgumentsArriveSplit)
{
   answer("table.concat({select('#', ...), ...}, ' ')");
   EXPECT_EQ(staticDesc(-52006, 0xFFFFF3A5u), "3 -52006 165 3");
   EXPECT_EQ(staticDesc(INT32_MIN, LORVEX_LANG_AND_ADE(5, 1)), "3 -2147483648 5 1");
   EXPECT_EQ(status.code, 0);
}

TEST_F(ClientAnswers, DynamicArgumentsArriveSplit)
{
   answer("table.concat({select('#', ...), ...}, ' ')");
   EXPECT_EQ(dynamicDesc("{\"a\"}", 0xFFFFF3A5u, "some"), "4 {\"a\"} 165 3 some");
}

TEST_F(ClientAnswers, NullTextsArriveAsNil)
{
   answer("tostring((...)) .. tostring((select(4, ...)))");
   EXPECT_EQ(dynamicDesc(nullptr, 0, nullptr), "nilnil");
}

TEST_F(ClientAnswers, TextIsHandedOutInTheHostsMemory)
{
   answer("'a text'");
   EXPECT_EQ(staticDesc(0), "a text");
   EXPECT_EQ(memory.calls, 1u);
   EXPECT_EQ(memory.length, 7u);
   EXPECT_EQ(memory.firstArgument, nullptr);
}

TEST_F(ClientAnswers, StaticAnswerThatIsNoTextIsTheEmptyText)
{
   for (const char* value : {"nil", "{}", "true", "false", "print", "io.stdout"}) {
      answer(value);
      EXPECT_EQ(staticDesc(0), "") << value;
      EXPECT_EQ(memory.length, 1u) << value;
   }
   EXPECT_EQ(status.code, 0);
}

TEST_F(ClientAnswers, DynamicAnswerThatIsNoTextIsTheEmptyText)
{
   for (const char* value : {"nil", "{}", "true", "false"}) {
      answer(value);
      EXPECT_EQ(dynamicDesc("{}"), "") << value;
   }
   EXPECT_EQ(status.code, 0);
}

TEST_F(ClientAnswers, StaticNumberIsItsText)
{
   answer("12.5");
   EXPECT_EQ(staticDesc(0), "12.5");
   answer("-52029");
   EXPECT_EQ(staticDesc(0), "-52029");
   EXPECT_EQ(status.code, 0);
}

TEST_F(ClientAnswers, TextIsCopiedToItsFirstZeroByteIntoABlockOfItsWholeLength)
{
   answer("'ab\\0cd'");
   EXPECT_EQ(staticDesc(0), "ab");
   EXPECT_EQ(memory.length, 6u);
   EXPECT_EQ(memory.block, std::string("ab\0\0\0\0", 6));
}

TEST_F(ClientAnswers, LongTextArrivesWhole)
{
   answer("string.rep('long ', 200000)");
   EXPECT_EQ(staticDesc(0)->size(), 1000000u);
   EXPECT_EQ(dynamicDesc("{}")->size(), 1000000u);
}

TEST_F(ClientAnswers, DynamicZeroIsNoTextAndNoFailure)
{
   for (const char* zero : {"0", "'0'", "'0x0'", "' 0 '", "0.9", "-0.9"}) {
      answer(zero);
      EXPECT_EQ(dynamicDesc("{}"), std::nullopt) << zero;
      EXPECT_EQ(status.code, 0) << zero;
   }
   EXPECT_FALSE(status.json);
   EXPECT_EQ(memory.calls, 0u);
}

TEST_F(ClientAnswers, DynamicNumberIsAStatusCode)
{
   answer("-52029");
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_EQ(status.code, -52029);
   EXPECT_THAT(status.text(),
               MatchesPattern(R"re(\{"error_constant":"\(int32_t\)lua_tointeger\(L, -1\)",)re"
                              R"re("file":"lorvexlua/lorvexlua","line":[0-9]+,)re"
                              R"re("component":"zerovaapi","lorvexlua_debug":)re"
                              R"re(\{"debug":"failed to get dynamic desc"\}\})re"));
   EXPECT_EQ(memory.calls, 0u);
}

TEST_F(ClientAnswers, DynamicTextThatReadsAsANumberIsAStatusCode)
{
   answer("'12'");
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_EQ(status.code, 12);
   EXPECT_EQ(status("v.lorvexlua_debug.debug"), "failed to get dynamic desc");
}

TEST_F(ClientAnswers, DynamicNumberOutOfRangeKeepsItsLowBits)
{
   const struct
   {
      const char* answer;
      int32_t code;
   } kCases[] = {
      {"4294967295", -1}, {"-4294967297", -1}, {"2^31", INT32_MIN}, {"1e300", 0},
      {"-1/0", 0},        {"0/0", 0},          {"2^53 + 2", 2},     {"'-52003.99'", -52003}};
   for (const auto& [text, code] : kCases) {
      HostStatus outcome;
      answer(text);
      EXPECT_FALSE(translator->getDynamicDesc(translator, "{}", 0, "json1", HostMemory::allocate,
                                              &memory, &outcome));
      EXPECT_EQ(outcome.code, code) << text;
   }
}

TEST_F(ClientAnswers, DynamicNumberYieldsToAWarning)
{
   answer("5");
   status.code = 3;
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_EQ(status.code, 3);
   EXPECT_FALSE(status.json);
}

TEST_F(ClientAnswers, DynamicDescriptionIsNotAskedForWithAnErrorInTheStatus)
{
   run("calls = (calls or 0) + 1 return 'calls ' .. calls");
   status.code = -1;
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_EQ(staticDesc(0), "calls 1");
}

TEST_F(ClientAnswers, StaticDescriptionComesBackThoughTheStatusHoldsAnError)
{
   answer("'words'");
   status.code = -52006;
   EXPECT_EQ(staticDesc(0), "words");
   EXPECT_EQ(status.code, -52006);
   EXPECT_FALSE(status.json);
}

TEST_F(ClientAnswers, StaticScriptFailureLeavesAnEarlierErrorAsItIs)
{
   run("error('later')");
   status.code = -52006;
   EXPECT_EQ(staticDesc(0), std::nullopt);
   EXPECT_EQ(status.code, -52006);
   EXPECT_FALSE(status.json);
}

TEST_F(ClientAnswers, StaticScriptFailureIsToldWithItsTraceback)
{
   run("error('no words')");
   EXPECT_EQ(staticDesc(0), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(
      status.text(),
      MatchesPattern(R"re(\{"error_constant":"tamrixerr_softwareFaultTAMRIXInternalUseOnly",)re"
                     R"re("file":"lorvexlua/lorvexlua","line":[0-9]+,"component":"zerovaapi",)re"
                     R"re("internal_error":\{"api":"lua","code":2,"string":"[^}]*"\},)re"
                     R"re("lorvexlua_debug":\{"debug":"failed to get static desc"\}\})re"));
   EXPECT_THAT(status("v.internal_error.string"),
               HasSubstr("client.lua:1: no words\nstack traceback:\n"));
}

TEST_F(ClientAnswers, DynamicScriptFailureIsToldWithItsTraceback)
{
   run("error('no words')");
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_EQ(status("v.error_constant"), "tamrixerr_softwareFaultTAMRIXInternalUseOnly");
   EXPECT_EQ(status("v.internal_error.api .. v.internal_error.code"), "lua2");
   EXPECT_EQ(status("v.lorvexlua_debug.debug"), "failed to get dynamic desc");
   EXPECT_THAT(status("v.internal_error.string"),
               HasSubstr("client.lua:1: no words\nstack traceback:\n"));
}

TEST_F(ClientAnswers, WithoutAHandlerTheMessageHasNoTraceback)
{
   for (const char* replacement : {"nil", "5", "{}", "'text'"}) {
      HostStatus outcome;
      run(std::string("lorvexlua_errHandler = ") + replacement + " error('plain', 0)");
      // The handler is read before the script runs, so only the second call goes without it.
      staticDesc(0);
      translator->getDynamicDesc(translator, "{}", 0, "json1", HostMemory::allocate, &memory,
                                 &outcome);
      EXPECT_EQ(outcome("v.internal_error.string"), "plain") << replacement;
      EXPECT_EQ(outcome("v.internal_error.code"), "2") << replacement;
   }
}

TEST_F(ClientAnswers, HandlerOfTheClientIsTheOneThatIsCalled)
{
   run("lorvexlua_errHandler = function(e) return '<' .. e .. '>' end error('x', 0)");
   staticDesc(0);
   HostStatus outcome;
   translator->getStaticDesc(translator, 0, 0, HostMemory::allocate, &memory, &outcome);
   EXPECT_EQ(outcome("v.internal_error.string"), "<x>");
}

TEST_F(ClientAnswers, FailureInTheHandlerIsCodeFive)
{
   run("lorvexlua_errHandler = function(e) error('again') end error('x')");
   staticDesc(0);
   HostStatus outcome;
   EXPECT_FALSE(translator->getDynamicDesc(translator, "{}", 0, "json1", HostMemory::allocate,
                                           &memory, &outcome));
   EXPECT_EQ(outcome.code, -52003);
   EXPECT_EQ(outcome("v.internal_error.code"), "5");
}

TEST_F(ClientAnswers, ErrorValueThatIsNoTextIsToldWithoutOne)
{
   for (const char* value : {"{}", "nil", "false", "print"}) {
      HostStatus outcome;
      run(std::string("lorvexlua_errHandler = nil error(") + value + ")");
      staticDesc(0);
      EXPECT_FALSE(translator->getDynamicDesc(translator, "{}", 0, "json1", HostMemory::allocate,
                                              &memory, &outcome));
      EXPECT_THAT(outcome.text(),
                  HasSubstr(R"("internal_error":{"api":"lua","code":2},"lorvexlua_debug")"))
         << value;
   }
}

TEST_F(ClientAnswers, MissingFunctionIsAScriptFailure)
{
   createWithClient("return {}");
   EXPECT_EQ(staticDesc(0), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), StartsWith("attempt to call a nil value"));
}

TEST_F(ClientAnswers, ClientThatIsNoTableIsAScriptFailure)
{
   createWithClient("x = 1"); // require gives true
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("attempt to index"));
}

TEST_F(ClientAnswers, LoopOfMetatablesIsAScriptFailure)
{
   run("local t = setmetatable({}, {}) getmetatable(t).__index = t return t.x");
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("loop in gettable"));
}

TEST_F(ClientAnswers, EndlessRecursionIsAScriptFailure)
{
   run("local t = setmetatable({}, {__index = function(t, k) return t[k .. 'x'] end}) return t.x");
   EXPECT_EQ(staticDesc(0), std::nullopt);
   EXPECT_EQ(status.code, -52003);
   EXPECT_THAT(status("v.internal_error.string"), HasSubstr("overflow"));
}

TEST_F(ClientAnswers, GlobalsThatRaiseAreAScriptFailure)
{
   run("lorvexlua_errHandler = nil\n"
       "setmetatable(_G, {__index = function(_, name) error('no ' .. name, 0) end}) return 'x'");
   EXPECT_EQ(staticDesc(0), "x");
   EXPECT_EQ(staticDesc(0), std::nullopt);
   EXPECT_EQ(status("v.internal_error.string"), "no lorvexlua_errHandler");
}

// A callback may not do this; the translator survives it all the same. More often than calls may
// nest, so that nothing of a call is left.
TEST_F(ClientAnswers, AllocatorThatThrowsLeavesTheTranslatorUsable)
{
   struct Refused
   {
   };
   const lorvex_AllocString refuse = [](void*, size_t, void*, quelerr_Status*) -> char* {
      throw Refused();
   };
   answer("'words ' .. 0.5");
   for (int i = 0; i < 300; ++i) {
      EXPECT_THROW(translator->getStaticDesc(translator, 0, 0, refuse, nullptr, &status), Refused);
      EXPECT_THROW(
         translator->getDynamicDesc(translator, "{}", 0, "json1", refuse, nullptr, &status),
         Refused);
   }
   EXPECT_EQ(status.code, 0);
   EXPECT_EQ(staticDesc(0), "words 0.5");
   EXPECT_EQ(dynamicDesc("{}"), "words 0.5");
}

TEST_F(ClientAnswers, StatusThatThrowsLeavesTheTranslatorUsable)
{
   struct Refused
   {
   };
   const quelerr_Status_Resize refuse = [](quelerr_Status*, uint32_t capacity) -> bool {
      if (capacity > 0) throw Refused();
      return true;
   };
   createWithClient("local function run(first)\n"
                    "   if first == 1 then error('x') end\n"
                    "   return first == 'code' and -5 or 'words'\n"
                    "end\n"
                    "return {getStaticDesc = run, getDynamicDesc = run}");
   for (int i = 0; i < 300; ++i) {
      HostStatus failing;
      HostStatus answered;
      failing.resize = answered.resize = refuse;
      EXPECT_THROW(
         translator->getStaticDesc(translator, 1, 0, HostMemory::allocate, &memory, &failing),
         Refused);
      EXPECT_THROW(translator->getDynamicDesc(translator, "code", 0, "json1", HostMemory::allocate,
                                              &memory, &answered),
                   Refused);
      EXPECT_EQ(failing.code, -52003);
      EXPECT_EQ(answered.code, -5);
   }
   EXPECT_EQ(staticDesc(0), "words");
   EXPECT_EQ(dynamicDesc("{}"), "words");
}

TEST_F(ClientAnswers, ObjectStaysUsableAfterEveryFailure)
{
   createWithClient("local M = {}\n"
                    "function M.getDynamicDesc(json) return loadstring(json)() end\n"
                    "return M");
   for (const char* bad : {"error('x')", "error({})", "return -1", "syntax", "return 0", ""}) {
      HostStatus outcome;
      translator->getDynamicDesc(translator, bad, 0, nullptr, HostMemory::allocate, &memory,
                                 &outcome);
      EXPECT_EQ(dynamicDesc("return 'fine'"), "fine") << bad;
   }
   EXPECT_EQ(status.code, 0);
}

TEST_F(ClientAnswers, AllocatorThatFailsEndsTheCallWithItsOwnCode)
{
   answer("'words'");
   memory.returnsNull = true;
   memory.errorToReport = -52000;
   EXPECT_EQ(staticDesc(0), std::nullopt);
   EXPECT_EQ(status.code, -52000);
   status.code = 0;
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_EQ(status.code, -52000);
}

TEST_F(ClientAnswers, BlockOfAnAllocatorThatFailedIsNotUsed)
{
   answer("'words'");
   memory.errorToReport = -52000;
   EXPECT_EQ(staticDesc(0), std::nullopt);
   EXPECT_EQ(memory.block, "\xAA\xAA\xAA\xAA\xAA\xAA");
}

TEST_F(ClientAnswers, AllocatorThatGivesNothingMakesTheResultNull)
{
   answer("'words'");
   memory.returnsNull = true;
   EXPECT_EQ(staticDesc(0), std::nullopt);
   EXPECT_EQ(dynamicDesc("{}"), std::nullopt);
   EXPECT_EQ(status.code, 0);
}

TEST_F(ClientAnswers, WarningOfAnAllocatorStopsNothing)
{
   answer("'words'");
   memory.errorToReport = 4;
   EXPECT_EQ(staticDesc(0), "words");
   EXPECT_EQ(status.code, 4);
}

TEST_F(ClientAnswers, DistinctTranslatorsRunAtOnce)
{
   folder.write("client.lua", "local n = 0\n"
                              "return {getStaticDesc = function(code)\n"
                              "   n = n + 1 return 'call ' .. n .. ' code ' .. code end}");
   const std::string registration =
      R"({"lorvexlua_xlator":"client","lorvexlua_path":")" + folder.path() + "\"}";
   std::vector<std::thread> threads;
   std::vector<std::string> last(4);
   for (int32_t thread = 0; thread < 4; ++thread)
      threads.emplace_back([&, thread] {
         HostStatus own;
         HostMemory block;
         auto* const mine = lorvex_exported_create("dorvex_zerova", registration.c_str(), &own);
         if (!mine) return;
         for (int call = 0; call < 100; ++call)
            mine->getStaticDesc(mine, static_cast<uint32_t>(-thread), 0, HostMemory::allocate,
                                &block, &own);
         last[static_cast<size_t>(thread)] = block.block.c_str();
         mine->destroy(mine);
      });
   for (auto& thread : threads)
      thread.join();
   EXPECT_THAT(last, testing::ElementsAre("call 100 code 0", "call 100 code -1", "call 100 code -2",
                                          "call 100 code -3"));
}

} // namespace
