#include "lorvexlua/embedded_modules.h"

#include "unit/lorvexlua/script_state.h"

#include <gtest/gtest.h>

namespace {

class JsonScript : public testing::Test
{
protected:
   JsonScript()
   {
      lorvexlua_addEmbeddedModules(state.L);
      state.run("json = require('json')");
   }

   // The decoded text, shown by expression, in which the value is called v.
   std::string decode(const std::string& text, const std::string& expression = "v")
   {
      lua_pushlstring(state.L, text.data(), text.size());
      lua_setglobal(state.L, "text");
      return state.run("local v = json.decode(text) return " + expression);
   }

   ScriptState state;
};

TEST_F(JsonScript, ReadsEveryKindOfValue)
{
   EXPECT_EQ(decode(R"({"a":[1,-2.5e3,true,false],"b":{"c":"d"},"e":{},"f":[]})",
                    "v.a[1], v.a[2], v.a[3], v.a[4], #v.a, v.b.c, next(v.e), next(v.f)"),
             "1 -2500 true false 4 d nil nil");
   EXPECT_EQ(decode(" \t\r\n5 "), "5");
}

TEST_F(JsonScript, IgnoresWhatFollowsTheValue)
{
   EXPECT_EQ(decode(R"({"a":1} and more ])", "v.a"), "1");
   EXPECT_EQ(decode("\"x\"\"y\""), "x");
}

TEST_F(JsonScript, TakesStringsInSingleQuotes)
{
   EXPECT_EQ(decode(R"({'a':'say "x"'})", "v.a"), "say \"x\"");
   EXPECT_EQ(decode(R"("it's")"), "it's");
}

TEST_F(JsonScript, TakesBlockCommentsBetweenTokens)
{
   EXPECT_EQ(decode("/* a */{/**/'a'/* ' */:/* } */[1/*\n*/,/*/ */2]/**/}", "v.a[1] + v.a[2]"),
             "3");
   EXPECT_EQ(decode("'/* no comment */'"), "/* no comment */");
}

TEST_F(JsonScript, EscapesAreThoseOfALuaString)
{
   EXPECT_EQ(decode(R"("\a\b\f\n\r\t\v" )", "v == '\\a\\b\\f\\n\\r\\t\\v'"), "true");
   EXPECT_EQ(decode(R"("\\\"\'\/\q")"), "\\\"'/q");
   EXPECT_EQ(decode(R"("\65\0660\9")"), "AB0\t");
   EXPECT_EQ(decode(R"("\u00e9")"), "u00e9");
   EXPECT_EQ(decode("'a\\\nb\\\r\nc\\\n\rd'"), "a\nb\nc\nd");
   EXPECT_EQ(decode(R"("\0" )", "#v"), "1");
}

TEST_F(JsonScript, StringIsDataAndNeverRuns)
{
   EXPECT_EQ(decode(R"('" .. error("ran") .. "')"), "\" .. error(\"ran\") .. \"");
}

TEST_F(JsonScript, NullIsNil)
{
   EXPECT_EQ(decode(R"({"a":null,"b":1})", "v.a, v.b"), "nil 1");
   EXPECT_EQ(decode("null"), "nil");
   EXPECT_EQ(decode("[null,2]", "v[1], v[2]"), "nil 2");
}

TEST_F(JsonScript, MalformedTextRaisesLineAndCharacter)
{
   const char* const kCases[][2] = {
      {"", "text ends where a value must stand at line 1, character 1"},
      {"[1,\n 2,\n", "text ends where a value must stand at line 3, character 1"},
      {"[1,]", "no value at line 1, character 4"},
      {"[1 2]", "expected ',' or ']' at line 1, character 4"},
      {"[1", "expected ',' or ']' at line 1, character 3"},
      {"{", "expected a key at line 1, character 2"},
      {"{\n  a:1}", "expected a key at line 2, character 3"},
      {"{'a':1,}", "expected a key at line 1, character 8"},
      {"{'a'}", "expected ':' at line 1, character 5"},
      {"{'a':1 'b'}", "expected ',' or '}' at line 1, character 8"},
      {"\n\n 'abc", "string without an end at line 3, character 2"},
      {"'a\nb'", "string without an end at line 1, character 1"},
      {"'a\\", "string without an end at line 1, character 1"},
      {"'\\256'", "escape sequence too large at line 1, character 2"},
      {"1 /* x", nullptr},
      {" /* x", "comment without an end at line 1, character 2"},
      {"nul", "no value at line 1, character 1"},
      {"-", "no value at line 1, character 1"},
      {"1e", "no value at line 1, character 1"},
      {"0x10", "no value at line 1, character 1"},
      {"inf", "no value at line 1, character 1"},
      {"return 1", "no value at line 1, character 1"},
   };
   for (const auto& [text, message] : kCases)
      EXPECT_EQ(decode(text), message ? std::string("error: json: ") + message : "1") << text;
}

TEST_F(JsonScript, WhatIsNoTextIsRefused)
{
   EXPECT_EQ(state.eval("json.decode(nil)"), "error: json: expected a text, got nil");
   EXPECT_EQ(state.eval("json.decode({})"), "error: json: expected a text, got table");
}

TEST_F(JsonScript, ThousandLevelsAreReadAndMoreAreRefused)
{
   const std::string open(1000, '[');
   const std::string close(1000, ']');
   EXPECT_EQ(decode(open + close, "type(v)"), "table");
   EXPECT_EQ(decode("[" + open + close + "]"),
             "error: json: more than 1000 levels at line 1, character 1001");
   EXPECT_EQ(decode(std::string(100000, '[')),
             "error: json: more than 1000 levels at line 1, character 1001");
   EXPECT_EQ(decode("{'a':" + open + close + "}"),
             "error: json: more than 1000 levels at line 1, character 1005");
}

TEST_F(JsonScript, TenMegabytesAreRead)
{
   const std::string tenMegabytes(10 * 1024 * 1024, 'x');
   EXPECT_EQ(decode("['" + tenMegabytes + "']", "#v[1]"), "10485760");
   EXPECT_EQ(decode(std::string(10 * 1024 * 1024, ' ') + "1"), "1");
   EXPECT_EQ(decode(tenMegabytes), "error: json: no value at line 1, character 1");
}

TEST_F(JsonScript, EncodesWhatItDecodes)
{
   EXPECT_EQ(state.eval("json.encode({1, 2.5, true, 'x', {}})"), R"([1,2.5,true,"x",{}])");
   EXPECT_EQ(state.eval("json.encode({a = {false}})"), R"({"a":[false]})");
   EXPECT_EQ(state.eval("json.encode(nil)"), "null");
   EXPECT_EQ(state.eval(R"(json.encode("\"\\/\n\0\127"))"), R"("\"\\/\u000a\u0000\u007f")");
}

TEST_F(JsonScript, TableIsAnArrayOnlyIfItsKeysCountFromOne)
{
   EXPECT_EQ(state.eval("json.encode({[1] = 'x'})"), R"(["x"])");
   EXPECT_EQ(state.eval("json.encode({[2] = 'x'})"), R"({"2":"x"})");
   EXPECT_EQ(state.eval("json.encode({[0] = 'x'})"), R"({"0":"x"})");
   EXPECT_EQ(state.eval("json.encode({[1.5] = 'x'})"), R"({"1.5":"x"})");
   EXPECT_EQ(state.eval("json.encode({[-1] = 'x'})"), R"({"-1":"x"})");
   EXPECT_EQ(state.eval("json.encode({{}, {{}}})"), "[{},[{}]]");
   // The order of an object's members is the interpreter's.
   EXPECT_EQ(state.run("local v = json.decode(json.encode({1, nil, 3}))\n"
                       "return v[1], v['1'], v['2'], v['3']"),
             "nil 1 nil 3");
   EXPECT_EQ(state.run("local v = json.decode(json.encode({1, 2, a = 'b'}))\n"
                       "return v[1], v['1'], v['2'], v.a"),
             "nil 1 2 b");
}

TEST_F(JsonScript, EncodeRefusesWhatJsonCannotHold)
{
   EXPECT_EQ(state.eval("json.encode(0/0)").substr(0, 25), "error: json: cannot encod");
   EXPECT_EQ(state.eval("json.encode(1/0)"), "error: json: cannot encode inf");
   EXPECT_EQ(state.eval("json.encode({[true] = 1})"),
             "error: json: cannot encode a key of the type boolean");
   EXPECT_EQ(state.run("local a = {} a[1] = a return json.encode(a)"),
             "error: json: more than 1000 levels");
}

} // namespace
