#ifndef TESTS_SUPPORT_SCRATCH_FOLDER_H
#define TESTS_SUPPORT_SCRATCH_FOLDER_H

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

// A folder of its own in the system's temporary folder, gone with all it holds at the end of the
// test.
class ScratchFolder
{
public:
   ScratchFolder()
   {
      std::random_device random;
      do
         path_ = (std::filesystem::temp_directory_path() / ("zerova-" + std::to_string(random())))
                    .generic_string();
      while (!std::filesystem::create_directory(path_));
      std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
   }
   ~ScratchFolder()
   {
      std::error_code ignored;
      std::filesystem::remove_all(path_, ignored);
   }
   ScratchFolder(const ScratchFolder&) = delete;
   ScratchFolder& operator=(const ScratchFolder&) = delete;

   const std::string& path() const { return path_; }
   std::string path(const std::string& name) const { return path_ + "/" + name; }

   // Makes a folder, with those above it, and returns its path.
   std::string makeFolder(const std::string& name) const
   {
      std::filesystem::create_directories(fromUtf8(path(name)));
      return path(name);
   }

   // Makes a file, with the folders above it, and returns its path.
   std::string write(const std::string& name, const std::string& content) const
   {
      const std::filesystem::path full = fromUtf8(path(name));
      std::filesystem::create_directories(full.parent_path());
      std::ofstream file(full, std::ios::binary);
      file << content;
      file.close();
      if (!file) throw std::runtime_error("cannot write " + path(name));
      return path(name);
   }

private:
   static std::filesystem::path fromUtf8(const std::string& path)
   {
      return std::u8string(path.begin(), path.end());
   }

   std::string path_;
};

#endif
