// A second exported name for a function.
#ifndef PLATFORM_EXPORT_ALIAS_H
#define PLATFORM_EXPORT_ALIAS_H

// Behind the declaration of a function: it is the function of that name, which the same source file
// defines, and the two have one address. Their argument lists may differ in the kind of pointer.
#define PLATFORM_SAME_ENTRY_AS(name) __attribute__((alias(#name)))

#endif
