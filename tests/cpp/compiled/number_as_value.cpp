// A number would turn into a bool unseen.
#include "zerovaapi.hpp"

void use(zerovaapi::RouteAttributes& wish, zerovaapi::Status& status)
{
   wish.constraint("Line", 1, status);
}
