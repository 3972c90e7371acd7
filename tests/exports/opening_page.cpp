#include "exports/opening_page.h"

#include "support/program_outcome.h"
#include "support/scratch_folder.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace zerova::test {

namespace {

std::vector<std::string> linesOfThePage()
{
   const std::string path = ZEROVA_SOURCE_DIR "/docs/when-a-session-does-not-open.md";
   std::ifstream file(path);
   if (!file) throw std::runtime_error("cannot read " + path);
   std::vector<std::string> lines;
   for (std::string line; std::getline(file, line);)
      lines.push_back(line);
   return lines;
}

std::string trimmed(const std::string& text)
{
   const std::size_t begin = text.find_first_not_of(' ');
   if (begin == std::string::npos) return "";
   return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

std::vector<std::string> splitAt(char separator, const std::string& text)
{
   std::vector<std::string> pieces;
   std::istringstream rest(text);
   for (std::string piece; std::getline(rest, piece, separator);)
      pieces.push_back(piece);
   return pieces;
}

PageCell cellOf(const std::string& text)
{
   const std::vector<std::string> pieces = splitAt('`', text);
   if (pieces.size() < 2) return {trimmed(text)};
   PageCell words;
   for (std::size_t i = 1; i < pieces.size(); i += 2)
      words.push_back(pieces[i]);
   return words;
}

std::string commandsOf(const std::string& name, const std::string& value)
{
   const std::vector<std::string> lines = linesOfThePage();
   auto line = std::find(lines.begin(), lines.end(), "<!-- " + name + " -->");
   if (lines.end() - line < 3 || line[1] != "```bash elsewhere")
      throw std::runtime_error("no commands for " + name);
   line += 2;
   std::string commands = line->substr(0, line->find('=') + 1) + "'" + value + "'\n";
   for (++line; line != lines.end() && *line != "```"; ++line)
      commands += *line + "\n";
   return commands;
}

} // namespace

std::map<std::string, PageCell> rowOf(const std::string& cause)
{
   std::vector<std::string> titles;
   std::map<std::string, PageCell> row;
   for (const std::string& line : linesOfThePage()) {
      if (line.rfind("| ", 0) != 0) continue;
      std::vector<std::string> cells = splitAt('|', line.substr(1));
      for (std::string& cell : cells)
         cell = trimmed(cell);
      if (cells.front() == "Cause") titles = cells;
      if (cells.front() != cause) continue;
      if (!row.empty()) throw std::runtime_error("two rows for the cause " + cause);
      if (cells.size() != titles.size())
         throw std::runtime_error("the row of " + cause + " has not the cells of its table");
      for (std::size_t i = 0; i < cells.size(); ++i)
         row[titles[i]] = cellOf(cells[i]);
   }
   if (row.empty()) throw std::runtime_error("no row for the cause " + cause);
   return row;
}

std::vector<std::string> linesOfCommands(const std::string& name, const std::string& value)
{
   const ScratchFolder folder;
   const std::string script = folder.write("commands", commandsOf(name, value));
   return splitAt('\n', runProgram({"bash", script}).output);
}

} // namespace zerova::test
