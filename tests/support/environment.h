// The environment of the process.
#ifndef TESTS_SUPPORT_ENVIRONMENT_H
#define TESTS_SUPPORT_ENVIRONMENT_H

#include <optional>
#include <string>

// Sets a variable for as long as the object lives, or takes it away.
class EnvironmentVariable
{
public:
   // value: null takes it away.
   EnvironmentVariable(const char* name, const char* value);
   EnvironmentVariable(const EnvironmentVariable&) = delete;
   EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
   ~EnvironmentVariable();

private:
   static void set(const char* name, const char* value);

   const char* const name_;
   std::optional<std::string> held_;
};

// The variable that names the temporary folder, and a folder that it can name.
extern const char* const kTemporaryFolderVariable;
extern const char* const kSomeTemporaryFolder;
// The system's folder for what programs have in common.
extern const char* const kCommonFolder;

#endif
