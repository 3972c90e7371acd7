#include "support/environment.h"

#include <cstdlib>

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
