// What the library holds of the system, counted at its own calls: the servers of a test are in the
// same process and hold handles too.
#ifndef TESTS_SUPPORT_WINDOWS_LIBRARY_HANDLES_H
#define TESTS_SUPPORT_WINDOWS_LIBRARY_HANDLES_H

#include "support/windows/import_patch.h"

#include <list>

namespace zerova::test {

// Counts from its construction on. One at a time.
class LibraryHandles
{
public:
   LibraryHandles();

   // Events, pipes, files, sockets, listings and keys that were opened and are not closed yet.
   int count() const;

private:
   std::list<ImportPatch> patches_;
};

} // namespace zerova::test

#endif
