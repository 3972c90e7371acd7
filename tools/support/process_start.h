// What a program does before anything else.
#ifndef TOOLS_SUPPORT_PROCESS_START_H
#define TOOLS_SUPPORT_PROCESS_START_H

#include <string>
#include <vector>

namespace zerova::tools {

// No file or connection then takes the place of a standard stream that is closed.
void holdStandardStreams();

// What stands behind the program's name, in UTF-8.
std::vector<std::string> commandLine(int argc, char** argv);

} // namespace zerova::tools

#endif
