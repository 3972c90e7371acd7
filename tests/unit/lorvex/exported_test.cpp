#include "lorvex/exported.h"

#include "lorvex/list.h"
#include "support/owned.h"

#include "support/matches_pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::EndsWith;

struct FactoryCall
{
   const char* name;
   std::string registrationInfo;
};

std::vector<FactoryCall> factoryCalls;
lorvex_Translator madeTranslator;

lorvex_Translator* makeTranslator(const char* name, const char* registrationInfo, quelerr_Status*)
{
   factoryCalls.push_back({name, registrationInfo});
   return &madeTranslator;
}

lorvex_Translator* failToMake(const char*, const char*, quelerr_Status* status)
{
   status->code = -77;
   return nullptr;
}

// Enters a translator into the library's list for the time of a test.
class Entered
{
public:
   Entered(const char* name, lorvex_Factory factory)
      : node_{nullptr, nullptr, name, factory}
   {
      lorvex_enterNode(&lorvex_exportedTranslators, &node_);
   }
   Entered(const Entered&) = delete;
   Entered& operator=(const Entered&) = delete;
   ~Entered() { lorvex_removeNode(&node_); }

   lorvex_ExportedTranslator node_;
};

class ExportedCreate : public testing::Test
{
protected:
   ExportedCreate() { factoryCalls.clear(); }

   OwnedStatus status;
};

TEST_F(ExportedCreate, KnownNameReachesItsFactoryWithTheNodesNameAndTheCallersText)
{
   const Entered entered("test_one", makeTranslator);
   const std::string asked = "test_one"; // equal, but not the same address
   EXPECT_EQ(lorvex_exported_create(asked.c_str(), "{\"a\":1}", &status), &madeTranslator);
   ASSERT_EQ(factoryCalls.size(), 1u);
   EXPECT_EQ(factoryCalls[0].name, entered.node_.name);
   EXPECT_EQ(factoryCalls[0].registrationInfo, "{\"a\":1}");
   EXPECT_EQ(status.code, 0);
}

TEST_F(ExportedCreate, FirstOfTwoEqualNamesIsTaken)
{
   const Entered first("test_one", makeTranslator);
   const Entered second("test_one", failToMake);
   EXPECT_EQ(lorvex_exported_create("test_one", "{}", &status), &madeTranslator);
}

TEST_F(ExportedCreate, FailureOfTheFactoryIsTheResultAndNobodyElseIsAsked)
{
   const Entered first("test_one", failToMake);
   const Entered second("test_one", makeTranslator);
   EXPECT_EQ(lorvex_exported_create("test_one", "{}", &status), nullptr);
   EXPECT_EQ(status.code, -77);
   EXPECT_TRUE(factoryCalls.empty());
}

TEST_F(ExportedCreate, UnknownNameGivesTheWholeDocument)
{
   EXPECT_EQ(lorvex_exported_create("wrong", "{}", &status), nullptr);
   EXPECT_EQ(status.code, -52005);
   EXPECT_THAT(status.text(),
               MatchesPattern(R"(\{"error_constant":"tamrixerr_invalidParameter",)"
                              R"("file":"lorvex/exported","line":[0-9]+,"component":"zerovaapi",)"
                              R"("lorvex_debug":\{"lorvex_exported":"could not find xlator",)"
                              R"("name":"wrong","registrationInfo":"\{\}"\}\})"));
}

TEST_F(ExportedCreate, NameIsComparedByteForByte)
{
   const Entered entered("test_one", makeTranslator);
   for (const char* name : {"Test_one", "test_one ", "test_on", "test_one2", ""}) {
      status.code = 0;
      EXPECT_EQ(lorvex_exported_create(name, "{}", &status), nullptr) << name;
      EXPECT_EQ(status.code, -52005) << name;
   }
   EXPECT_TRUE(factoryCalls.empty());
}

