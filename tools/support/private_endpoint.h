// A command that finds a folder of ours where the library looks for the service's local endpoints.
#ifndef TOOLS_SUPPORT_PRIVATE_ENDPOINT_H
#define TOOLS_SUPPORT_PRIVATE_ENDPOINT_H

#include <stdexcept>
#include <string>
#include <vector>

#include <sys/types.h>

namespace zerova::tools {

// The system gives out no namespaces, or does not let them be used. The text says which step failed,
// and why.
class NamespaceRefused : public std::runtime_error
{
public:
   using std::runtime_error::runtime_error;
};

// The command itself cannot be started. exitStatus is what a shell ends with: 127, not there, or 126.
class CommandNotStarted : public std::runtime_error
{
public:
   CommandNotStarted(const std::string& text, int status)
      : std::runtime_error(text)
      , exitStatus(status)
   {
   }

   int exitStatus;
};

// Runs in a mount namespace of its own and, unless the caller may have one without, in a user
// namespace of its own, under the same account and group as before. There the folder is seen at
// another place too; everything else is what it was, and nobody else sees a difference. A place that
// is not there is made for the command alone: its nearest folder above is laid out anew in memory,
// with all that was in it. What the command makes right in that folder is gone with the command.
//
// What a user namespace costs the command: a program that runs with another account's rights
// (set-user-ID) keeps the caller's, files of other accounts belong to "nobody", and it may not change
// accounts.
class PrivateEndpoint
{
public:
   // folder: where the endpoints really are, absolute. place: where the command sees it, absolute.
   // command: the program, searched in PATH, and its arguments.
   // Returns when the command has begun. It gets the environment, the files that are not closed on
   // exec and the folder of the caller, blocks no signals, and is asked to terminate (SIGTERM) when
   // the calling thread ends. Throws NamespaceRefused, CommandNotStarted, std::system_error.
   PrivateEndpoint(const std::string& folder, const std::string& place,
                   const std::vector<std::string>& command);
   // Runs the command as it would run without us, for who was refused the other.
   explicit PrivateEndpoint(const std::vector<std::string>& command);
   // Kills a command that was not waited for.
   ~PrivateEndpoint();
   PrivateEndpoint(const PrivateEndpoint&) = delete;
   PrivateEndpoint& operator=(const PrivateEndpoint&) = delete;

   // Waits for the command's end and returns its exit status, 128 and the signal's number if one
   // killed it. May be called again.
   int wait();
   // Readable from the command's end on, for a caller who waits for other things too.
   int descriptor() const { return descriptor_; }
   // Does nothing if the command has ended.
   void send(int signal) const;

private:
   pid_t process_ = -1;
   int descriptor_ = -1;
   int exitStatus_ = -1;
};

} // namespace zerova::tools

#endif
