#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/system.h"

#include "tools/support/utf8_path.h"

#include <system_error>

namespace zerovactl {

using zerova::tools::textOf;

int showVersion(Context& context)
{
   const std::filesystem::path loaded = libraryPath();
   std::error_code ignored; // the path as it is serves as well
   const std::filesystem::path file = std::filesystem::weakly_canonical(loaded, ignored);
   const std::string version = libraryVersion();
   const std::string library = textOf(file.parent_path() / loaded.filename());
   if (context.output.asJson())
      context.output.document({{"zerovactl", ZEROVACTL_VERSION},
                               {"libzerovaapi", version},
                               {"library", library},
                               {"endpoints", endpointFolder()},
                               {"settings", settingsRoot()}});
   else
      context.output.line("zerovactl " ZEROVACTL_VERSION ", libzerovaapi " + version + " (" +
                          library + "), endpoints " + endpointFolder() + ", settings " +
                          settingsRoot());
   return kDone;
}

} // namespace zerovactl
