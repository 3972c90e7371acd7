// The cursor with which a reporter adds members to a status JSON.
//
// A member is written whole or not at all. Once a member has failed, position is null and every
// later addition falls through, so a chain needs no tests. All operations return the writer.
#ifndef QUELERR_JSON_WRITER_H
#define QUELERR_JSON_WRITER_H

#include <cstdint>
#include <string>

struct quelerr_JsonWriter
{
   char* position;                               // closing bracket of the object being filled
   char* (*grow)(char* position, void* context); // may be null; the moved position, or null
   void* context;
};

// Add "key":value, or the bare value for a null key. A value ends at its first NUL.
quelerr_JsonWriter* quelerr_JsonWriter_addString(quelerr_JsonWriter* writer, const char* key,
                                                 const char* value);
quelerr_JsonWriter* quelerr_JsonWriter_addString(quelerr_JsonWriter* writer, const char* key,
                                                 const std::string& value);
quelerr_JsonWriter* quelerr_JsonWriter_addInt(quelerr_JsonWriter* writer, const char* key,
                                              int32_t value);
quelerr_JsonWriter* quelerr_JsonWriter_addUint(quelerr_JsonWriter* writer, const char* key,
                                               uint32_t value);

// Adds an empty object; later additions go into it until quelerr_JsonWriter_leaveObject.
quelerr_JsonWriter* quelerr_JsonWriter_addObject(quelerr_JsonWriter* writer, const char* key);
quelerr_JsonWriter* quelerr_JsonWriter_leaveObject(quelerr_JsonWriter* writer);

#endif
