// What holds whatever the input is.
#ifndef FUZZ_REQUIRE_H
#define FUZZ_REQUIRE_H

#include "quelerr/json_text.h"
#include "quelerr/status.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

// Ends the process, which makes the input a finding; the stack trace tells what did not hold.
inline void require(bool holds)
{
   if (!holds) std::abort();
}

// A text that is one JSON container and nothing else.
inline void requireJson(char* text)
{
   const char* const end = quelerr_json_findEnd(text);
   require(end && end[1] == 0);
}

// A status that was clean: it still is, or it has one of the codes and tells why.
inline void requireOneOf(std::initializer_list<int32_t> codes, const quelerr_Status& status)
{
   if (status.code == 0) return;
   require(std::find(codes.begin(), codes.end(), status.code) != codes.end());
   require(status.json != nullptr);
   require(std::strlen(status.json) + 2 <= status.capacity);
   require(status.json[status.capacity - 1] == kJsonSentinel);
   requireJson(status.json);
}

#endif
