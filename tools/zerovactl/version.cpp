#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/system.h"

namespace zerovactl {

int showVersion(Context& context)
{
   const std::string library = libraryPath().string();
   if (context.output.asJson())
      context.output.document({{"zerovactl", ZEROVACTL_VERSION},
                               {"libzerovaapi", ZEROVACTL_VERSION},
                               {"library", library},
                               {"endpoints", endpointFolder()},
                               {"settings", settingsRoot()}});
   else
      context.output.line("zerovactl " ZEROVACTL_VERSION ", libzerovaapi " ZEROVACTL_VERSION " (" +
                          library + "), endpoints " + endpointFolder() + ", settings " +
                          settingsRoot());
   return kDone;
}

} // namespace zerovactl
