// The machine's settings as a list in memory, in place of the system's: linked into a fuzzer, it is
// what platform/settings_tree.h declares.
#ifndef FUZZ_SETTINGS_TREE_IN_MEMORY_H
#define FUZZ_SETTINGS_TREE_IN_MEMORY_H

#include <cstdint>
#include <string>
#include <vector>

struct SettingsValue
{
   std::u16string key;
   uint32_t view; // platform::kSettingsOf32Bit or 0
   std::u16string name;
   std::string bytes;  // as the reader gets them, of any number
   uint32_t failure;   // of reading it, or 0
   bool growsWhenRead; // as if an installer wrote it at that moment
};

struct SettingsTree
{
   std::vector<SettingsValue> values;
   // Afterwards no value can be read any more, which ends an expansion that leads back to itself.
   int readsLeft = 0;
   int openKeys = 0;
};

extern SettingsTree settingsTree;

#endif
