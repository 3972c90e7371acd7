#include "quelerr/json_writer.h"

#include "quelerr/status.h"
#include "refusing_status.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct JsonWriter : testing::Test
{
   JsonWriter()
   {
      quelerr_Status_init(&status);
      quelerr_Status_beginWriter(&writer, &status);
   }
   ~JsonWriter() override { quelerr_Status_release(&status); }

   quelerr_Status status;
   quelerr_JsonWriter writer;
};

TEST_F(JsonWriter, AddsMembersInTheOrderOfTheCalls)
{
   quelerr_JsonWriter* chain = quelerr_JsonWriter_addString(&writer, "s", "v");
   chain = quelerr_JsonWriter_addInt(chain, "i", -2147483647 - 1);
   chain = quelerr_JsonWriter_addUint(chain, "u", 4294967295u);
   EXPECT_EQ(chain, &writer);
   EXPECT_STREQ(status.json, R"({"s":"v","i":-2147483648,"u":4294967295})");
   EXPECT_EQ(*writer.position, '}');
}

TEST_F(JsonWriter, NestedObjectIsFilledUntilItIsLeft)
{
   quelerr_JsonWriter_addObject(&writer, "lorvex_debug");
   quelerr_JsonWriter_addString(&writer, "xmerrorsparser", "invalid language");
   quelerr_JsonWriter_addInt(&writer, "lang", 9);
   quelerr_JsonWriter_leaveObject(&writer);
   quelerr_JsonWriter_addInt(&writer, "after", 1);
   EXPECT_STREQ(status.json, R"({"lorvex_debug":{"xmerrorsparser":"invalid language","lang":9},)"
                             R"("after":1})");
}

TEST_F(JsonWriter, StringObjectAndCharactersAreAlike)
{
   quelerr_JsonWriter_addString(&writer, "a", std::string("x\"y"));
   quelerr_JsonWriter_addString(&writer, "b", "x\"y");
   quelerr_JsonWriter_addString(&writer, "c", std::string("x\0y", 3));
   EXPECT_STREQ(status.json, R"({"a":"x\"y","b":"x\"y","c":"x"})");
}

TEST_F(JsonWriter, KeysAreEscaped)
{
   quelerr_JsonWriter_addString(&writer, "k\"\x1f", "");
   quelerr_JsonWriter_addInt(&writer, "\\", 0);
   quelerr_JsonWriter_addObject(&writer, "\t");
   EXPECT_STREQ(status.json, R"({"k\"\u001f":"","\\":0,"\t":{}})");
}

TEST_F(JsonWriter, NullKeyAppendsABareString)
{
   quelerr_Status_setJson(&status, "[]");
   quelerr_JsonWriter array{status.json + 1, quelerr_Status_growJson, &status};
   quelerr_JsonWriter_addString(&array, nullptr, "x");
   quelerr_JsonWriter_addObject(&array, nullptr);
   EXPECT_STREQ(status.json, R"(["x",{}])");
}

TEST_F(JsonWriter, WriterAtTheOpeningBracketInsertsBefore)
{
   quelerr_Status_setJson(&status, R"({"a":1})");
   quelerr_JsonWriter first{status.json, quelerr_Status_growJson, &status};
   quelerr_JsonWriter_addString(&first, "b", "2");
   EXPECT_STREQ(status.json, R"({"b":"2","a":1})");
}

TEST_F(JsonWriter, WriterBeforeAFilledContainerSetsItApart)
{
   quelerr_Status_setJson(&status, R"([{"a":1}])");
   quelerr_JsonWriter first{status.json, quelerr_Status_growJson, &status};
   quelerr_JsonWriter_addString(&first, nullptr, "x");
   EXPECT_STREQ(status.json, R"(["x",{"a":1}])");
}

TEST_F(JsonWriter, LongValueGrowsTheBufferAndStaysWhole)
{
   const std::string value(5000, 'J');
   quelerr_JsonWriter_addString(&writer, "long", value);
   EXPECT_EQ(status.capacity, 8192u);
   EXPECT_EQ(status.json, R"({"long":")" + value + "\"}");
   EXPECT_EQ(bufferFault(status), "");
}

TEST_F(JsonWriter, RefusedGrowthKeepsTheEarlierMembersAndIgnoresTheLater)
{
   RefusingStatus refusing(1);
   quelerr_JsonWriter limited;
   quelerr_Status_beginWriter(&limited, &refusing);
   quelerr_JsonWriter_addInt(&limited, "kept", 1);
   quelerr_JsonWriter_addString(&limited, "tooLong", std::string(600, 'x'));
   EXPECT_EQ(limited.position, nullptr);
   quelerr_JsonWriter_addInt(&limited, "ignored", 2);
   quelerr_JsonWriter_leaveObject(&limited);
   EXPECT_EQ(limited.position, nullptr);
   EXPECT_STREQ(refusing.json, R"({"kept":1})");
}

TEST_F(JsonWriter, WriterWithoutGrowFailsWhereRoomEnds)
{
   char buffer[] = "{}\0\0\0\0\0\0J";
   quelerr_JsonWriter fixed{buffer + 1, nullptr, nullptr};
   quelerr_JsonWriter_addInt(&fixed, "a", 1);
   EXPECT_STREQ(buffer, R"({"a":1})");
   quelerr_JsonWriter_addInt(&fixed, "b", 1);
   EXPECT_EQ(fixed.position, nullptr);
   EXPECT_STREQ(buffer, R"({"a":1})");
}

TEST_F(JsonWriter, GrowthThatGainsNoRoomEndsTheWriter)
{
   int granted = 0;
   writer.context = &granted;
   writer.grow = [](char* position, void* context) {
      return ++*static_cast<int*>(context) < 3 ? position : nullptr;
   };
   quelerr_JsonWriter_addString(&writer, "long", std::string(1000, 'x'));
   EXPECT_EQ(granted, 1);
   EXPECT_EQ(writer.position, nullptr);
   EXPECT_STREQ(status.json, "{}");
}

TEST_F(JsonWriter, TextThatIsNoJsonTakesNoMembers)
{
   quelerr_Status_setJson(&status, "not json");
   quelerr_Status_beginWriter(&writer, &status);
   EXPECT_EQ(writer.position, nullptr);
   quelerr_Status_appendPair(&status, "k", "v");
   EXPECT_STREQ(status.json, "not json");
}

} // namespace
