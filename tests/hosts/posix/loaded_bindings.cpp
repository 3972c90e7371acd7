#include "hosts/loaded_bindings.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdint>
#include <cstring>

namespace zerova::test {

namespace {

struct Binding
{
   std::string name;
   const void* address;
};

// Of one dynamic section, whose addresses the loader has made those of the process.
class DynamicSection
{
public:
   explicit DynamicSection(const link_map& library)
      : library_(library)
   {
   }

   void addBindings(std::vector<Binding>& bindings) const
   {
      addBindings(bindings, DT_RELA, value(DT_RELASZ));
      addBindings(bindings, DT_JMPREL, value(DT_PLTRELSZ));
   }

private:
   std::size_t value(Elf64_Sxword tag) const
   {
      for (const Elf64_Dyn* entry = library_.l_ld; entry->d_tag != DT_NULL; ++entry)
         if (entry->d_tag == tag) return entry->d_un.d_val;
      return 0;
   }

   template <typename Entry>
   const Entry* table(Elf64_Sxword tag) const
   {
      return reinterpret_cast<const Entry*>(value(tag));
   }

   void addBindings(std::vector<Binding>& bindings, Elf64_Sxword tag, std::size_t size) const
   {
      const auto* const symbols = table<Elf64_Sym>(DT_SYMTAB);
      const auto* const names = table<char>(DT_STRTAB);
      const auto* const relocations = table<Elf64_Rela>(tag);
      for (std::size_t i = 0; i < size / sizeof *relocations; ++i) {
         const Elf64_Rela& relocation = relocations[i];
         const Elf64_Sym& symbol = symbols[ELF64_R_SYM(relocation.r_info)];
         if (symbol.st_name == 0 || ELF64_ST_TYPE(symbol.st_info) == STT_TLS) continue;
         std::uintptr_t bound = 0;
         std::memcpy(&bound, reinterpret_cast<const void*>(library_.l_addr + relocation.r_offset),
                     sizeof bound);
         bound -= static_cast<std::uintptr_t>(relocation.r_addend);
         bindings.push_back({names + symbol.st_name, reinterpret_cast<const void*>(bound)});
      }
   }

   const link_map& library_;
};

// The list of all that is loaded begins with the program.
const link_map* firstLoaded()
{
   void* const program = dlopen(nullptr, RTLD_NOW);
   const link_map* first = nullptr;
   dlinfo(program, RTLD_DI_LINKMAP, &first);
   dlclose(program);
   return first;
}

std::vector<Binding> bindingsOfAllBut(const std::set<std::string>& loadedBefore)
{
   std::vector<Binding> bindings;
   for (const link_map* library = firstLoaded(); library; library = library->l_next)
      if (!loadedBefore.count(library->l_name)) DynamicSection(*library).addBindings(bindings);
   return bindings;
}

const void* baseOf(const void* address)
{
   Dl_info info;
   return address && dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

// Names that begin with two underscores are the compiler's, such as those of a sanitizer.
bool systemHas(const std::string& name)
{
   if (name.rfind("__", 0) == 0) return true;
   for (const char* const file : {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1"}) {
      void* const library = dlopen(file, RTLD_NOW | RTLD_NOLOAD);
      const bool found = library && dlsym(library, name.c_str());
      if (library) dlclose(library);
      if (found) return true;
   }
   return false;
}

} // namespace

LoadedBindings::LoadedBindings()
{
   for (const link_map* library = firstLoaded(); library; library = library->l_next)
      before_.insert(library->l_name);
}

std::size_t LoadedBindings::count() const
{
   return bindingsOfAllBut(before_).size();
}

std::vector<std::string> LoadedBindings::toTheProgramAlone() const
{
   const void* const program = baseOf(firstLoaded()->l_ld);
   std::vector<std::string> names;
   for (const Binding& binding : bindingsOfAllBut(before_))
      if (baseOf(binding.address) == program && !systemHas(binding.name))
         names.push_back(binding.name);
   return names;
}

} // namespace zerova::test
