#include "exports/export_table.h"

#include "zerovaapi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string readSource(const std::string& path)
{
   std::ifstream file(std::string(ZEROVA_SOURCE_DIR) + "/" + path);
   EXPECT_TRUE(file) << path;
   std::ostringstream text;
   text << file.rdbuf();
   return text.str();
}

// The client functions in the list of what leaves the library, in its order.
std::vector<std::string> listedNames()
{
   std::istringstream list(readSource("source/zerovaapi/exports.txt"));
   std::vector<std::string> names;
   for (std::string name; std::getline(list, name);)
      if (name.starts_with("zerovaapi_")) names.push_back(name);
   return names;
}

struct Declaration
{
   std::string comment; // what ends directly above the declaration, as one line
   std::string text;    // up to its semicolon
};

// A comment without its line ends, so that a phrase is found wherever it was broken.
std::string asOneLine(const std::string& comment)
{
   std::string said;
   std::istringstream words(comment);
   for (std::string word; words >> word;)
      if (word != "*") said += word + " ";
   return said;
}

const std::string kMark = "\nZEROVAAPI_EXPORT ";

// The declarations of the header by name, and the names in their order.
std::map<std::string, Declaration> declarations(std::vector<std::string>& names)
{
   const std::string header = readSource("include/zerovaapi.h");
   std::map<std::string, Declaration> found;
   for (std::size_t at = header.find(kMark); at != std::string::npos;
        at = header.find(kMark, at + 1)) {
      const std::size_t end = header.find(';', at);
      const std::string text = header.substr(at + kMark.size(), end - at - kMark.size());
      const std::size_t open = text.find('(');
      const std::size_t name = text.find_last_of(" \n*", open) + 1;
      names.push_back(text.substr(name, open - name));
      std::string comment;
      if (header.compare(at - 2, 2, "*/") == 0) {
         const std::size_t begin = header.rfind("/*", at);
         comment = asOneLine(header.substr(begin, at - begin));
      }
      found[names.back()] = {comment, text};
   }
   return found;
}

std::map<std::string, AnyFunction> addresses()
{
   std::map<std::string, AnyFunction> found;
   for (std::size_t i = 0; i < kExportTableSize; ++i)
      found[kExportTable[i].name] = kExportTable[i].address;
   return found;
}

TEST(Exports, AreFiftyEightAndEachCanBeLinkedFromC)
{
   EXPECT_EQ(kExportTableSize, 58u);
   std::vector<std::string> names;
   for (std::size_t i = 0; i < kExportTableSize; ++i)
      names.push_back(kExportTable[i].name);
   EXPECT_EQ(names, listedNames());
}

TEST(Exports, PairsThatShareAnEntryHaveOneAddressAndNoOthersDo)
{
   const std::map<std::string, AnyFunction> found = addresses();
   EXPECT_EQ(found.at("zerovaapi_DeviceContainer_begin"),
             found.at("zerovaapi_TerminalContainer_begin"));
   EXPECT_EQ(found.at("zerovaapi_DeviceIterator_next"),
             found.at("zerovaapi_TerminalIterator_next"));
   EXPECT_EQ(found.at("zerovaapi_destroyString"), found.at("zerovaapi_destroyStringArray"));
   std::set<AnyFunction> distinct;
   for (const auto& [name, address] : found)
      distinct.insert(address);
   EXPECT_EQ(distinct.size(), 55u);
}

TEST(Header, DeclaresTheExportsInTheOrderOfTheList)
{
   std::vector<std::string> names;
   declarations(names);
   EXPECT_EQ(names, listedNames());
}

TEST(Header, CommentsOnEachFunctionSayWhatItDoesWithTheStatus)
{
   std::vector<std::string> names;
   for (const auto& [name, declaration] : declarations(names)) {
      SCOPED_TRACE(name);
      EXPECT_FALSE(declaration.comment.empty());
      if (declaration.text.find("quelerr_Status* status") == std::string::npos)
         EXPECT_THAT(declaration.comment, testing::HasSubstr("Takes no status"));
      else
         EXPECT_THAT(declaration.comment,
                     testing::AnyOf(testing::HasSubstr("Looks at the status on entry"),
                                    testing::HasSubstr("Does not look at the status")));
   }
}

TEST(Header, CommentsOnEachFunctionWithAResultSayWhoOwnsItOrWhatFailureGives)
{
   std::vector<std::string> names;
   for (const auto& [name, declaration] : declarations(names)) {
      SCOPED_TRACE(name);
      const bool givesNothing = declaration.text.starts_with("void");
      const bool isPosition = name.ends_with("_begin") || name.ends_with("_isEnd");
      if (givesNothing || isPosition) continue;
      EXPECT_THAT(declaration.comment,
                  testing::AnyOf(testing::HasSubstr("On failure"), testing::HasSubstr("borrowed")));
   }
}

TEST(Header, ValuesOfItsConstantsAreThoseOfTheService)
{
   EXPECT_EQ(zerovaapi_kLifetimeSession, 0);
   EXPECT_EQ(zerovaapi_kLifetimeImmediate, 1);
   EXPECT_EQ(zerovaapi_kStateCalculated, 0);
   EXPECT_EQ(zerovaapi_kStateReserved, 1);
   EXPECT_EQ(zerovaapi_kStateProgrammed, 2);
}

TEST(Header, TypesHaveTheirWidths)
{
   EXPECT_EQ(sizeof(zerovaapi_Iterator), 8u);
   EXPECT_EQ(sizeof(zerovaapi_Session), sizeof(void*));
   EXPECT_EQ(sizeof(bool), 1u);
   EXPECT_EQ(offsetof(quelerr_Status, code), 0u);
   EXPECT_EQ(offsetof(quelerr_Status, capacity), 4u);
   EXPECT_EQ(offsetof(quelerr_Status, resize), 8u);
   EXPECT_EQ(offsetof(quelerr_Status, json), 16u);
}

} // namespace
