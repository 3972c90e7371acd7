// What file systems can do that no test can have one do by other means. Holds for the calls that the
// objects of this program make.
#ifndef TESTS_UNIT_PLATFORM_POSIX_ODD_FILE_SYSTEM_H
#define TESTS_UNIT_PLATFORM_POSIX_ODD_FILE_SYSTEM_H

#include <functional>
#include <string>
#include <vector>

namespace oddFileSystem {

// Has happen called once, behind the next look at the state of a file.
void afterNextLook(std::function<void()> happen);

// Names may be longer than NAME_MAX, as on some file systems that the network brings: while it
// lives, the first folder that is listed has one more entry in front, with this name, and a look at
// any name above NAME_MAX finds nothing. One at a time.
class LongName
{
public:
   explicit LongName(std::string name); // at most 1000 bytes
   ~LongName();
   LongName(const LongName&) = delete;
   LongName& operator=(const LongName&) = delete;

   bool isListed() const;
   // The names above NAME_MAX that were looked at.
   const std::vector<std::string>& asked() const;
};

} // namespace oddFileSystem

#endif
