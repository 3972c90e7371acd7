// The name that somebody probably meant.
#ifndef TOOLS_SUPPORT_NEAR_NAME_H
#define TOOLS_SUPPORT_NEAR_NAME_H

#include <string>
#include <string_view>
#include <vector>

namespace zerova::tools {

// The nearest of the names: at most two letters, and a third of them, are wrong, missing, too many or
// in another case. The first of several; empty: none is near.
std::string nearName(std::string_view meant, const std::vector<std::string>& names);

} // namespace zerova::tools

#endif
