// Leads the calls that the library makes of the system to functions of the test.
//
// A library calls what it imports through a table of addresses; its entries are replaced. Nothing
// but the library is affected, not even the program that it is loaded into.
#ifndef TESTS_SUPPORT_WINDOWS_IMPORT_PATCH_H
#define TESTS_SUPPORT_WINDOWS_IMPORT_PATCH_H

#include <string>
#include <utility>
#include <vector>

namespace zerova::test {

inline constexpr const char* kLibrary = "zerovaapi.dll";

bool isLoaded(const char* library);

// The names of all functions that a loaded library imports. Throws std::runtime_error if it is not
// loaded.
std::vector<std::string> importsOf(const char* library);

// Replaces one for as long as the object lives. One object at a time for a name.
class ImportPatch
{
public:
   // Throws std::runtime_error if the library is not loaded or does not import the name.
   template <typename Function>
   ImportPatch(const char* name, Function* replacement)
      : ImportPatch(name, reinterpret_cast<void*>(replacement))
   {
   }
   ImportPatch(const char* name, void* replacement);
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
