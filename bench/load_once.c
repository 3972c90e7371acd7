/* load_once LIBRARY [LOADED...]: a program in C that loads the library once and tells what it cost.
 * LOADED are libraries that the program has already, as one in C++ has its own runtime.
 *
 * Prints one line: the microseconds of the first dlopen, of the next one while the library is
 * loaded, and of the first one after it was unloaded; then the KiB of private memory that the first
 * one left, and how many of these were written to; then the page faults that it took. Then one line for
 * each shared object that it brought in: its number of relocations and its file. */
#define _GNU_SOURCE /* dl_iterate_phdr */
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <time.h>

static double microseconds(void)
{
   struct timespec time;
   clock_gettime(CLOCK_MONOTONIC, &time);
   return (double)time.tv_sec * 1e6 + (double)time.tv_nsec / 1e3;
}

static long pageFaults(void)
{
   struct rusage usage;
   getrusage(RUSAGE_SELF, &usage);
   return usage.ru_minflt + usage.ru_majflt;
}

static void* load(const char* library)
{
   void* const handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
   if (handle) return handle;
   fprintf(stderr, "%s\n", dlerror());
   exit(1);
}

struct Memory
{
   long private; /* KiB that no other process shares */
   long written; /* of these, what the process has written to: nobody else can share it */
};

static long kibibytes(const char* line, const char* name)
{
   const size_t length = strlen(name);
   return strncmp(line, name, length) == 0 ? strtol(line + length, NULL, 10) : 0;
}

static struct Memory memory(void)
{
   struct Memory sum = {0, 0};
   char line[512];
   FILE* const mappings = fopen("/proc/self/smaps", "r");
   if (!mappings) {
      perror("/proc/self/smaps");
      exit(1);
   }
   while (fgets(line, sizeof line, mappings)) {
      const long written = kibibytes(line, "Private_Dirty:");
      sum.private += written + kibibytes(line, "Private_Clean:");
      sum.written += written;
   }
   fclose(mappings);
   return sum;
}

enum
{
   kMostObjects = 64
};

struct Objects
{
   uintptr_t base[kMostObjects];
   int count;
};

static int isKnown(const struct Objects* objects, uintptr_t base)
{
   for (int i = 0; i < objects->count; ++i)
      if (objects->base[i] == base) return 1;
   return 0;
}

static int remember(struct dl_phdr_info* object, size_t size, void* objects)
{
   struct Objects* const known = objects;
   (void)size;
   if (known->count == kMostObjects) {
      fprintf(stderr, "more shared objects than this program counts\n");
      exit(1);
   }
   known->base[known->count++] = object->dlpi_addr;
   return 0;
}

static unsigned long relocations(const struct dl_phdr_info* object)
{
   unsigned long bytes = 0;
   for (int i = 0; i < object->dlpi_phnum; ++i) {
      if (object->dlpi_phdr[i].p_type != PT_DYNAMIC) continue;
      const ElfW(Dyn)* entry = (const ElfW(Dyn)*)(object->dlpi_addr + object->dlpi_phdr[i].p_vaddr);
      for (; entry->d_tag != DT_NULL; ++entry)
         if (entry->d_tag == DT_RELASZ || entry->d_tag == DT_PLTRELSZ) bytes += entry->d_un.d_val;
   }
   return bytes / sizeof(ElfW(Rela));
}

static int tellWhenNew(struct dl_phdr_info* object, size_t size, void* known)
{
   (void)size;
   if (!isKnown(known, object->dlpi_addr))
      printf("%lu %s\n", relocations(object), object->dlpi_name);
   return 0;
}

int main(int argc, char** argv)
{
   if (argc < 2) {
      fprintf(stderr, "usage: %s LIBRARY [LOADED...]\n", argv[0]);
      return 2;
   }
   for (int i = 2; i < argc; ++i)
      load(argv[i]);
   static struct Objects before;
   dl_iterate_phdr(remember, &before);
   memory(); /* what reading itself needs is there from now on */
   const struct Memory without = memory();

   const long faultsBefore = pageFaults();
   const double first = microseconds();
   void* const library = load(argv[1]);
   const double loaded = microseconds();
   const long faults = pageFaults() - faultsBefore;
   const struct Memory with = memory();
   const double second = microseconds();
   void* const again = load(argv[1]);
   const double found = microseconds();
   dlclose(again);
   dlclose(library);
   const double third = microseconds();
   load(argv[1]);
   const double reloaded = microseconds();

   printf("%.3f %.3f %.3f %ld %ld %ld\n", loaded - first, found - second, reloaded - third,
          with.private - without.private, with.written - without.written, faults);
   dl_iterate_phdr(tellWhenNew, &before);
   return 0;
}
