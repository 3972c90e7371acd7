#include "support/environment.h"

#include <cstdlib>

const char* const kTemporaryFolderVariable = "TMP";
const char* const kSomeTemporaryFolder = "C:\\scratch";
const char* const kCommonFolder = "C:\\ProgramData";

namespace {

// An empty value takes the variable away.
void set(const char* name, const char* value)
{
   _putenv_s(name, value ? value : "");
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
