// To what the names are bound that a library asks for.
#ifndef TESTS_HOSTS_LOADED_BINDINGS_H
#define TESTS_HOSTS_LOADED_BINDINGS_H

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace zerova::test {

// Looks at the library, and at all that came with it, which was loaded since the object was made.
class LoadedBindings
{
public:
   LoadedBindings();

   // Those of all kinds.
   std::size_t count() const;

   // The names that the program itself supplies, those left out that the C and C++ libraries and
   // the compiler's have as well: of these a program may always have its own.
   std::vector<std::string> toTheProgramAlone() const;

private:
   std::set<std::string> before_;
};

} // namespace zerova::test

#endif
