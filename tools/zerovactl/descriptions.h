// Status codes and status JSONs in words, by the library's own translator.
#ifndef TOOLS_ZEROVACTL_DESCRIPTIONS_H
#define TOOLS_ZEROVACTL_DESCRIPTIONS_H

#include "tools/zerovactl/machine_settings.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zerovactl {

struct Row
{
   std::string type; // usage, elaboration, header or empty
   std::string key;  // of a usage
   std::vector<std::string> values;
};

struct Details
{
   std::vector<Row> rows;
   std::vector<Row> debug;
   std::string problem; // why there are none
};

// The sentence that stands for a code in the machine's error description files, else in those of the
// library. None where no file has one.
std::optional<std::string> sentenceOf(std::int32_t code, std::uint32_t language);

// The time for a text that was made to collide grows with the square of its length.
inline constexpr std::size_t kLongestStatusJson = std::size_t{64} * 1024;

// What a status JSON holds.
Details detailsOf(const std::string& json, std::uint32_t language);

// The folders in which a sentence is looked for, in the order of the search.
std::vector<TextFolder> searchedFolders(std::uint32_t language);

// Rows as lines for people: the keys of usages in one column, their values in the next.
std::vector<std::string> linesOf(const std::vector<Row>& rows);

} // namespace zerovactl

#endif
