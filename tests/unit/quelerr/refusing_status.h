// A status whose resize function grants a number of calls and refuses the rest.
#ifndef TESTS_UNIT_QUELERR_REFUSING_STATUS_H
#define TESTS_UNIT_QUELERR_REFUSING_STATUS_H

#include "quelerr/json_text.h"
#include "quelerr/status.h"

#include <string>

struct RefusingStatus : quelerr_Status
{
   explicit RefusingStatus(int callsToGrant)
      : granted(callsToGrant)
   {
      quelerr_Status_init(this);
      resize = [](quelerr_Status* status, uint32_t newCapacity) {
         auto* const self = static_cast<RefusingStatus*>(status);
         if (newCapacity == 0) return quelerr_defaultResize(status, 0);
         ++self->calls;
         return self->granted-- > 0 && quelerr_defaultResize(status, newCapacity);
      };
   }
   RefusingStatus(const RefusingStatus&) = delete;
   RefusingStatus& operator=(const RefusingStatus&) = delete;
   ~RefusingStatus() { quelerr_Status_release(this); }

   int granted;
   int calls = 0;
};

// What keeps every buffer usable: it parses, the tail is zero, the sentinel is last.
inline std::string bufferFault(const quelerr_Status& status)
{
   if (!status.json) return status.capacity == 0 ? "" : "capacity without a buffer";
   const std::string text = status.json;
   if (text.size() + 2 > status.capacity) return "text reaches into the sentinel";
   for (size_t i = text.size(); i + 1 < status.capacity; ++i)
      if (status.json[i] != 0) return "tail not zero at " + std::to_string(i);
   if (status.json[status.capacity - 1] != kJsonSentinel) return "sentinel missing";
   char* const end = quelerr_json_findEnd(status.json);
   if (!end || end[1] != 0) return "text does not parse: " + text;
   return "";
}

#endif
