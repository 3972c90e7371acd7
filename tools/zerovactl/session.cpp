#include "tools/zerovactl/session.h"

#include "tools/zerovactl/descriptions.h"
#include "tools/zerovactl/output.h"
#include "tools/zerovactl/shown_text.h"

#include <algorithm>

namespace zerovactl {

namespace {

constexpr std::int32_t kConnectionFailed = -52024;

std::string member(const Json& status, const Json::json_pointer& where)
{
   return status.contains(where) && status[where].is_string() ? status[where].get<std::string>()
                                                              : std::string();
}

std::string inOneLine(std::string text)
{
   std::replace(text.begin(), text.end(), '\n', ' ');
   return text;
}

std::string wordsFor(const Status& status, std::uint32_t language)
{
   const Json members = Json::parse(status.json(), nullptr, false);
   std::string words;
   if (const auto sentence = sentenceOf(status.code(), language)) words = inOneLine(*sentence);
   if (words.empty()) words = member(members, "/error_constant"_json_pointer);
   if (words.empty()) words = "the service refused and gave no reason";
   words = shown(words) + " (" + std::to_string(status.code()) + ")";
   for (const std::string& line : linesOf(detailsOf(status.json(), language).rows))
      words += "\n   " + line;
   const std::string cause = member(members, "/zerovaapi_debug/debug"_json_pointer);
   if (!cause.empty()) words += "\n   " + shown(cause);
   return words;
}

} // namespace

Failure failureOf(const Status& status, std::uint32_t language)
{
   return {status.code() == kConnectionFailed ? kSessionBroke : kFailed, wordsFor(status, language)};
}

Session::Session(const Target& target)
   : language_(target.language)
{
   Status status;
   if (!target.host.empty())
      session_ = zerovaapi_createRemoteSession(target.host.c_str(), status.get());
   else if (target.isImmediate)
      session_ = zerovaapi_createImmediateSession(status.get());
   else
      session_ = zerovaapi_createSession(status.get());
   if (session_) return;
   std::string again = "zerovactl ping";
   if (!target.host.empty()) again += " --host " + shown(target.host);
   if (target.isImmediate) again += " --immediate";
   throw Failure(kNoSession,
                 wordsFor(status, language_) + "\n   \"" + again + "\" tells which step fails");
}

} // namespace zerovactl
