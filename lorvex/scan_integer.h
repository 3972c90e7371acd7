#ifndef LORVEX_SCAN_INTEGER_H
#define LORVEX_SCAN_INTEGER_H

#include <cstdint>

// Reads an integer from the start of text as the conversion "%i" of sscanf does: white space, a
// sign, and digits that are hexadecimal behind "0x", octal behind "0" and otherwise decimal. What
// the standard leaves open is: a number beyond 64 bits is the nearest one of 64 bits, and of those
// the low 32 are the value, so that 0xFFFFFFFF is -1.
//
// Returns 1 for a number; 0 for a text that begins otherwise, and for a "0x" without a digit behind
// it, which the standard does not take for a number and the scanners of some systems do; -1 if there
// is nothing but white space. value changes only for 1.
int lorvex_scanInteger(const char* text, int32_t* value);

#endif
