// Files and folders that are there only while the process runs.
#ifndef TOOLS_ZEROVACTL_TEMPORARY_PATH_H
#define TOOLS_ZEROVACTL_TEMPORARY_PATH_H

#include <filesystem>

namespace zerovactl {

// Removes a file, or a folder with what is in it, when the object goes.
class TemporaryPath
{
public:
   explicit TemporaryPath(std::filesystem::path path);
   ~TemporaryPath();
   TemporaryPath(const TemporaryPath&) = delete;
   TemporaryPath& operator=(const TemporaryPath&) = delete;
   const std::filesystem::path& path() const { return path_; }

   // For an end of the process that leaves its objects where they are.
   static void removeAll();

private:
   std::filesystem::path path_;
};

} // namespace zerovactl

#endif
