// What the benchmarks ask of the system beside what the library does.
#ifndef BENCH_MACHINE_H
#define BENCH_MACHINE_H

#include <cstddef>
#include <optional>

namespace bench {

// Ends the program, with the reason, when the library cannot be loaded.
void* openLibrary(const char* file);

// Null when the library has no such function.
void* findFunction(void* library, const char* name);

// What the process holds of its heap; nothing where the system does not tell.
std::optional<size_t> heapBytes();

// From now on memory that is freed stays with the process: giving it back to the system and asking for
// it again would be most of what a large reply costs.
void keepFreedMemory();

// The thread that calls stays on this core.
void pinToCore(int core);

} // namespace bench

#endif
