// What zerovactl asks of the operating system, beside what platform/ has.
#ifndef TOOLS_ZEROVACTL_SYSTEM_H
#define TOOLS_ZEROVACTL_SYSTEM_H

#include "platform/local_pipe.h"
#include "platform/socket.h"

#include <chrono>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zerovactl {

// To be called before anything else. A write to a closed pipe then fails instead of ending the
// process, no file or connection takes the place of a standard stream that is closed, and Ctrl-C ends
// the process with its own status.
void beginProcess();

enum class Stream
{
   kOutput,
   kError
};

bool isTerminal(Stream stream);
// Whether it is a terminal that knows colours and can have a line taken back.
bool takesEscapes(Stream stream);
// Whether terminals of this process show UTF-8; name is what they show.
bool terminalTakesUtf8(std::string& name);

enum class Writing
{
   kDone,
   kReaderGone,
   kFailed
};
// All of the bytes, which are UTF-8 for a terminal; failure is written if they cannot be.
Writing writeTo(Stream stream, std::string_view bytes, std::string& failure);
// As far as the stream takes them at once: a reader that is stuck must not hold up the end.
void writeLastWords(Stream stream, const std::string& text);

// Some bytes of standard input, none at its end. Throws Failure.
std::size_t readInput(char* bytes, std::size_t size);

// As in "de_DE": the language of the user; empty if none is told.
std::string userLocale();

std::tm localTime(std::time_t time);

// Of the program that runs, and of the library that it has loaded.
std::filesystem::path programPath();
std::filesystem::path libraryPath();
std::string libraryVersion();

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
   // What a second signal does, whose sender may have seen that the first one ended nothing.
   enum class Again
   {
      kEndsTheProcess,
      kIsWaitedFor
   };
   explicit EndRequest(Input input, Again again = Again::kEndsTheProcess);
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
   // kNone when the time is over, kOther when the other, an event or what can be read, is ready.
   Cause wait(std::chrono::milliseconds time,
              platform::Handle other = platform::kInvalidHandle) const;
   // The next wait is for the next signal.
   static void forgetSignal();
   // What to end with after a signal.
   static int exitStatus();

private:
   bool watchesInput_;
};

// The numbers of the failure of the last call for a socket, and of one that a socket waits to tell; 0:
// none. systemText has words for them.
int lastSocketFailure();
int pendingFailure(platform::Socket socket);

// A failure of the system in one line, without a line end.
std::string systemText(int number);
// The system's words for a wait that was too long.
std::string timeOutText();

// One step of the way to a session on this machine.
struct EndpointStep
{
   std::string label;
   std::string subject;
   std::string result;
   std::string failure; // empty: it has worked
   std::string hint;    // what to do about the failure
};
// What can be told of a local endpoint without opening it, up to the first failure.
std::vector<EndpointStep> lookAtEndpoint(const std::string& name);
// What an opening that has failed means; error is of platform::OpenedPipe.
EndpointStep refusedOpening(const std::string& name, int error);
// What to do about a service that takes no connections.
std::string hintForFullQueue();

// Where the local endpoints of this build are, and one of them.
std::string endpointFolder();
std::string endpointPath(const std::string& name);

// Where the machine's settings begin, and where one of them stands.
std::string settingsRoot();
std::string settingPlace(const std::string& key, const std::string& name, bool of32Bit);
// Of the values of a key, in the system's order; none where the key is not there.
std::vector<std::string> settingNames(const std::string& key, bool of32Bit);

} // namespace zerovactl

#endif
