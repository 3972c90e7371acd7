#include "tools/zerovactl/system.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace zerovactl {

namespace {

std::string kindOf(mode_t mode)
{
   if (S_ISSOCK(mode)) return "socket";
   if (S_ISREG(mode)) return "regular file";
   if (S_ISDIR(mode)) return "directory";
   if (S_ISFIFO(mode)) return "fifo";
   return "device";
}

std::string modeText(mode_t mode)
{
   std::string text = S_ISSOCK(mode) ? "s" : S_ISDIR(mode) ? "d" : "-";
   for (int shift = 6; shift >= 0; shift -= 3)
      for (const auto& [bit, letter] : {std::pair{4u, 'r'}, {2u, 'w'}, {1u, 'x'}})
         text += (mode >> shift & bit) != 0 ? letter : '-';
   return text;
}

// Of the account database, with all members of a group.
constexpr std::size_t kRoomForAnEntry = std::size_t{64} * 1024;

std::string userName(uid_t id)
{
   passwd user = {};
   passwd* found = nullptr;
   std::vector<char> room(kRoomForAnEntry);
   const int failure = getpwuid_r(id, &user, room.data(), room.size(), &found);
   return failure == 0 && found ? found->pw_name : std::to_string(id);
}

std::string groupName(gid_t id)
{
   group entry = {};
   group* found = nullptr;
   std::vector<char> room(kRoomForAnEntry);
   const int failure = getgrgid_r(id, &entry, room.data(), room.size(), &found);
   return failure == 0 && found ? found->gr_name : std::to_string(id);
}

bool isInGroup(gid_t id)
{
   if (getegid() == id) return true;
   std::vector<gid_t> groups(static_cast<std::size_t>(getgroups(0, nullptr)));
   const int count = getgroups(static_cast<int>(groups.size()), groups.data());
   for (int i = 0; i < count; ++i)
      if (groups[static_cast<std::size_t>(i)] == id) return true;
   return false;
}

bool mayEnter(const std::filesystem::path& folder)
{
   return faccessat(AT_FDCWD, folder.c_str(), X_OK, AT_EACCESS) == 0;
}

// The outermost folder on the way that cannot be entered.
std::string refuserOn(const std::filesystem::path& path)
{
   std::filesystem::path way;
   for (const auto& part : path.parent_path()) {
      way /= part;
      if (!mayEnter(way)) return way.string();
   }
   return {};
}

} // namespace

EndpointFacts lookAtEndpoint(const std::string& name)
{
   EndpointFacts facts;
   facts.path = endpointFolder() + "/" + name;
   struct stat folder;
   facts.isFolderThere = stat(endpointFolder().c_str(), &folder) == 0;
   struct stat file;
   if (stat(facts.path.c_str(), &file) != 0) {
      facts.failure = errno;
      if (facts.failure == EACCES) facts.refuser = refuserOn(facts.path);
      return facts;
   }
   const std::string owner = userName(file.st_uid);
   const std::string ownGroup = groupName(file.st_gid);
   facts.isSocket = S_ISSOCK(file.st_mode);
   facts.kind = kindOf(file.st_mode);
   facts.access = modeText(file.st_mode) + " " + owner + ":" + ownGroup;
   facts.isWritable = faccessat(AT_FDCWD, facts.path.c_str(), W_OK, AT_EACCESS) == 0;
   const std::string self = "uid " + std::to_string(geteuid());
   const bool groupWrites = (file.st_mode & S_IWGRP) != 0;
   if (facts.isWritable) {
      facts.account = self + " may write";
   } else if (groupWrites && !isInGroup(file.st_gid)) {
      facts.account = self + " is not in group " + ownGroup;
      facts.cure = "usermod -aG " + ownGroup + " " + userName(geteuid()) + ", then log in again";
   } else {
      facts.account = self + " may not write";
      facts.cure = "the service's installation decides who may: by a group or by mode 0666 of "
                   "the socket";
   }
   return facts;
}

} // namespace zerovactl
