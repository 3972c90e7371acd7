#include "support/environment.h"

#include <cstdlib>

const char* const kTemporaryFolderVariable = "TMPDIR";
const char* const kSomeTemporaryFolder = "/scratch";
const char* const kCommonFolder = "/var/lib";

void EnvironmentVariable::set(const char* name, const char* value)
{
   if (value)
      setenv(name, value, 1);
   else
      unsetenv(name);
}
