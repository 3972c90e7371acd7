// Folders of the build, as a program in it finds them, and one of a test's own.
#ifndef TESTS_WINDOWS_OWN_FOLDER_H
#define TESTS_WINDOWS_OWN_FOLDER_H

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace zerova::test {

// The folder of the program, which is that of the build.
inline std::filesystem::path ownFolder()
{
   wchar_t path[MAX_PATH];
   const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
   return std::filesystem::path(std::wstring(path, length)).parent_path();
}

inline std::string utf8(const std::filesystem::path& path)
{
   const std::u8string text = path.generic_u8string();
   return {text.begin(), text.end()};
}

// A folder of the test's own, gone with it.
class OwnFolder
{
public:
   explicit OwnFolder(const std::filesystem::path& name)
      : path_(ownFolder() / name)
   {
      std::filesystem::remove_all(path_);
      std::filesystem::create_directories(path_);
   }
   ~OwnFolder()
   {
      std::error_code ignored;
      std::filesystem::remove_all(path_, ignored);
   }
   OwnFolder(const OwnFolder&) = delete;
   OwnFolder& operator=(const OwnFolder&) = delete;

   const std::filesystem::path& path() const { return path_; }

   void write(const std::filesystem::path& name, const std::string& content) const
   {
      std::filesystem::create_directories((path_ / name).parent_path());
      std::ofstream file(path_ / name, std::ios::binary);
      file << content;
      ASSERT_TRUE(file.flush()) << utf8(name);
   }

private:
   std::filesystem::path path_;
};

} // namespace zerova::test

#endif
