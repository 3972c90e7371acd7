// docs/when-a-session-does-not-open.md, as its tests read it.
#ifndef TESTS_EXPORTS_OPENING_PAGE_H
#define TESTS_EXPORTS_OPENING_PAGE_H

#include <map>
#include <string>
#include <vector>

namespace zerova::test {

// What the page says in a cell: the words that it marks as code, or the whole text if it marks none.
using PageCell = std::vector<std::string>;

// The row of a cause, by the titles of the columns. Throws std::runtime_error unless there is one
// such row.
std::map<std::string, PageCell> rowOf(const std::string& cause);

// What the commands print that the page shows behind <!-- name -->, line by line, when the value
// that their first line sets is replaced by another.
std::vector<std::string> linesOfCommands(const std::string& name, const std::string& value);

} // namespace zerova::test

#endif
