/* To be preloaded into a program: reading goes wrong behind the beginning of the file that FAILING_FILE
 * names. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

typedef ssize_t (*Read)(int, void*, size_t);

static int isMeant(int descriptor)
{
   const char* const name = getenv("FAILING_FILE");
   char link[64];
   char file[4096] = "";
   snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
   if (!name || readlink(link, file, sizeof file - 1) < 0) return 0;
   return strcmp(name, file) == 0 && lseek(descriptor, 0, SEEK_CUR) > 0;
}

ssize_t read(int descriptor, void* buffer, size_t size)
{
   static Read next;
   if (!next) *(void**)&next = dlsym(RTLD_NEXT, "read");
   if (!isMeant(descriptor)) return next(descriptor, buffer, size);
   errno = EIO;
   return -1;
}
