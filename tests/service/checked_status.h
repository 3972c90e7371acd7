// A caller's status record that watches over its own buffer.
#ifndef TESTS_SERVICE_CHECKED_STATUS_H
#define TESTS_SERVICE_CHECKED_STATUS_H

#include "quelerr_status.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace zerova::test {

// Hand it to a function that takes a status, then look. Its resize callback keeps the buffer
// exactly as large as asked for, counts its calls, refuses those that it was told to refuse, and
// looks at the buffer each time: the text ends in a NUL and parses, all between the NUL and the
// last byte is zero, and the last byte is the sentinel. What is wrong is a failure of the running
// test, at the latest when the status is destroyed. Must stay where it was made.
class CheckedStatus
{
public:
   explicit CheckedStatus(std::int32_t code = 0);
   // A record that already holds a failure (or a warning) and its text.
   CheckedStatus(std::int32_t code, const std::string& json);
   ~CheckedStatus();
   CheckedStatus(const CheckedStatus&) = delete;
   CheckedStatus& operator=(const CheckedStatus&) = delete;

   operator quelerr_Status*() { return &held_.status; }
   quelerr_Status* operator->() { return &held_.status; }

   std::int32_t code() const { return held_.status.code; }
   bool hasText() const { return held_.status.json != nullptr; }
   std::string json() const { return hasText() ? held_.status.json : ""; }
   // Makes the record usable again, as a caller does.
   void clear() { held_.status.code = 0; }

   // Calls of the callback, those for 0 bytes (giving the buffer back) not counted.
   int growCalls() const { return held_.growCalls; }
   // The n-th of them from now, counted from 1, and all later ones are refused.
   void refuseFrom(int n) { held_.firstRefused = held_.growCalls + n; }
   // The same for the n-th alone.
   void refuseOnly(int n)
   {
      refuseFrom(n);
      held_.lastRefused = held_.firstRefused;
   }
   // From now on any text is good: a service may send one that is no JSON.
   void allowAnyText() { held_.mustParse = false; }

   // What is wrong with the buffer now or was at an earlier look; empty if nothing is. Asking keeps
   // it from being reported as a failure of the test.
   std::vector<std::string> takeFaults();

private:
   static constexpr int kNever = std::numeric_limits<int>::max();

   // The record comes first, so that the callback finds the rest from the record's address.
   struct Held
   {
      quelerr_Status status;
      int growCalls = 0;
      int firstRefused = kNever;
      int lastRefused = kNever;
      bool mustParse = true;
      std::vector<std::string> faults = {};
   };

   static bool resize(quelerr_Status* status, std::uint32_t newCapacity);
   static void inspect(Held& held, const char* when);

   Held held_;
};

} // namespace zerova::test

#endif
