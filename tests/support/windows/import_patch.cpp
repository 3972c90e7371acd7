#include "support/windows/import_patch.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include <windows.h>

namespace zerova::test {

namespace {

// A place in a loaded library, told as its distance from the beginning.
template <typename Type>
Type* at(HMODULE module, std::uintptr_t distance)
{
   return reinterpret_cast<Type*>(reinterpret_cast<std::uintptr_t>(module) + distance);
}

// Calls visit(name, entry) for each import that has a name, until it returns true.
template <typename Visit>
void visitImports(const char* library, Visit visit)
{
   const HMODULE module = GetModuleHandleA(library);
   if (!module) throw std::runtime_error(std::string(library) + " is not loaded");
   const auto* const dos = at<IMAGE_DOS_HEADER>(module, 0);
   const auto* const head =
      at<IMAGE_NT_HEADERS>(module, static_cast<std::uintptr_t>(dos->e_lfanew));
   const auto& table = head->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
   const auto* of = at<IMAGE_IMPORT_DESCRIPTOR>(module, table.VirtualAddress);
   for (; of->Name != 0; ++of) {
      const auto* name = at<IMAGE_THUNK_DATA>(module, of->OriginalFirstThunk);
      auto* entry = at<void*>(module, of->FirstThunk);
      for (; name->u1.AddressOfData != 0; ++name, ++entry) {
         if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
         const auto* const told = at<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData);
         if (visit(reinterpret_cast<const char*>(told->Name), entry)) return;
      }
   }
}

void** entryOf(const char* library, const char* name)
{
   void** found = nullptr;
   visitImports(library, [&](const std::string& imported, void** entry) {
      if (imported == name) found = entry;
      return found != nullptr;
   });
   if (!found)
      throw std::runtime_error(std::string(library ? library : "the program") +
                               " does not import " + name);
   return found;
}

void setEntry(void** entry, void* address)
{
   DWORD usual = 0;
   if (!VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &usual))
      throw std::runtime_error("an import cannot be replaced");
   *entry = address;
   VirtualProtect(entry, sizeof *entry, usual, &usual);
}

} // namespace

bool isLoaded(const char* library)
{
   return GetModuleHandleA(library) != nullptr;
}

std::vector<std::string> importsOf(const char* library)
{
   std::vector<std::string> names;
   visitImports(library, [&names](const char* name, void**) {
      names.emplace_back(name);
      return false;
   });
   return names;
}

bool isImported(const std::string& name, const char* library)
{
   const std::vector<std::string> names = importsOf(library);
   return std::find(names.begin(), names.end(), name) != names.end();
}

ImportPatch::ImportPatch(const char* name, void* replacement, const char* library)
   : entry_(entryOf(library, name))
   , original_(*entry_)
{
   setEntry(entry_, replacement);
}

ImportPatch::~ImportPatch()
{
   setEntry(entry_, original_);
}

} // namespace zerova::test
