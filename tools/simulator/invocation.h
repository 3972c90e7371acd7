// What the command line asks for, and how the program ends.
#ifndef TOOLS_SIMULATOR_INVOCATION_H
#define TOOLS_SIMULATOR_INVOCATION_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace zerova::simulator {

// What the program ends with, beside the exit status of a command.
enum Status
{
   kDone = 0,
   kWrongUse = 2,
   kNoEndpoint = 3,
   kBroken = 4,
   kNo = 5,
   kInterrupted = 130
};

// A sentence for the user, and what the program ends with.
class Failure : public std::runtime_error
{
public:
   Failure(Status status, const std::string& text)
      : std::runtime_error(text)
      , exitStatus(status)
   {
   }
   Status exitStatus;
};

struct Invocation
{
   std::string file;
   std::vector<std::string> command;
   bool isCheck = false;
   std::vector<std::string> faults;
   std::string endpointDir;
   bool hasNoLocal = false;
   std::string tcp; // an address, or "own"
   std::uint16_t port = 0;
   std::uint16_t locatorPort = 3580;
   bool hasNoLocator = false;
   std::size_t mostConnections = 4096;
   bool isDebug = false;
   int readyDescriptor = -1;
   std::string log;
   std::string replay;
   std::string picture;
   bool isWatching = false;
   bool stays = false;
};

// Tells the user, on standard error.
void say(const std::string& sentence);

} // namespace zerova::simulator

#endif
