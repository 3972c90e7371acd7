/* A program that another compiler's linker makes, with its kind of import library and no runtime. */
#include "zerovaapi.h"

int begin(void);

int begin(void)
{
   zerovaapi_destroySession(NULL);
   return (int)zerovaapi_DeviceContainer_begin(NULL) + 42;
}
