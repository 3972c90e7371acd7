// Writes into the settings tree of the build, or into the registry, and takes back, at the end, all
// that it wrote.
//
// The tree is one for all tests: give a program that writes into it the REGISTRY option, so that
// its tests take turns with the others.
#ifndef TESTS_SUPPORT_SETTINGS_TREE_H
#define TESTS_SUPPORT_SETTINGS_TREE_H

#include <filesystem>
#include <string_view>
#include <vector>

class SettingsTree
{
public:
   enum class View
   {
      native,
      of32Bit
   };

   // What a reading gives behind the text: the terminator that a registry keeps.
   static const std::u16string_view kEndOfText;

   SettingsTree() = default;
   SettingsTree(const SettingsTree&) = delete;
   SettingsTree& operator=(const SettingsTree&) = delete;
   ~SettingsTree();

   // Makes a key, its names divided by "/", and returns its path, which is a folder where settings
   // are files.
   std::filesystem::path addKey(View view, std::string_view key);

   // Writes content, UTF-8, as the text of a value and returns its path. The key is made as well.
   std::filesystem::path addValue(View view, std::string_view key, std::string_view name,
                                  std::string_view content);

   // Takes a value away that addValue has made.
   static void removeValue(View view, std::string_view key, std::string_view name);

   // Notes that the test itself has put something at path, a FIFO or a link, to be removed. Only
   // where settings are files.
   void adopt(const std::filesystem::path& path);

private:
   // A key, or the value of one, in the order in which they were made.
   struct Made
   {
      View view;
      std::filesystem::path path;
      std::filesystem::path value; // empty for a key
   };
   std::vector<Made> made_;
};

#endif
