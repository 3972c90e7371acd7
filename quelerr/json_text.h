// In-place surgery on a JSON text in a caller-owned buffer.
//
// The buffer holds the text, its NUL, zero bytes, and kJsonSentinel in its last byte. The room left
// is what lies between the NUL and the sentinel, so a bare position is enough to find it. Nothing
// here allocates.
#ifndef QUELERR_JSON_TEXT_H
#define QUELERR_JSON_TEXT_H

#include <cstddef>
#include <cstdint>

constexpr char kJsonSentinel = 'J';

// Length of text once escaped, without quotes.
size_t quelerr_json_escapedLength(const char* text);

// Writes text escaped, without quotes or a NUL, into room that the caller has made. Returns the
// address behind the last byte.
char* quelerr_json_writeEscaped(char* destination, const char* text);

// Opens a gap of length bytes for a new member, together with its comma. position is the closing
// bracket of the container, or its opening bracket for a member that goes first. Null: no room, and
// nothing has changed.
char* quelerr_json_makeRoom(char* position, size_t length);

// Bytes that can still be added to the text that position points into.
size_t quelerr_json_freeRoom(const char* position);

// Validates the container that begins at text and returns its closing bracket, or null.
// Recursive: the depth of the text is the depth of the stack.
char* quelerr_json_findEnd(char* text);

// Add "key":value, or the bare value for a null key. Return the address behind the number, or null
// for no room.
char* quelerr_json_appendInt(char* position, const char* key, int32_t value);
char* quelerr_json_appendUint(char* position, const char* key, uint32_t value);

// Lays text out in a buffer of capacity bytes; for null, keeps the text that is there and renews
// what follows it. Returns the address of the text's last character, or null if the buffer is too
// small.
char* quelerr_json_resetBuffer(char* buffer, size_t capacity, const char* text);

#endif
