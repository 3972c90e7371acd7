// without_namespaces COMMAND ARGUMENT...: runs the command where the system gives out no namespaces.
#include "tools/support/refused_namespaces.h"

#include <unistd.h>

#include <cstdio>

int main(int count, char** arguments)
{
   if (count < 2) {
      std::fputs("usage: without_namespaces COMMAND ARGUMENT...\n", stderr);
      return 2;
   }
   zerova::test::refuseNamespaces();
   ::execvp(arguments[1], arguments + 1);
   std::perror(arguments[1]);
   return 127;
}
