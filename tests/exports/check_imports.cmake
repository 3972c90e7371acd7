# Holds the built library against what it must not even be able to call. Without FORBIDDEN that is
# whatever starts something of its own, ends the process, or changes what belongs to the host. What
# the scripts of a driver may call is not in it: os.exit, os.setlocale, io.popen and their like are
# the interpreter's.
#    cmake -DLIBRARY=file -DNM=nm [-DFORBIDDEN=pattern] -P check_imports.cmake
execute_process(COMMAND "${NM}" -D --undefined-only "${LIBRARY}" OUTPUT_VARIABLE table
   COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${table}")
set(forbidden
   # threads and processes
   pthread_create thrd_create _ZNSt6thread15_M_start_thread.* fork vfork clone posix_spawnp?
   exec[lv]p?e?
   # the end of the process, and what runs then
   _exit _Exit quick_exit atexit at_quick_exit on_exit
   # signals and timers
   signal sigaction sigprocmask pthread_sigmask sigaltstack raise kill alarm setitimer timer_create
   # the environment, limits and rights
   setenv unsetenv putenv clearenv umask setrlimit setpriority nice prctl
   # handlers and locales of the whole process
   _ZSt13set_terminate.* _ZSt15set_new_handler.* _ZNSt6locale6global.* uselocale)
list(JOIN forbidden "|" pattern)
if(FORBIDDEN)
   set(pattern "${FORBIDDEN}")
endif()
set(found)
foreach(line IN LISTS lines)
   string(REGEX MATCH "^ *[A-Za-z] ([^@]+)" matched "${line}")
   if("${CMAKE_MATCH_1}" MATCHES "^(${pattern})$")
      list(APPEND found "${CMAKE_MATCH_1}")
   endif()
endforeach()
list(LENGTH lines count)
if(found OR count EQUAL 0)
   message(FATAL_ERROR "${LIBRARY} imports ${count} symbols. Not to be called: ${found}")
endif()
message(STATUS "${count} imported symbols, none of them forbidden")
