// Leads the calls that the library, or the program, makes of the system to functions of the test.
//
// Either calls what it imports through a table of addresses of its own; its entries are replaced. The
// other is not affected.
#ifndef TESTS_SUPPORT_WINDOWS_IMPORT_PATCH_H
#define TESTS_SUPPORT_WINDOWS_IMPORT_PATCH_H

#include <string>
#include <utility>
#include <vector>

namespace zerova::test {

inline constexpr const char* kLibrary = "zerovaapi.dll";
inline constexpr const char* kProgram = nullptr; // as a library: with all that is linked into it

bool isLoaded(const char* library);

// The names of all functions that a loaded library imports. Throws std::runtime_error if it is not
// loaded.
std::vector<std::string> importsOf(const char* library);
bool isImported(const std::string& name, const char* library);

// Replaces one for as long as the object lives. Of two for one name the later goes first.
class ImportPatch
{
public:
   // Throws std::runtime_error if the library is not loaded or does not import the name.
   template <typename Function>
   ImportPatch(const char* name, Function* replacement, const char* library = kLibrary)
      : ImportPatch(name, reinterpret_cast<void*>(replacement), library)
   {
   }
   ImportPatch(const char* name, void* replacement, const char* library = kLibrary);
   ~ImportPatch();
   ImportPatch(const ImportPatch&) = delete;
   ImportPatch& operator=(const ImportPatch&) = delete;

   void* original() const { return original_; }

private:
   void** const entry_;
   void* const original_;
};

} // namespace zerova::test

#endif
