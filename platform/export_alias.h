// A second exported name for a function.
#ifndef PLATFORM_EXPORT_ALIAS_H
#define PLATFORM_EXPORT_ALIAS_H

// Behind the declaration of a function: it is the function of that name, which the same source file
// defines, and the two have one address. Their argument lists may differ in the kind of pointer. On
// Windows the linker makes it so, by source/zerovaapi/shared_entries.txt.
#ifdef _WIN32
#define PLATFORM_SAME_ENTRY_AS(name)
#else
#define PLATFORM_SAME_ENTRY_AS(name) __attribute__((alias(#name)))
#endif

#endif
