#include "tools/zerovactl/temporary_path.h"

#include <mutex>
#include <set>
#include <system_error>
#include <utility>

namespace zerovactl {

namespace {

std::mutex mutex;
std::set<const TemporaryPath*> all;

// What cannot be removed is left; there is nobody to be told here.
void removeQuietly(const std::filesystem::path& path)
{
   std::error_code ignored;
   std::filesystem::remove_all(path, ignored);
}

} // namespace

TemporaryPath::TemporaryPath(std::filesystem::path path)
   : path_(std::move(path))
{
   const std::lock_guard lock(mutex);
   all.insert(this);
}

TemporaryPath::~TemporaryPath()
{
   const std::lock_guard lock(mutex);
   all.erase(this);
   removeQuietly(path_);
}

void TemporaryPath::removeAll()
{
   const std::lock_guard lock(mutex);
   for (const TemporaryPath* const one : all)
      removeQuietly(one->path_);
}

} // namespace zerovactl
