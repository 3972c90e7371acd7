// What a test can learn about the descriptors of its process, and do to those that are its own. They are
// descriptors of files where pipes and sockets are such, and handles elsewhere.
#ifndef TESTS_UNIT_TRANSPORT_DESCRIPTORS_H
#define TESTS_UNIT_TRANSPORT_DESCRIPTORS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace descriptors {

using Descriptor = std::intptr_t;

// Two counts differ by what was opened and not closed between them. Where the system itself and the
// threads of servers open some at any time it is the pipes, events and sockets of the first thread.
size_t countOpen();

// A descriptor that is not open has none of these.
bool isOpen(Descriptor descriptor);
bool isKeptFromChildren(Descriptor descriptor);
bool isNonBlocking(Descriptor socket);

// Settings and states of sockets.
bool hasNoDelay(Descriptor socket);
int lingerSeconds(Descriptor socket); // -1 for a socket that does not linger
bool hasRefusalPending(Descriptor socket);

// The number of the process that serves the client's end of a pipe; 0 if that cannot be told.
uint32_t serverOf(Descriptor pipe);

// Sends one byte of urgent data on a connected socket.
void sendUrgentByte(Descriptor socket);

// Makes a wake socket ready to read for good.
void makeWakeSocketReady(Descriptor socket);

// While it lives, the descriptors that are opened have numbers above 1023, from which on a bit in a set
// of bits could not stand for them.
class LowOnesTaken
{
public:
   LowOnesTaken();
   ~LowOnesTaken();
   LowOnesTaken(const LowOnesTaken&) = delete;
   LowOnesTaken& operator=(const LowOnesTaken&) = delete;

private:
   std::vector<Descriptor> taken_;
   uint64_t usualLimit_ = 0;
};

} // namespace descriptors

#endif
