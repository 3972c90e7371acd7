/* A program that another compiler and its linker make, with no runtime of theirs. */
#include "exports/abi_layout.h"

#define HOLD(what, value, expected) _Static_assert((value) == (expected), what);
#define ROW(...) HOLD(__VA_ARGS__)
ABI_LAYOUT(ROW)

int begin(void);

static bool QUELERR_CALL refuse(quelerr_Status* status, uint32_t capacity)
{
   (void)status;
   (void)capacity;
   return false;
}

int begin(void)
{
   quelerr_Status status = {0, 0, refuse, NULL};
   zerovaapi_RouteAttributes attributes;

   attributes = zerovaapi_RouteAttributes_new(&status);
   zerovaapi_RouteAttributes_setLifetime(attributes, zerovaapi_kLifetimeImmediate, &status);
   zerovaapi_RouteAttributes_destroy(attributes);
   return attributes && status.code == 0 ? 42 : 1;
}
