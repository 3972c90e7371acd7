// What stands in files and comes from standard input.
#ifndef TOOLS_ZEROVACTL_FILE_CONTENT_H
#define TOOLS_ZEROVACTL_FILE_CONTENT_H

#include <cstddef>
#include <string>

namespace zerovactl {

// At most so many bytes from the beginning. Both throw Failure, also for an error in the middle.
std::string contentOfFile(const std::string& name, std::size_t limit = SIZE_MAX);
std::string contentOfInput(std::size_t limit);

} // namespace zerovactl

#endif
