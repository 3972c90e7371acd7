// The standard folders of the machine, as UTF-8 text.
//
// Each function replaces value, whose blanks at both ends and backslashes at its end are cut. On
// failure value keeps what it held. Codes: -52006 when the system does not know the folder, -52000.
#ifndef TORVIK_STDPATH_H
#define TORVIK_STDPATH_H

#include "quelerr/buffers.h"
#include "quelerr/string.h"

void torvik_getShared32Dir(quelerr_String* value, quelerr_Status* status);
void torvik_getSharedDir(quelerr_String* value, quelerr_Status* status);
void torvik_getCommonAppDataDir(quelerr_String* value, quelerr_Status* status);

// Empty, and no failure, when the system has no folder for temporary files.
void torvik_getTempDir(quelerr_String* value, quelerr_Status* status);

// The path of the system's folder of that number (platform/standard_folders.h), in a block of 260
// units that are zero behind it.
void torvik_getFolderPath(int32_t folderId, quelerr_WideBuffer* value, quelerr_Status* status);

// The name by which a path refers to a folder, without the "$".
struct torvik_StandardVariable
{
   const char* name;
   void (*get)(quelerr_String* value, quelerr_Status* status);
};

// Ends with a row whose name is null.
extern const torvik_StandardVariable torvik_standardVariables[];

#endif
