// The machine's settings: a tree of keys, each of which holds named values.
//
// A path names its keys from the root down, with "\" between them. Names are found without regard
// to case. There are two trees of one shape: that of the process, and the one of 32-bit programs.
// Failures are the system's own numbers, for systemFailureText of platform/failure_text.h; 0 is success,
// and a key or value that is not there is 2.
#ifndef PLATFORM_SETTINGS_TREE_H
#define PLATFORM_SETTINGS_TREE_H

#include <cstdint>

namespace platform {

// Access rights: reading, and the flag that selects the tree of 32-bit programs.
constexpr uint32_t kSettingsRead = 0x20019;
constexpr uint32_t kSettingsOf32Bit = 0x200;

// The one result that is not a failure: the value needs more room.
constexpr uint32_t kMoreData = 234;

using SettingsKeyHandle = intptr_t;

// Opens the key at path, zero-terminated, for reading. The caller closes handle if that worked.
uint32_t openSettingsKey(const uint16_t* path, uint32_t access, SettingsKeyHandle* handle);

// Reads the value called name into size bytes at units, whatever its type, and sets size to the
// bytes that the value has. They are UTF-16 for a text, with or without a terminator. kMoreData if
// there is no room for all of them; what then stands in units is of no use.
uint32_t readSettingsValue(SettingsKeyHandle key, const uint16_t* name, uint16_t* units,
                           uint32_t* size);

void closeSettingsKey(SettingsKeyHandle key);

} // namespace platform

#endif
