// Plays a log of calls again.
#ifndef TOOLS_SIMULATOR_REPLAY_H
#define TOOLS_SIMULATOR_REPLAY_H

#include "tools/simulator/bench.h"

#include <cstddef>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <vector>

namespace zerova::simulator {

// The log is no log; the text names the line.
class BadLog : public std::runtime_error
{
public:
   using std::runtime_error::runtime_error;
};

struct Replay
{
   std::size_t calls = 0;
   std::vector<std::string> differences; // one sentence each, with the line
};

// Makes the same calls on the bench, in the same order and with the same faults of its plan, and compares
// what comes. Faults of time and of the wire are left out. Throws BadLog.
Replay replay(Bench& bench, bool isDebug, std::istream& log, const std::string& name);

} // namespace zerova::simulator

#endif
