#include "support/environment.h"

#include <cstdlib>

const char* const kTemporaryFolderVariable = "TMP";
const char* const kSomeTemporaryFolder = "C:\\scratch";
const char* const kCommonFolder = "C:\\ProgramData";

// An empty value takes the variable away.
void EnvironmentVariable::set(const char* name, const char* value)
{
   _putenv_s(name, value ? value : "");
}
