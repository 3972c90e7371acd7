#include "tools/zerovactl/commands.h"
#include "tools/zerovactl/system.h"

namespace zerovactl {

std::string libraryVersion()
{
   constexpr char kEnd[] = ".so.";
   std::error_code ignored; // the path as it is serves as well
   const std::string name =
      std::filesystem::weakly_canonical(libraryPath(), ignored).filename().string();
   const auto at = name.find(kEnd);
   return at == std::string::npos ? ZEROVACTL_VERSION : name.substr(at + sizeof kEnd - 1);
}

int showVersion(Context& context)
{
   const std::filesystem::path loaded = libraryPath();
   std::error_code ignored; // the path as it is serves as well
   const std::filesystem::path file = std::filesystem::weakly_canonical(loaded, ignored);
   const std::string version = libraryVersion();
   const std::string library = (file.parent_path() / loaded.filename()).string();
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
