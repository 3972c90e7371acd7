// Without exceptions a call that can fail needs a status.
#include "zerovaapi.hpp"

void use(zerovaapi::Session& session)
{
   session.devices();
}
