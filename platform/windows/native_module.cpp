#include "platform/native_module.h"

#include "platform/windows/native_module_calls.h"
#include "platform/windows/wide_text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>
#include <windows.h>

#include <psapi.h>

namespace {

// A number of ours, told apart from the system's by its bit 29.
constexpr DWORD kHasInterpreter = 0x20000001;
constexpr std::string_view kHasInterpreterText =
   "native modules are not supported beside an interpreter of the host's or their own";

// No interpreter does without it, and no module that uses one.
constexpr const char* kInterpreter = "lua_gettop";

// What every copy of the interpreter says of itself. It tells of one that is linked into a module,
// whose functions nothing names.
constexpr std::string_view kMarks[] = {"$Lua: Lua 5.", "$LuaVersion: Lua 5."};

const IMAGE_NT_HEADERS* headersOf(HMODULE module)
{
   const auto* const base = reinterpret_cast<const BYTE*>(module);
   const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
   return reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
}

template <typename Entry>
const Entry* tableOf(HMODULE module, size_t number)
{
   const IMAGE_DATA_DIRECTORY& place = headersOf(module)->OptionalHeader.DataDirectory[number];
   if (place.Size == 0) return nullptr;
   return reinterpret_cast<const Entry*>(reinterpret_cast<const BYTE*>(module) +
                                         place.VirtualAddress);
}

bool isOfInterpreter(const char* name)
{
   const std::string_view text(name);
   return text.starts_with("lua_") || text.starts_with("luaL_");
}

// names: those that are asked for of one library, up to a zero.
bool asksInterpreter(HMODULE module, const IMAGE_THUNK_DATA* names)
{
   for (; names->u1.AddressOfData != 0; ++names) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* const base = reinterpret_cast<const BYTE*>(module);
      const auto* const import =
         reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
      if (isOfInterpreter(reinterpret_cast<const char*>(import->Name))) return true;
   }
   return false;
}

// Also of a library that the system loads at the first call into it, and that need not be here yet.
bool asksInterpreter(HMODULE module)
{
   const auto* const base = reinterpret_cast<const BYTE*>(module);
   const auto namesAt = [base](DWORD place) {
      return reinterpret_cast<const IMAGE_THUNK_DATA*>(base + place);
   };
   const auto* library = tableOf<IMAGE_IMPORT_DESCRIPTOR>(module, IMAGE_DIRECTORY_ENTRY_IMPORT);
   for (; library && library->Name != 0; ++library)
      if (library->OriginalFirstThunk != 0 &&
          asksInterpreter(module, namesAt(library->OriginalFirstThunk)))
         return true;
   const auto* late =
      tableOf<IMAGE_DELAYLOAD_DESCRIPTOR>(module, IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT);
   for (; late && late->DllNameRVA != 0; ++late)
      if (asksInterpreter(module, namesAt(late->ImportNameTableRVA))) return true;
   return false;
}

bool holdsInterpreter(HMODULE module)
{
   const IMAGE_NT_HEADERS* const headers = headersOf(module);
   const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(headers);
   for (WORD i = 0; i < headers->FileHeader.NumberOfSections; ++i) {
      const IMAGE_SECTION_HEADER& section = sections[i];
      if (!(section.Characteristics & IMAGE_SCN_MEM_READ) ||
          (section.Characteristics & IMAGE_SCN_MEM_EXECUTE))
         continue;
      const std::string_view content(reinterpret_cast<const char*>(module) + section.VirtualAddress,
                                     std::min(section.Misc.VirtualSize, section.SizeOfRawData));
      for (const std::string_view mark : kMarks)
         if (content.find(mark) != content.npos) return true;
   }
   return false;
}

// Whether any module of the process has the functions of an interpreter for others.
bool isInterpreterHere()
{
   constexpr DWORD kStep = 512;
   HMODULE* modules = nullptr;
   DWORD room = 0;
   DWORD size = 0;
   do {
      room = size + kStep * sizeof(HMODULE);
      std::free(modules);
      modules = static_cast<HMODULE*>(std::malloc(room));
      // Who cannot look assumes the worst.
      if (!modules || !K32EnumProcessModules(GetCurrentProcess(), modules, room, &size)) {
         std::free(modules);
         return true;
      }
   } while (size > room);
   const bool isHere = std::any_of(modules, modules + size / sizeof(HMODULE), [](HMODULE module) {
      return GetProcAddress(module, kInterpreter) != nullptr;
   });
   std::free(modules);
   return isHere;
}

// Loads without a box on the screen for what cannot be found.
HMODULE load(const wchar_t* path)
{
   DWORD before = 0;
   SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before);
   const HMODULE module = LoadLibraryW(path);
   const DWORD failure = module ? ERROR_SUCCESS : GetLastError();
   SetThreadErrorMode(before, nullptr);
   SetLastError(failure);
   return module;
}

void* refuse()
{
   SetLastError(kHasInterpreter);
   return nullptr;
}

} // namespace

void* platform_openNativeModule(const char* file)
{
   if (isInterpreterHere()) return refuse();
   wchar_t* const path = platform::widePathAlloc(file, "");
   if (!path) {
      SetLastError(errno == ENOMEM ? ERROR_NOT_ENOUGH_MEMORY : ERROR_MOD_NOT_FOUND);
      return nullptr;
   }
   // The system's own search knows one separator alone.
   for (wchar_t* unit = path; *unit != L'\0'; ++unit)
      if (*unit == L'/') *unit = L'\\';
   const HMODULE module = load(path);
   std::free(path);
   if (module && (asksInterpreter(module) || holdsInterpreter(module) || isInterpreterHere())) {
      FreeLibrary(module);
      return refuse();
   }
   return module;
}

unsigned long platform_nativeModuleFailure(unsigned long number, char* text, unsigned long size)
{
   if (number == kHasInterpreter) {
      const size_t length = kHasInterpreterText.copy(text, size - 1);
      text[length] = '\0';
      return static_cast<unsigned long>(length);
   }
   wchar_t wide[512];
   size_t length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr, number, 0, wide, DWORD{std::size(wide)}, nullptr);
   while (length > 0 && wide[length - 1] <= L' ')
      --length;
   platform::putUtf8(wide, length, text, size);
   return static_cast<unsigned long>(std::strlen(text));
}
