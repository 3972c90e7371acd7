// Reads values of the settings, and sees that no reading leaves a descriptor open.
#ifndef TESTS_UNIT_TORVIK_REGISTRY_READER_H
#define TESTS_UNIT_TORVIK_REGISTRY_READER_H

#include "support/open_descriptors.h"
#include "support/owned.h"
#include "support/settings_tree.h"
#include "torvik/windows_registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

inline constexpr const char* kKey = "SOFTWARE/TorvikTest/Key";
inline constexpr std::u16string_view kSubKey = u"SOFTWARE\\TorvikTest\\Key";

class RegistryReader : public testing::Test
{
protected:
   using View = SettingsTree::View;

   ~RegistryReader() override { EXPECT_EQ(openDescriptors(), descriptors_); }

   void read(std::u16string_view subKey, std::u16string_view name, uint32_t view = kNativeView)
   {
      torvik_readRegistryString(wideName(subKey).c_str(), wideName(name).c_str(), view, &value,
                                &status);
   }

   // The value that content is read as.
   std::u16string valueOf(std::string_view content)
   {
      tree.addValue(View::native, kKey, "Value", content);
      read(kSubKey, u"Value");
      EXPECT_EQ(status.code, 0) << status.text();
      return text();
   }

   // The value without what ends a text; it must be there.
   std::u16string text() const
   {
      std::u16string units = unitsOf(value);
      EXPECT_TRUE(units.ends_with(SettingsTree::kEndOfText));
      units.resize(units.size() - std::min(units.size(), SettingsTree::kEndOfText.size()));
      return units;
   }

   SettingsTree tree;
   OwnedWideBuffer value;
   OwnedStatus status;

private:
   const size_t descriptors_ = openDescriptors();
};

#endif
