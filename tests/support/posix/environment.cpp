#include "support/environment.h"

#include <cstdlib>

const char* const kTemporaryFolderVariable = "TMPDIR";
const char* const kSomeTemporaryFolder = "/scratch";
const char* const kCommonFolder = "/var/lib";

namespace {

void set(const char* name, const char* value)
{
   if (value)
      setenv(name, value, 1);
   else
      unsetenv(name);
}

} // namespace

EnvironmentVariable::EnvironmentVariable(const char* name, const char* value)
   : name_(name)
{
   if (const char* const held = std::getenv(name)) held_ = held;
   set(name, value);
}

EnvironmentVariable::~EnvironmentVariable()
{
   set(name_, held_ ? held_->c_str() : nullptr);
}
