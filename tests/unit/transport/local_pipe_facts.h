// What pipes are told by on each system.
#ifndef TESTS_UNIT_TRANSPORT_LOCAL_PIPE_FACTS_H
#define TESTS_UNIT_TRANSPORT_LOCAL_PIPE_FACTS_H

#include <cstddef>
#include <string>
#include <vector>

// The texts of a read that meets the end of the connection: of one that is under way first, and then of
// one that starts behind it if that is another.
extern const std::vector<std::string> kTextsOfABrokenRead;

// The numbers of a pipe that is not there, of a handle that is none, and of a transfer under way.
extern const int kNoSuchPipe;
extern const int kNoHandle;
extern const int kUnderWay;

// What a pipe that is open has open: its own end, and events where they are the system's.
extern const size_t kOpenForAPipe;

#endif
