// What all fuzzers run with. The command line and ASAN_OPTIONS override it.
#include <vector>

namespace {

// No input, at most some thousand bytes, may make the library ask for that much at once. The energy
// of the other schedule costs more time here than most inputs take.
char mallocLimit[] = "-malloc_limit_mb=256";
char plainSchedule[] = "-entropic=0";

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
   static std::vector<char*> arguments(*argv, *argv + *argc + 1); // with the null behind the last
   arguments.insert(arguments.begin() + 1, {mallocLimit, plainSchedule});
   *argc += 2;
   *argv = arguments.data();
   return 0;
}

// Most of a small input's time goes into the stack traces and the quarantine of its allocations.
extern "C" __attribute__((visibility("default"), used)) const char* __asan_default_options()
{
   return "malloc_context_size=6:quarantine_size_mb=16";
}
