#include "service/checked_status.h"

#include "service/json_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

namespace zerova::test {

namespace {

constexpr char kSentinel = 'J';

char* newBuffer(const std::string& text, std::uint32_t capacity)
{
   auto* buffer = static_cast<char*>(std::calloc(capacity, 1));
   if (!buffer) return nullptr;
   std::memcpy(buffer, text.data(), text.size());
   buffer[capacity - 1] = kSentinel;
   return buffer;
}

} // namespace

CheckedStatus::CheckedStatus(std::int32_t code)
   : held_{{code, 0, &resize, nullptr}}
{
}

CheckedStatus::CheckedStatus(std::int32_t code, const std::string& json)
   : CheckedStatus(code)
{
   held_.status.capacity = static_cast<std::uint32_t>(json.size() + 2);
   held_.status.json = newBuffer(json, held_.status.capacity);
}

CheckedStatus::~CheckedStatus()
{
   for (const std::string& fault : takeFaults())
      ADD_FAILURE() << "the buffer of a status: " << fault;
   resize(&held_.status, 0);
}

bool CheckedStatus::resize(quelerr_Status* status, std::uint32_t newCapacity)
{
   static_assert(std::is_standard_layout_v<quelerr_Status>);
   Held& held = *reinterpret_cast<Held*>(status);
   inspect(held, "when resize was called");
   if (newCapacity > 0) {
      const int call = ++held.growCalls;
      if (call >= held.firstRefused && call <= held.lastRefused) return false;
      if (newCapacity <= status->capacity) return true;
   }
   char* buffer = nullptr;
   if (newCapacity > 0) {
      const std::string text = status->json ? status->json : "{}";
      newCapacity = std::max(newCapacity, static_cast<std::uint32_t>(text.size() + 2));
      buffer = newBuffer(text, newCapacity);
      if (!buffer) return false;
   }
   std::free(status->json);
   status->json = buffer;
   status->capacity = newCapacity;
   return true;
}

void CheckedStatus::inspect(Held& held, const char* when)
{
   const quelerr_Status& status = held.status;
   const auto report = [&](const std::string& what) { held.faults.push_back(what + " " + when); };
   if (!status.json) {
      if (status.capacity != 0) report("a capacity without a buffer");
      return;
   }
   const char* const end = status.json + status.capacity;
   if (status.capacity < 4) return report("fewer than 4 bytes");
   const char* const textEnd = std::find(static_cast<const char*>(status.json), end, '\0');
   if (textEnd == end) return report("no terminator");
   if (std::any_of(textEnd, end - 1, [](char c) { return c != '\0'; }))
      report("bytes that are not zero behind the text");
   if (end[-1] != kSentinel) report("no sentinel");
   if (held.mustParse && !isJsonDocument(status.json))
      report("a text that does not parse (" + std::string(status.json) + ")");
}

std::vector<std::string> CheckedStatus::takeFaults()
{
   inspect(held_, "at the end of the call");
   return std::exchange(held_.faults, {});
}

} // namespace zerova::test
