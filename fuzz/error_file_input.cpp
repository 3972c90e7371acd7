#include "fuzz/error_file_input.h"

#include "fuzz/require.h"
#include "lorvex/scan_integer.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr int kFile = ZEROVA_FUZZ_DESCRIPTOR; // the build has made links to it
constexpr int kFolder = kFile + 1;
constexpr std::string_view kOpening = "code=\"";
constexpr size_t kMostDigits = 64;

} // namespace

// The folder by a descriptor too: a walk has its limit on the length of a path.
const std::string kErrorFilePath = "/proc/self/fd/" + std::to_string(kFile);
const std::string kErrorsFolderPath = "/proc/self/fd/" + std::to_string(kFolder);

void writeErrorFile(std::string_view content)
{
   static const bool isOpen = [] {
      const int file = memfd_create("entries", MFD_CLOEXEC);
      const int folder = open(ZEROVA_FUZZ_ERROR_FILES, O_PATH | O_DIRECTORY | O_CLOEXEC);
      return dup2(file, kFile) == kFile && dup2(folder, kFolder) == kFolder;
   }();
   require(isOpen);
   require(ftruncate(kFile, static_cast<off_t>(content.size())) == 0);
   require(pwrite(kFile, content.data(), content.size(), 0) ==
           static_cast<ssize_t>(content.size()));
}

int32_t codeOfEntry(int index, std::string_view content)
{
   int32_t code = -52006;
   size_t position = 0;
   for (int i = 0; i <= index; ++i) {
      position = content.find(kOpening, position);
      if (position == std::string_view::npos) break;
      position += kOpening.size();
      lorvex_scanInteger(std::string(content.substr(position, kMostDigits)).c_str(), &code);
   }
   return code;
}
