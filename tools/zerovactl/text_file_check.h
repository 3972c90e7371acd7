// What is wrong in a file of error descriptions.
#ifndef TOOLS_ZEROVACTL_TEXT_FILE_CHECK_H
#define TOOLS_ZEROVACTL_TEXT_FILE_CHECK_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace zerovactl {

struct Finding
{
   std::string file; // as it is to be shown
   int line = 0;     // 0: the file as a whole
   int column = 0;   // in bytes; 0: the line as a whole
   std::string text;
};

// Where each code of a folder was first described.
using KnownCodes = std::map<std::int32_t, std::string>;

// content: the bytes of the file. codePage: that of its language, 0 for a file that serves all
// languages. Adds to the findings and to the codes that are known.
void checkTextFile(const std::string& file, std::string_view content, std::uint32_t codePage,
                   KnownCodes& known, std::vector<Finding>& findings);

} // namespace zerovactl

#endif
