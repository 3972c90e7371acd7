// A scripted service in a process of its own, which can be stopped and killed, and whose threads,
// memory and descriptors are not those of the test.
#ifndef TESTS_FAULTS_CHILD_SERVICE_H
#define TESTS_FAULTS_CHILD_SERVICE_H

#include "support/child_process.h"

#include <cstdint>
#include <string>

namespace zerova::test {

// What it does on each connection.
enum class ChildScript
{
   answering, // every call as it would succeed
   refusing,  // the version, at once and for good, with kRefusalOfAChild
   breaking,  // accepts the version, receives one call and closes
   silent,    // accepts the version, receives one call and tells of it instead of answering
   resting,   // accepts the version, answers one call as it would succeed and tells of that
   touring    // answers as tour_service.h says
};

inline constexpr std::int32_t kRefusalOfAChild = -77;

// How many descriptors or handles a program has open that this process has started, as a number.
std::string descriptorsOfANewProgram();

class ChildService
{
public:
   // Plays script on each connection to a local endpoint and, unless address is empty, to a host at
   // that loopback address, with its locator. The process begins at once; the endpoints are there when
   // start() returns. What fails throws std::runtime_error.
   explicit ChildService(ChildScript script, const std::string& address = "");

   void start();
   // Until a silent or resting one has told of its call. False: it has ended.
   bool waitForCall() { return process_.waitToBeTold(); }
   void freeze() { process_.freeze(); }
   void kill() { process_.kill(); }

private:
   ChildProcess process_;
};

} // namespace zerova::test

#endif
