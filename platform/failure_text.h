// The system's words for its own failure numbers.
#ifndef PLATFORM_FAILURE_TEXT_H
#define PLATFORM_FAILURE_TEXT_H

#include <cstddef>
#include <cstdint>

namespace platform {

constexpr size_t kFailureTextSize = 512;

// Writes the text for number, terminated and cut to fit, to kFailureTextSize bytes at text. False
// if the system has none.
bool failureText(uint32_t number, char* text);

} // namespace platform

#endif
