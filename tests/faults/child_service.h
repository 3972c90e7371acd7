// A scripted service in a process of its own, which can be stopped and killed, and whose threads,
// memory and descriptors are not those of the test.
#ifndef TESTS_FAULTS_CHILD_SERVICE_H
#define TESTS_FAULTS_CHILD_SERVICE_H

#include "service/raw_peer.h"

#include <string>

#include <sys/types.h>

namespace zerova::test {

class ChildService
{
public:
   // Plays script on each connection to a local endpoint and, unless address is empty, to a host at
   // that loopback address, with its locator. The process begins at once, so make it while the test
   // has one thread; the endpoints are there when start() returns. A failure ends the test program.
   explicit ChildService(const Script& script, const std::string& address = "");
   ~ChildService();
   ChildService(const ChildService&) = delete;
   ChildService& operator=(const ChildService&) = delete;

   void start();
   void freeze(); // it keeps its connections and does nothing
   void kill();   // by SIGKILL; returns when it is gone

private:
   pid_t process_ = -1;
   int toChild_ = -1;
   int fromChild_ = -1;
};

} // namespace zerova::test

#endif
