// A view need not end with a NUL.
#include "zerovaapi.hpp"

void use(zerovaapi::Session& session, zerovaapi::Status& status)
{
   session.terminals(std::string_view("timer1"), status);
}
