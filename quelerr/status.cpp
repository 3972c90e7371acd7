#include "quelerr/status.h"

#include "quelerr/json_text.h"

#include <bit>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int32_t kMemoryFull = -52000;
constexpr uint32_t kMaxCapacity = 0x7FFFFFFF;
constexpr uint32_t kFirstCapacity = 512;
constexpr uint32_t kLeastCapacity = 4; // "{}", its NUL and the sentinel

bool overwrites(int32_t held, int32_t next)
{
   return (held == 0 && next != 0) || (held > 0 && next < 0);
}

// Whether the buffer has needed bytes, after asking for them. A resize function that grants fewer than
// it was asked for breaks its contract; its buffer is as good as none.
bool hasCapacity(quelerr_Status* status, uint32_t needed)
{
   if (status->capacity < needed && !status->resize(status, needed)) return false;
   return status->json && status->capacity >= needed;
}

void resetText(quelerr_Status* status)
{
   if (status->json) quelerr_Status_setJson(status, nullptr);
}

void writeSite(quelerr_Status* status, char* position, const quelerr_Location& site,
               const char* errorConstant)
{
   quelerr_JsonWriter writer{position, quelerr_Status_growJson, status};
   if (errorConstant) quelerr_JsonWriter_addString(&writer, "error_constant", errorConstant);
   quelerr_JsonWriter_addString(&writer, "file", site.file);
   quelerr_JsonWriter_addInt(&writer, "line", site.line);
   if (site.component) quelerr_JsonWriter_addString(&writer, "component", site.component);
}

} // namespace

void quelerr_Status_init(quelerr_Status* status)
{
   *status = quelerr_Status{0, 0, quelerr_defaultResize, nullptr};
}

bool quelerr_defaultResize(quelerr_Status* status, uint32_t newCapacity)
{
   if (newCapacity == 0) {
      std::free(status->json);
      status->json = nullptr;
      status->capacity = 0;
      return true;
   }
   if (newCapacity <= status->capacity) return true;
   if (newCapacity > kMaxCapacity) return false;
   const uint32_t capacity =
      newCapacity <= kFirstCapacity ? kFirstCapacity : std::bit_ceil(newCapacity);
   char* const json = static_cast<char*>(std::malloc(capacity));
   if (!json) return false;
   quelerr_json_resetBuffer(json, capacity, status->json ? status->json : "{}");
   std::free(status->json);
   status->json = json;
   status->capacity = capacity;
   return true;
}

void quelerr_Status_release(quelerr_Status* status)
{
   if (status->json) status->resize(status, 0);
}

bool quelerr_Status_setCode(quelerr_Status* status, int32_t code)
{
   if (!overwrites(status->code, code)) return false;
   status->code = code;
   resetText(status);
   return true;
}

bool quelerr_Status_setWithSite(quelerr_Status* status, int32_t code, const quelerr_Location& site)
{
   if (!quelerr_Status_setCode(status, code)) return false;
   char* const end = quelerr_Status_setJson(status, nullptr);
   if (end) writeSite(status, end, site, site.errorConstant);
   return true;
}

bool quelerr_Status_setOutOfMemory(quelerr_Status* status, const quelerr_Location& site)
{
   if (status->code < 0) return false;
   status->code = kMemoryFull;
   char* const end = quelerr_Status_setJson(status, nullptr);
   if (end) writeSite(status, end, site, nullptr);
   return true;
}

bool quelerr_Status_adopt(quelerr_Status* destination, quelerr_Status* source)
{
   if (!quelerr_Status_setCode(destination, source->code)) return false;
   if (destination->resize != source->resize) {
      quelerr_Status_setJson(destination, source->json);
      return true;
   }
   // Equal functions mean one heap, so the buffer itself changes hands.
   destination->resize(destination, 0);
   destination->capacity = source->capacity;
   destination->json = source->json;
   if (source->json) {
      source->capacity = 0;
      source->json = nullptr;
   }
   return true;
}

char* quelerr_Status_setJson(quelerr_Status* status, const char* text)
{
   if (!text) text = "{}";
   const size_t length = std::strlen(text);
   if (length > kMaxCapacity - 2) return nullptr;
   const uint32_t needed = static_cast<uint32_t>(length) + 2;
   if (!hasCapacity(status, needed)) return nullptr;
   return quelerr_json_resetBuffer(status->json, status->capacity, text);
}

char* quelerr_Status_growJson(char* position, void* context)
{
   quelerr_Status* const status = static_cast<quelerr_Status*>(context);
   const uint32_t held = status->capacity;
   // 2C - 2 keeps power-of-two buffers on their track: 512 asks for 1022 and is given 1024. The
   // unsigned wrap refuses 0 and 1; the second test refuses what would wrap back into range.
   if (2 * held - 4 > kMaxCapacity - 2 || held > 0x40000000) return nullptr;
   if (!status->json) return nullptr;
   const ptrdiff_t offset = position - status->json;
   if (!hasCapacity(status, 2 * held - 2)) return nullptr;
   if (!quelerr_json_findEnd(status->json)) return nullptr;
   return status->json + offset;
}

void quelerr_Status_beginWriter(quelerr_JsonWriter* writer, quelerr_Status* status)
{
   *writer = quelerr_JsonWriter{nullptr, quelerr_Status_growJson, status};
   if (hasCapacity(status, kLeastCapacity)) writer->position = quelerr_json_findEnd(status->json);
}

void quelerr_Status_appendPair(quelerr_Status* status, const char* key, const char* value)
{
   quelerr_JsonWriter writer;
   quelerr_Status_beginWriter(&writer, status);
   quelerr_JsonWriter_addString(&writer, key, value);
}
