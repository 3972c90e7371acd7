// Matchers of regular expressions that mean the same on every system, as GoogleTest's own do not: its
// small engine has no classes of characters. A dot stands for no line end here.
#ifndef TESTS_SUPPORT_MATCHES_PATTERN_H
#define TESTS_SUPPORT_MATCHES_PATTERN_H

#include <gmock/gmock.h>

#include <regex>
#include <string>

// The whole of a text.
MATCHER_P(MatchesPattern, pattern, "matches the whole of " + testing::PrintToString(pattern))
{
   static_cast<void>(result_listener);
   return std::regex_match(std::string(arg), std::regex(pattern));
}

// Some part of a text.
MATCHER_P(ContainsPattern, pattern, "has a part like " + testing::PrintToString(pattern))
{
   static_cast<void>(result_listener);
   return std::regex_search(std::string(arg), std::regex(pattern));
}

#endif
