#include "exports/opening_cause.h"

#include "exports/opening_page.h"
#include "service/checked_status.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <future>

namespace zerova::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLimit(5000);

void expectCode(const std::string& cell, const SeenOpening& seen, const ServicesWord& sent)
{
   if (cell.rfind("the service's, ", 0) != 0) {
      EXPECT_EQ(std::to_string(seen.code), cell);
      return;
   }
   EXPECT_EQ(seen.code, sent.code);
   if (cell == "the service's, below 0")
      EXPECT_LT(seen.code, 0);
   else
      EXPECT_EQ(cell, "the service's, above 0") << "is what the code is: " << seen.code;
}

// The library's texts are one member behind the four that say where; its key is the class of an
// exception.
bool endsAsTheLibrarysText(const std::string& json, const std::string& word)
{
   if (json.rfind(R"({"error_constant":"zerova::errors::kErrorZerovaServiceNotAvailable",)", 0) !=
       0)
      return false;
   if (word.rfind("Thrift::", 0) == 0)
      return json.find(",\"" + word + "\":\"") != std::string::npos;
   const std::string ending = R"(,"Thrift::TTransportException":")" + word + "\"}";
   return json.size() > ending.size() && json.substr(json.size() - ending.size()) == ending;
}

void expectText(const PageCell& cell, const SeenOpening& seen, const ServicesWord& sent)
{
   if (cell.front() == "none") {
      EXPECT_EQ(seen.json, "");
   } else if (cell.front() == "the service's") {
      EXPECT_EQ(seen.json, sent.text);
   } else {
      EXPECT_TRUE(std::any_of(
         cell.begin(), cell.end(),
         [&seen](const std::string& word) { return endsAsTheLibrarysText(seen.json, word); }))
         << seen.json << " does not end in " << testing::PrintToString(cell);
   }
}

void expectTime(const std::string& cell, const SeenOpening& seen)
{
   if (cell == "at once") {
      EXPECT_LT(seen.time, kLimit);
      return;
   }
   EXPECT_EQ(cell, "after 5 s");
   EXPECT_GE(seen.time, kLimit);
}

} // namespace

SeenOpening tryToOpen(const Opening& open)
{
   CheckedStatus status;
   const auto start = steady_clock::now();
   const zerovaapi_Session session = open(status);
   SeenOpening seen;
   seen.time = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
   seen.opened = session != nullptr;
   seen.code = status.code();
   seen.json = status.json();
   zerovaapi_destroySession(session);
   return seen;
}

std::vector<SeenOpening> tryToOpenAtOnce(const std::vector<Opening>& openings)
{
   std::vector<std::future<SeenOpening>> running;
   for (const Opening& open : openings)
      running.push_back(std::async(std::launch::async, tryToOpen, open));
   std::vector<SeenOpening> seen;
   for (std::future<SeenOpening>& one : running)
      seen.push_back(one.get());
   return seen;
}

void expectRow(const std::string& cause, const SeenOpening& seen, const ServicesWord& sent)
{
   SCOPED_TRACE(cause);
   auto row = rowOf(cause);
   EXPECT_FALSE(seen.opened);
   expectCode(row["Code"].front(), seen, sent);
   expectText(row.count("Text") ? row["Text"] : row["Text at the end"], seen, sent);
   expectTime(row["Returns"].front(), seen);
}

} // namespace zerova::test
