// Variables in paths: the standard folders, and what a plug-in's installer has put into its key.
#ifndef LORVEX_VARIABLES_H
#define LORVEX_VARIABLES_H

#include "quelerr/string.h"

// Looks a variable up by its name without the "$": first among the standard folders, then under the
// plug-in's key of the machine's settings, in the 32-bit view. A plug-in's value keeps its blanks
// and a backslash at its end; only NUL bytes there are cut.
//
// value: replaced by the text; empty on failure, and when status holds an error on entry.
// Codes: -52006 when plug-in or value are not there, -52000.
void lorvex_lookupVariable(const char* pluginName, const char* variableName, quelerr_String* value,
                           quelerr_Status* status);

// Replaces every variable in path, from the left, by its value. "/" becomes "\" first; a variable
// is
// "$" and what stands between it and the next "\", which stays.
//
// Runs with an error in status too, and after a failure: the variables are then removed, so that no
// "$" survives. A "$" with no "\" behind it is -52005, and the path ends there. A value is searched
// for variables in turn; values are the installer's, and nothing stops those that lead back to
// themselves: such an expansion ends only when memory does, or never.
// Codes: -52005, and those of lorvex_lookupVariable.
void lorvex_expandPath(const char* pluginName, quelerr_String* path, quelerr_Status* status);

#endif
