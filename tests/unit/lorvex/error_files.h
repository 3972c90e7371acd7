// Error description files for tests, and what a search in them gives.
#ifndef TESTS_UNIT_LORVEX_ERROR_FILES_H
#define TESTS_UNIT_LORVEX_ERROR_FILES_H

#include "lorvex/xmErrorsParser.h"

#include "support/nothing_left.h"
#include "support/owned.h"

#include <ostream>
#include <regex>
#include <string>

// What a search leaves behind. An empty text with code 0 is "not there".
struct Search
{
   std::string text;
   int32_t code;
   std::string json; // with the line of the reporting site as 0

   friend bool operator==(const Search&, const Search&) = default;
   friend std::ostream& operator<<(std::ostream& out, const Search& search)
   {
      return out << "text \"" << search.text << "\", code " << search.code << ", " << search.json;
   }
};

inline Search found(const std::string& text)
{
   return {text, 0, ""};
}

inline Search notFound()
{
   return {"", 0, ""};
}

// A failure of xmErrorsParser; members is what follows its component.
inline Search failed(const std::string& members)
{
   return {
      "", -52006,
      R"({"error_constant":"tamrixerr_resourceNotFound","file":"lorvex/xmErrorsParser","line":0,)"
      R"("component":"zerovaapi",)" +
         members + "}"};
}

inline Search failedToOpen(const std::string& path)
{
   return failed(R"("lorvex_debug":{"debug":"Could not open status explanations file","path":")" +
                 path + R"("})");
}

inline Search failedWithoutEnd()
{
   return failed(R"("lorvex_debug":{"debug":"Bad explanation file. )"
                 R"(Could not find the end of the status code definition !"})");
}

inline Search failedHeading()
{
   return failed(
      R"("lorvex_debug":{"debug":"Bad explanation file. Unidentified section heading !"})");
}

inline Search failedNumber(int scanned)
{
   return failed(R"("lorvex_debug":{"debug":"Could not successfully read the status data!",)"
                 R"("sscanf":)" +
                 std::to_string(scanned) + "}");
}

inline std::string withoutLine(const std::string& json)
{
   static const std::regex line(R"re("line":[1-9][0-9]*)re");
   return std::regex_replace(json, line, R"("line":0)");
}

// Runs search(description, status) with a description that holds the text of an earlier search.
template <typename Run>
Search resultOf(Run run)
{
   std::string text;
   std::string json;
   int32_t code = 0;
   text.reserve(100000);
   json.reserve(100000);
   {
      const NoBlockLeft nothing;
      OwnedString description("left from before");
      OwnedStatus status;
      run(&description, &status);
      if (description.data) text.assign(description.data, description.length);
      if (status.json) json.assign(status.json);
      code = status.code;
   }
   return {text, code, withoutLine(json)};
}

inline Search searchFile(const std::string& path, int32_t code)
{
   return resultOf([&](quelerr_String* description, quelerr_Status* status) {
      lorvex_findDescriptionInFile(path.c_str(), code, description, status);
   });
}

inline Search searchFolder(const std::string& folder, int32_t code)
{
   return resultOf([&](quelerr_String* description, quelerr_Status* status) {
      lorvex_findDescriptionInDir(folder.c_str(), code, description, status);
   });
}

inline Search searchErrorsFolder(const std::string& folder, int32_t code, int32_t lang)
{
   return resultOf([&](quelerr_String* description, quelerr_Status* status) {
      lorvex_findDescriptionInErrorsDir(folder.c_str(), code, lang, description, status);
   });
}

// A whole file around body.
inline std::string document(const std::string& body)
{
   return "<?xml version=\"1.0\">\n<tvdocument>\n" + body + "</tvdocument>\n";
}

inline std::string entry(const std::string& number, const std::string& text)
{
   return "<tverror code=\"" + number + "\">\n" + text + "\n</tverror>\n";
}

inline std::string entry(int32_t code, const std::string& text)
{
   return entry(std::to_string(code), text);
}

#endif
