#include "tools/zerovactl/session.h"

#include "tools/zerovactl/descriptions.h"
#include "tools/zerovactl/output.h"
#include "tools/zerovactl/shown_text.h"

#include <algorithm>

namespace zerovactl {

namespace {

constexpr std::int32_t kConnectionFailed = -52024;

std::string member(const Json& status, const char* name)
{
   const bool isThere = status.is_object() && status.contains(name) && status[name].is_string();
   return isThere ? status[name].get<std::string>() : std::string();
}

// The first paragraph; what one may do about it is for "explain".
std::string firstOf(std::string text)
{
   text.erase(std::min(text.find("\n\n"), text.size()));
   std::replace(text.begin(), text.end(), '\n', ' ');
   return text;
}

std::string wordsFor(const Status& status, std::uint32_t language)
{
   const Json members = Json::parse(status.json(), nullptr, false);
   std::string words;
   if (const auto sentence = sentenceOf(status.code(), language)) words = firstOf(*sentence);
   if (words.empty()) words = member(members, "error_constant");
   if (words.empty()) words = "the service refused and gave no reason";
   words = shown(words) + " (" + std::to_string(status.code()) + ")";
   for (const std::string& line : linesOf(detailsOf(status.json(), language).rows))
      words += "\n   " + line;
   for (const char* name : {"Thrift::TTransportException", "Thrift::TProtocolException",
                            "Thrift::TApplicationException", "std_exception_what"})
      if (const std::string cause = member(members, name); !cause.empty())
         words += "\n   " + shown(cause);
   return words;
}

} // namespace

Failure failureOf(const Status& status, std::uint32_t language)
{
   return {status.code() == kConnectionFailed ? kSessionBroke : kFailed, wordsFor(status, language),
           status.code()};
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
                 wordsFor(status, language_) + "\n   \"" + again + "\" tells which step fails",
                 status.code());
}

} // namespace zerovactl
