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

std::string endpointFolder()
{
   return ZEROVA_ENDPOINT_DIR;
}

std::string endpointPath(const std::string& name)
{
   return std::string(ZEROVA_ENDPOINT_DIR "/") + name;
}

std::vector<EndpointStep> lookAtEndpoint(const std::string& name)
{
   const std::string path = endpointPath(name);
   struct stat file;
   if (stat(path.c_str(), &file) != 0) {
      const int failure = errno;
      EndpointStep step = {"endpoint", path, "not there", systemText(failure),
                           "start the service; if it runs, see its log"};
      struct stat folder;
      if (failure == EACCES) {
         step.result = "out of reach";
         step.hint = "let this account enter " + refuserOn(path);
      } else if (stat(endpointFolder().c_str(), &folder) != 0) {
         step.result = "no such folder";
         step.hint = "start the service; if it runs, it listens in another folder";
      }
      return {step};
   }
   if (!S_ISSOCK(file.st_mode))
      return {{"endpoint", path, "there, a " + kindOf(file.st_mode), "no socket",
               "remove it, and start the service again"}};
   const std::string ownGroup = groupName(file.st_gid);
   std::vector<EndpointStep> steps = {
      {"endpoint",
       path,
       "there, " + modeText(file.st_mode) + " " + userName(file.st_uid) + ":" + ownGroup,
       {},
       {}}};
   const std::string self = "uid " + std::to_string(geteuid());
   if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0) {
      steps.push_back({"permission", self + " may write", {}, {}, {}});
      return steps;
   }
   const std::string refusal = systemText(EACCES) + " (EACCES)";
   const bool groupWrites = (file.st_mode & S_IWGRP) != 0;
   if (groupWrites && !isInGroup(file.st_gid))
      steps.push_back(
         {"permission",
          self + " is not in group " + ownGroup,
          {},
          refusal,
          "usermod -aG " + ownGroup + " " + userName(geteuid()) + ", then log in again"});
   else
      steps.push_back({"permission",
                       self + " may not write",
                       {},
                       refusal,
                       "the service's installation decides who may: by a group or by mode 0666 of "
                       "the socket"});
   return steps;
}

EndpointStep refusedOpening(const std::string& name, int error)
{
   EndpointStep step = {"connection", endpointPath(name), "not open", systemText(error),
                        "the folders on the way may refuse this account; namei -l shows them"};
   if (error == ECONNREFUSED) {
      step.result = "nobody listens";
      step.hint = "the service ended and left its socket; start it again";
   }
   return step;
}

std::string hintForFullQueue()
{
   return "it is stopped, hangs or is overloaded: kill -CONT PID lets a stopped one go on";
}

} // namespace zerovactl
