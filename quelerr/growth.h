// How the containers grow. The strings and the buffers each share one rule, whatever their unit.
#ifndef QUELERR_GROWTH_H
#define QUELERR_GROWTH_H

#include "quelerr/allocator.h"

#include <cstdint>
#include <cstring>
#include <functional>

// Whether address lies in the units that the container holds. Works for unrelated pointers.
template <typename Container, typename Unit>
bool quelerr_holdsAddress(const Container* container, const Unit* address)
{
   const std::less<const Unit*> before;
   return container->data && !before(address, container->data) &&
          before(address, container->data + container->length);
}

// Makes a terminated string able to hold wanted units. The test of the size comes before the test
// of the status: what needs no memory is no failure.
template <typename String>
void quelerr_reserveUnits(String* string, size_t wanted, quelerr_Status* status)
{
   constexpr size_t kLeastCapacity = 127;
   constexpr size_t kUnitSize = sizeof *string->data;
   if (wanted <= string->capacity && string->capacity != 0) return;

   size_t capacity = wanted > kLeastCapacity ? wanted : kLeastCapacity;
   const size_t grown = string->capacity + string->capacity / 2;
   if (grown >= string->capacity && grown > capacity) capacity = grown;
   if (capacity >= SIZE_MAX / kUnitSize) {
      quelerr_reportOutOfMemory(status);
      return;
   }
   if (status->code < 0) return;

   auto* const data =
      static_cast<decltype(string->data)>(quelerr_allocate((capacity + 1) * kUnitSize));
   if (!data) {
      quelerr_reportOutOfMemory(status);
      return;
   }
   if (string->length) std::memcpy(data, string->data, string->length * kUnitSize);
   data[string->length] = 0;
   quelerr_free(string->data);
   string->data = data;
   string->capacity = capacity;
}

// Opens a gap of count units in an unterminated buffer; the caller fills it and raises the length.
// Returns the gap, or null on failure (and for no gap at all in a buffer that has no memory).
template <typename Buffer>
auto quelerr_openGap(Buffer* buffer, size_t offset, size_t count, quelerr_Status* status)
   -> decltype(buffer->data)
{
   constexpr size_t kLeastCapacity = 8;
   constexpr size_t kUnitSize = sizeof *buffer->data;
   if (status->code < 0) return nullptr;

   const size_t needed = buffer->length + count;
   if (needed < count) {
      quelerr_reportOutOfMemory(status);
      return nullptr;
   }
   if (needed > buffer->capacity) {
      size_t capacity = buffer->capacity + buffer->capacity / 2;
      if (capacity < kLeastCapacity) capacity = kLeastCapacity;
      if (capacity < needed) capacity = needed;
      auto* const data =
         capacity > SIZE_MAX / kUnitSize
            ? nullptr
            : static_cast<decltype(buffer->data)>(quelerr_allocate(capacity * kUnitSize));
      if (!data) {
         quelerr_reportOutOfMemory(status);
         return nullptr;
      }
      if (buffer->length) std::memcpy(data, buffer->data, buffer->length * kUnitSize);
      quelerr_free(buffer->data);
      buffer->data = data;
      buffer->capacity = capacity;
   }
   if (!buffer->data) return nullptr;
   auto* const gap = buffer->data + offset;
   std::memmove(gap + count, gap, (buffer->length - offset) * kUnitSize);
   return gap;
}

template <typename Container>
void quelerr_releaseUnits(Container* container)
{
   quelerr_free(container->data);
   *container = Container{};
}

#endif
