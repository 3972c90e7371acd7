// What zerovactl asks of the operating system, beside what platform/ has.
#ifndef TOOLS_ZEROVACTL_SYSTEM_H
#define TOOLS_ZEROVACTL_SYSTEM_H

#include "platform/socket.h"

#include <chrono>
#include <filesystem>
#include <string>

namespace zerovactl {

bool isTerminal(int descriptor);

// Whether terminals of this process's locale show UTF-8; name is what they show.
bool terminalTakesUtf8(std::string& name);

// Of the program that runs, and of the library that it has loaded.
std::filesystem::path programPath();
std::filesystem::path libraryPath();

// A write to a closed pipe fails instead of ending the process.
void ignoreClosedPipes();

// While it lives a closed pipe ends the process again, and a command that is started then.
class DefaultPipeSignal
{
public:
   DefaultPipeSignal();
   ~DefaultPipeSignal();
   DefaultPipeSignal(const DefaultPipeSignal&) = delete;
   DefaultPipeSignal& operator=(const DefaultPipeSignal&) = delete;
};

// A folder that nobody else may enter, gone with what is in it when the object is.
class TemporaryFolder
{
public:
   TemporaryFolder();
   ~TemporaryFolder();
   TemporaryFolder(const TemporaryFolder&) = delete;
   TemporaryFolder& operator=(const TemporaryFolder&) = delete;
   const std::string& path() const { return path_; }

private:
   std::string path_;
};

// As far as standard error takes it at once: a reader that is stuck must not hold up the end.
void writeLastWords(const std::string& text);

// Waits for one of the requests to end (Ctrl-C, a request to terminate, a lost terminal) or for the
// end of standard input, where that is something that a person or a program can close.
class EndRequest
{
public:
   enum class Input
   {
      kWatched,
      kLeftAlone
   };
   explicit EndRequest(Input input);
   ~EndRequest();
   EndRequest(const EndRequest&) = delete;
   EndRequest& operator=(const EndRequest&) = delete;

   enum class Cause
   {
      kNone,
      kSignal,
      kInputEnded,
      kOther
   };
   // kNone when the time is over, kOther when the other descriptor, if there is one, can be read.
   // The second signal ends the process wherever it is.
   Cause wait(std::chrono::milliseconds time, int other = -1) const;
   // What to end with after a signal.
   static int exitStatus();

private:
   bool watchesInput_;
};

// The number of the failure that a socket waits to tell; 0: none.
int pendingError(platform::Socket socket);

// What stands where a local endpoint should be, as this account sees it.
struct EndpointFacts
{
   std::string path;
   int failure = 0;     // of looking at it
   std::string refuser; // the folder on the way that does not let us in
   bool isFolderThere = false;
   bool isSocket = false;
   std::string kind;        // "socket", "regular file", ...
   std::string access;      // "srw-rw---- root:zerova"
   bool isWritable = false; // for this account
   std::string account;     // "uid 1000 is not in group zerova"
   std::string cure;        // of a lack of permission
};
EndpointFacts lookAtEndpoint(const std::string& name);

// The folder of the local endpoints of this build, empty where they are in none.
std::string endpointFolder();
// The root of the settings tree; the view of 32-bit programs has it with "32" behind it.
std::string settingsRoot();

} // namespace zerovactl

#endif
