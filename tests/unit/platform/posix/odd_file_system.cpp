// The functions stand in front of the system's.
#include "unit/platform/posix/odd_file_system.h"

#include <cerrno>
#include <climits>
#include <cstddef>
#include <dirent.h>
#include <dlfcn.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace oddFileSystem {
namespace {

struct Long
{
   std::string name;
   bool isListed = false;
   std::vector<std::string> asked;
};

std::function<void()> happensNext;
std::optional<Long> longName;

} // namespace

void afterNextLook(std::function<void()> happen)
{
   happensNext = std::move(happen);
}

LongName::LongName(std::string name)
{
   longName = Long{std::move(name), false, {}};
}

LongName::~LongName()
{
   longName.reset();
}

bool LongName::isListed() const
{
   return longName->isListed;
}

const std::vector<std::string>& LongName::asked() const
{
   return longName->asked;
}

} // namespace oddFileSystem

extern "C" int fstatat(int folder, const char* name, struct stat* state, int flags) noexcept
{
   using namespace oddFileSystem;
   const std::string_view path = name;
   const std::string_view entry = path.substr(path.rfind('/') + 1);
   if (longName && entry.size() > NAME_MAX) {
      longName->asked.emplace_back(entry);
      errno = ENOENT;
      return -1;
   }
   const long result = syscall(SYS_newfstatat, folder, name, state, flags);
   if (const auto happen = std::exchange(happensNext, nullptr)) happen();
   return static_cast<int>(result);
}

extern "C" dirent* readdir(DIR* listing)
{
   using namespace oddFileSystem;
   using Read = dirent* (*)(DIR*);
   static const auto systems = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "readdir"));
   if (!longName || std::exchange(longName->isListed, true)) return systems(listing);
   alignas(dirent) static char room[sizeof(dirent) + 1000] = {};
   const size_t length = longName->name.copy(room + offsetof(dirent, d_name), 1000);
   room[offsetof(dirent, d_name) + length] = 0;
   return reinterpret_cast<dirent*>(room);
}
