// A caller's status record that needs no memory: its text lies in the object.
#ifndef TESTS_FAULTS_FIXED_STATUS_H
#define TESTS_FAULTS_FIXED_STATUS_H

#include "quelerr_status.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zerova::test {

// The buffer grows by as little as it is asked for, so the callback is called as often as it can
// be, and it refuses the calls that it was told to refuse. Must stay where it was made.
class FixedStatus
{
public:
   enum class Refuse
   {
      nothing,
      one,
      allFrom
   };

   // Refuses the growing number index, counted from 0.
   explicit FixedStatus(Refuse refuse = Refuse::nothing, int index = 0)
      : held_{{0, 0, resize, nullptr}, refuse, index}
   {
   }
   FixedStatus(const FixedStatus&) = delete;
   FixedStatus& operator=(const FixedStatus&) = delete;

   operator quelerr_Status*() { return &held_.status; }

   int32_t code() const { return held_.status.code; }
   bool hasText() const { return held_.status.json != nullptr; }
   const char* text() const { return hasText() ? held_.status.json : ""; }
   int growCalls() const { return held_.growCalls; }
   bool hasRefused() const { return held_.hasRefused; }

private:
   struct Held
   {
      quelerr_Status status; // first, so that the callback finds the rest from its address
      Refuse refuse;
      int index;
      int growCalls = 0;
      bool hasRefused = false;
      char buffer[16384] = {};
   };

   static bool mustRefuse(const Held& held, int call)
   {
      return held.refuse == Refuse::one       ? call == held.index
             : held.refuse == Refuse::allFrom ? call >= held.index
                                              : false;
   }

   static bool resize(quelerr_Status* status, uint32_t newCapacity)
   {
      Held& held = *reinterpret_cast<Held*>(status);
      if (newCapacity == 0) {
         status->json = nullptr;
         status->capacity = 0;
         return true;
      }
      const bool refuses = mustRefuse(held, held.growCalls++) || newCapacity > sizeof held.buffer;
      if (refuses) {
         held.hasRefused = true;
         return false;
      }
      if (!status->json) std::memcpy(held.buffer, "{}", 3);
      const size_t used = std::strlen(held.buffer) + 1;
      std::memset(held.buffer + used, 0, newCapacity - used);
      held.buffer[newCapacity - 1] = 'J';
      status->json = held.buffer;
      status->capacity = newCapacity;
      return true;
   }

   Held held_;
};

} // namespace zerova::test

#endif
