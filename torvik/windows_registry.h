// Text values of the machine's settings.
//
// Failures: -52006 with the system's number and text in internal_error, -52000.
#ifndef TORVIK_WINDOWS_REGISTRY_H
#define TORVIK_WINDOWS_REGISTRY_H

#include "platform/settings_tree.h"
#include "quelerr/buffers.h"

// Values of extraAccess: the tree of the process, or that of 32-bit programs.
constexpr uint32_t kNativeView = 0;
constexpr uint32_t k32BitView = platform::kSettingsOf32Bit;

struct torvik_RegistryKey
{
   platform::SettingsKeyHandle handle;
   bool isOpen;
};

// Opens the key at subKey, a zero-terminated path with "\" between the names, for reading. isOpen
// says whether that worked.
void torvik_openKey(torvik_RegistryKey* key, const uint16_t* subKey, uint32_t extraAccess,
                    quelerr_Status* status);

// Does nothing for a key that is not open.
void torvik_closeKey(torvik_RegistryKey* key);

// Reads a value of any type as UTF-16 text, which may or may not be terminated, into value.
void torvik_readRegistryString(const uint16_t* subKey, const uint16_t* valueName,
                               uint32_t extraAccess, quelerr_WideBuffer* value,
                               quelerr_Status* status);

#endif
