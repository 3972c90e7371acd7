// Words for the numbers of failures, of which there are two kinds: those of the system's own calls
// (local_pipe.h, settings_tree.h) and those of errno (directory.h, text_file.h). On some systems one
// number means a different thing in each.
#ifndef PLATFORM_FAILURE_TEXT_H
#define PLATFORM_FAILURE_TEXT_H

#include <cstddef>
#include <cstdint>

namespace platform {

constexpr size_t kFailureTextSize = 512;

// Each writes the text for number in UTF-8, with the line end that it may have, terminated and cut
// to fit, to kFailureTextSize bytes at text. False if there is none.
bool systemFailureText(uint32_t number, char* text);
bool errnoText(int number, char* text);

} // namespace platform

#endif
