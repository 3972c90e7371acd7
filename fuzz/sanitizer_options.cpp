// Most of a small input's time goes into the stack traces and the quarantine of its allocations.
// ASAN_OPTIONS overrides what stands here.
extern "C" __attribute__((visibility("default"), used)) const char* __asan_default_options()
{
   return "malloc_context_size=6:quarantine_size_mb=16";
}
