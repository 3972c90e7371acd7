// Two owners of one session would close it twice.
#include "zerovaapi.hpp"

void use(zerovaapi::Session& session)
{
   zerovaapi::Session other = session;
}
