// What ThreadSanitizer is not to tell. It does not see the lock under which the C library unloads
// the module of a code page that was converted last, so threads that convert seem to race there.
extern "C" const char* __tsan_default_suppressions();

extern "C" const char* __tsan_default_suppressions()
{
   return "race:_dl_close_worker\n";
}
