#include "tools/support/near_name.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace zerova::tools {

namespace {

// Letters to change, to add or to take away; two neighbours that changed places count as two.
std::size_t distance(std::string_view left, std::string_view right)
{
   std::vector<std::size_t> row(right.size() + 1);
   std::iota(row.begin(), row.end(), std::size_t{0});
   for (std::size_t i = 0; i < left.size(); ++i) {
      std::size_t diagonal = row[0];
      row[0] = i + 1;
      for (std::size_t j = 0; j < right.size(); ++j) {
         const std::size_t changed = diagonal + (left[i] == right[j] ? 0 : 1);
         diagonal = row[j + 1];
         row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
      }
   }
   return row.back();
}

} // namespace

std::string nearName(std::string_view meant, const std::vector<std::string>& names)
{
   std::string nearest;
   std::size_t best = std::min<std::size_t>(2, meant.size() / 3) + 1;
   for (const std::string& name : names)
      if (const std::size_t found = distance(meant, name); found > 0 && found < best) {
         best = found;
         nearest = name;
      }
   return nearest;
}

} // namespace zerova::tools
