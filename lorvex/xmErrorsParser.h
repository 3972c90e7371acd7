// Error description files: the words for a status code, in plain text files, one folder a language.
// docs/error-files.md tells the format.
//
// In all functions: paths are UTF-8; description is replaced, and empty unless a text was found;
// with an error in status on entry it is emptied and nothing else happens. All code of a failure is
// -52006 unless said otherwise.
#ifndef LORVEX_XMERRORSPARSER_H
#define LORVEX_XMERRORSPARSER_H

#include "quelerr/string.h"

#include <cstdint>

// Searches one file for the first entry of code. A file that is no error description file is one
// without entries; a failure is a file that cannot be opened and one that is bad before the entry.
void lorvex_findDescriptionInFile(const char* path, int32_t code, quelerr_String* description,
                                  quelerr_Status* status);

// Searches the regular files named *.txt and *.err of a folder, in the order in which the system
// lists them, up to the first that has a text or is bad. Codes: -52006, -52000.
void lorvex_findDescriptionInDir(const char* folder, int32_t code, quelerr_String* description,
                                 quelerr_Status* status);

// Searches the folder of a language below errorsFolder and then, unless that has a text or is bad,
// errorsFolder itself. Codes: as above, and -52005 for a lang that is no language.
void lorvex_findDescriptionInErrorsDir(const char* errorsFolder, int32_t code, int32_t lang,
                                       quelerr_String* description, quelerr_Status* status);

#endif