TEST_F(ExportedCreate, DefaultTranslatorIsNotToBeHad)
{
   EXPECT_EQ(lorvex_exported_create("lorvex_default", "{}", &status), nullptr);
   EXPECT_EQ(status.code, -52005);
}

TEST_F(ExportedCreate, ErrorInTheStatusStopsItBeforeTheNameIsLookedAt)
{
   status.code = -1;
   EXPECT_EQ(lorvex_exported_create(nullptr, nullptr, &status), nullptr);
   EXPECT_EQ(status.code, -1);
   EXPECT_EQ(status.json, nullptr);
}

TEST_F(ExportedCreate, WarningIsReplacedWhenTheNameIsUnknownAndKeptWhenItIsNot)
{
   const Entered entered("test_one", makeTranslator);
   status.code = 9;
   EXPECT_EQ(lorvex_exported_create("test_one", "{}", &status), &madeTranslator);
   EXPECT_EQ(status.code, 9);
   EXPECT_EQ(lorvex_exported_create("wrong", "{}", &status), nullptr);
   EXPECT_EQ(status.code, -52005);
}

TEST_F(ExportedCreate, QuotesOfTheTextsAreEscaped)
{
   lorvex_exported_create("a\"b", "{\"c\\d\":\n1}", &status);
   EXPECT_THAT(status.text(), EndsWith(R"("name":"a\"b","registrationInfo":"{\"c\\d\":\n1}"}})"));
}

TEST_F(ExportedCreate, LongTextsAreToldWhole)
{
   const std::string name(10'000, 'n');
   lorvex_exported_create(name.c_str(), name.c_str(), &status);
   EXPECT_THAT(status.text(),
               EndsWith("\"name\":\"" + name + "\",\"registrationInfo\":\"" + name + "\"}}"));
}

std::vector<std::string> namesIn(const lorvex_ExportedTranslator& head)
{
   std::vector<std::string> names;
   for (const auto* node = head.next; node != &head; node = node->next) {
      EXPECT_EQ(node->next->prev, node);
      EXPECT_EQ(node->prev->next, node);
      names.push_back(node->name);
   }
   return names;
}

TEST(List, NodesGoInAtTheTailAndComeOutAnywhere)
{
   lorvex_ExportedTranslator head{&head, &head, nullptr, nullptr};
   lorvex_ExportedTranslator a{nullptr, nullptr, "a", nullptr};
   lorvex_ExportedTranslator b{nullptr, nullptr, "b", nullptr};
   lorvex_ExportedTranslator c{nullptr, nullptr, "c", nullptr};
   lorvex_enterNode(&head, &a);
   EXPECT_EQ(a.next, &head);
   EXPECT_EQ(a.prev, &head);
   lorvex_enterNode(&head, &b);
   lorvex_enterNode(&head, &c);
   EXPECT_EQ(c.next, &head);
   EXPECT_THAT(namesIn(head), ElementsAre("a", "b", "c"));
   lorvex_removeNode(&b);
   EXPECT_THAT(namesIn(head), ElementsAre("a", "c"));
   lorvex_removeNode(&c);
   lorvex_removeNode(&a);
   EXPECT_EQ(head.next, &head);
   EXPECT_EQ(head.prev, &head);
}

TEST(List, NodeTakenOutIsAloneAndStaysSo)
{
   lorvex_ExportedTranslator head{&head, &head, nullptr, nullptr};
   lorvex_ExportedTranslator a{nullptr, nullptr, "a", nullptr};
   lorvex_ExportedTranslator b{nullptr, nullptr, "b", nullptr};
   lorvex_enterNode(&head, &a);
   lorvex_enterNode(&head, &b);
   for (int i = 0; i < 2; ++i) {
      lorvex_removeNode(&a);
      EXPECT_EQ(a.next, &a);
      EXPECT_EQ(a.prev, &a);
      EXPECT_THAT(namesIn(head), ElementsAre("b"));
   }
}

} // namespace
