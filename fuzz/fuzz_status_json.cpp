// The JSON editor on documents and buffers of any kind.
//
// Input: how many growths are granted, free bytes of the first buffer, the document up to its NUL,
// then one line for each addition: a letter that names it, and the text that it adds.
#include "fuzz/require.h"
#include "quelerr/json_text.h"
#include "quelerr/status.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

struct LimitedStatus : quelerr_Status
{
   int growths = 0;
};

bool resize(quelerr_Status* status, uint32_t newCapacity)
{
   auto* const self = static_cast<LimitedStatus*>(status);
   if (newCapacity != 0 && self->growths-- <= 0) return false;
   return quelerr_defaultResize(status, newCapacity);
}

void requireSoundBuffer(const quelerr_Status& status)
{
   const size_t length = std::strlen(status.json);
   require(length + 2 <= status.capacity);
   for (size_t i = length; i + 1 < status.capacity; ++i)
      require(status.json[i] == 0);
   require(status.json[status.capacity - 1] == kJsonSentinel);
}

void add(quelerr_JsonWriter* writer, char kind, const std::string& text)
{
   // A member of an array has no key.
   const bool isArray = writer->position && *writer->position == ']';
   const char* const key = isArray ? nullptr : text.c_str();
   switch (kind) {
   case 's':
      quelerr_JsonWriter_addString(writer, key, text);
      break;
   case 'i':
      quelerr_JsonWriter_addInt(writer, key, -static_cast<int32_t>(text.size()));
      break;
   case 'u':
      quelerr_JsonWriter_addUint(writer, key, static_cast<uint32_t>(text.size()));
      break;
   case 'o':
      quelerr_JsonWriter_addObject(writer, key);
      break;
   default:
      break;
   }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
   if (size < 2) return 0;
   std::string_view rest(reinterpret_cast<const char*>(data) + 2, size - 2);
   const std::string document(rest.substr(0, rest.find('\0')));
   rest.remove_prefix(std::min(rest.size(), document.size() + 1));

   const size_t capacity = document.size() + 2 + data[1];
   LimitedStatus status;
   status.code = 0;
   status.resize = resize;
   status.growths = data[0] % 8;
   status.capacity = static_cast<uint32_t>(capacity);
   status.json = static_cast<char*>(std::malloc(capacity));
   require(quelerr_json_resetBuffer(status.json, capacity, document.c_str()) != nullptr);

   const char* const end = quelerr_json_findEnd(status.json);
   require(!end || (end > status.json && end < status.json + document.size()));

   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, &status);
   require(!writer.position == !end || status.capacity < 4);
   for (int depth = 0; !rest.empty();) {
      const std::string line(rest.substr(0, rest.find('\n')));
      rest.remove_prefix(std::min(rest.size(), line.size() + 1));
      if (line.empty()) continue;
      if (line[0] == 'o' && writer.position) ++depth;
      if (line[0] == 'l' && depth > 0) {
         --depth;
         quelerr_JsonWriter_leaveObject(&writer);
      } else {
         add(&writer, line[0], line.substr(1));
      }
      requireSoundBuffer(status);
      if (end) require(quelerr_json_findEnd(status.json) != nullptr);
   }
   quelerr_Status_release(&status);
   return 0;
}
