#include "quelerr/json_writer.h"

#include "quelerr/json_text.h"

namespace {

// Runs append until its member fits. Growing that gains no room ends the writer instead of the
// process: a resize function that breaks its contract could otherwise keep the loop going for ever.
template <typename Append>
quelerr_JsonWriter* addWhole(quelerr_JsonWriter* writer, Append append)
{
   while (writer->position) {
      if (char* const behind = append(writer->position)) {
         writer->position = behind;
         break;
      }
      const size_t room = quelerr_json_freeRoom(writer->position);
      writer->position = writer->grow ? writer->grow(writer->position, writer->context) : nullptr;
      if (writer->position && quelerr_json_freeRoom(writer->position) <= room)
         writer->position = nullptr;
   }
   return writer;
}

// Makes room for the key and a value of valueLength bytes and writes the key; returns where the
// value goes.
char* appendKey(char* position, const char* key, size_t valueLength)
{
   const size_t keyLength = key ? quelerr_json_escapedLength(key) + 3 : 0;
   char* p = quelerr_json_makeRoom(position, keyLength + valueLength);
   if (!p || !key) return p;
   *p++ = '"';
   p = quelerr_json_writeEscaped(p, key);
   *p++ = '"';
   *p++ = ':';
   return p;
}

} // namespace

quelerr_JsonWriter* quelerr_JsonWriter_addString(quelerr_JsonWriter* writer, const char* key,
                                                 const char* value)
{
   return addWhole(writer, [=](char* position) {
      char* p = appendKey(position, key, quelerr_json_escapedLength(value) + 2);
      if (!p) return p;
      *p++ = '"';
      p = quelerr_json_writeEscaped(p, value);
      *p++ = '"';
      return p;
   });
}

quelerr_JsonWriter* quelerr_JsonWriter_addString(quelerr_JsonWriter* writer, const char* key,
                                                 const std::string& value)
{
   return quelerr_JsonWriter_addString(writer, key, value.c_str());
}

quelerr_JsonWriter* quelerr_JsonWriter_addInt(quelerr_JsonWriter* writer, const char* key,
                                              int32_t value)
{
   return addWhole(writer,
                   [=](char* position) { return quelerr_json_appendInt(position, key, value); });
}

quelerr_JsonWriter* quelerr_JsonWriter_addUint(quelerr_JsonWriter* writer, const char* key,
                                               uint32_t value)
{
   return addWhole(writer,
                   [=](char* position) { return quelerr_json_appendUint(position, key, value); });
}

quelerr_JsonWriter* quelerr_JsonWriter_addObject(quelerr_JsonWriter* writer, const char* key)
{
   return addWhole(writer, [=](char* position) {
      char* p = appendKey(position, key, 2);
      if (!p) return p;
      p[0] = '{';
      p[1] = '}';
      return p + 1;
   });
}

quelerr_JsonWriter* quelerr_JsonWriter_leaveObject(quelerr_JsonWriter* writer)
{
   if (writer->position) ++writer->position;
   return writer;
}
