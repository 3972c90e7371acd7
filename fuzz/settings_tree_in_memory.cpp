#include "fuzz/settings_tree_in_memory.h"

#include "platform/settings_tree.h"

#include <algorithm>
#include <cstring>

SettingsTree settingsTree;

namespace platform {

namespace {

constexpr uint32_t kNotThere = 2;
constexpr size_t kMostGrownBytes = 2048;

bool equals(const std::u16string& text, const uint16_t* units)
{
   size_t i = 0;
   while (units[i] && i < text.size() && text[i] == units[i])
      ++i;
   return units[i] == 0 && i == text.size();
}

} // namespace

// A handle is the place of the first value of the key, counted from 1.
uint32_t openSettingsKey(const uint16_t* path, uint32_t access, SettingsKeyHandle* handle)
{
   const auto& values = settingsTree.values;
   const auto found = std::find_if(values.begin(), values.end(), [=](const SettingsValue& value) {
      return value.view == (access & kSettingsOf32Bit) && equals(value.key, path);
   });
   if (found == values.end()) return kNotThere;
   *handle = found - values.begin() + 1;
   ++settingsTree.openKeys;
   return 0;
}

uint32_t readSettingsValue(SettingsKeyHandle key, const uint16_t* name, uint16_t* units,
                           uint32_t* size)
{
   auto& values = settingsTree.values;
   const SettingsValue& first = values.at(static_cast<size_t>(key - 1));
   const auto found = std::find_if(values.begin(), values.end(), [&](const SettingsValue& value) {
      return value.view == first.view && value.key == first.key && equals(value.name, name);
   });
   if (found == values.end() || settingsTree.readsLeft-- <= 0) return kNotThere;
   if (found->failure) return found->failure;
   const size_t room = *size;
   std::memcpy(units, found->bytes.data(), std::min(room, found->bytes.size()));
   *size = static_cast<uint32_t>(found->bytes.size());
   if (found->bytes.size() <= room) return 0;
   if (found->growsWhenRead && found->bytes.size() < kMostGrownBytes)
      found->bytes += std::string(found->bytes);
   return kMoreData;
}

void closeSettingsKey(SettingsKeyHandle)
{
   --settingsTree.openKeys;
}

} // namespace platform
