/* Shows a description of the format "json1" as lines of text. */
#ifndef DESCRIPTION_ROWS_H
#define DESCRIPTION_ROWS_H

#include <stdbool.h>
#include <stdio.h>

/* The text is {"dynamic":ROWS,"debug":ROWS}, where each row is an object with a type and, as its
 * type asks, a key and a value. Each row becomes one line behind indent. Prints what it can read
 * and returns whether that was all. */
bool printDescription(FILE* out, const char* description, const char* indent);

#endif
