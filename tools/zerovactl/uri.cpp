#include "tools/zerovactl/commands.h"

namespace zerovactl {

int checkUri(Context& context, const std::string& uri)
{
   Session session(context.target);
   const bool isValid = session.call(zerovaapi_validateTerminalURI, uri.c_str());
   if (context.output.asJson())
      context.output.document({{"uri", uri}, {"valid", isValid}});
   else
      context.output.line(uri + (isValid ? "  valid" : "  not valid"));
   return isValid ? kDone : kNo;
}

int compareUris(Context& context, const std::string& left, const std::string& right)
{
   Session session(context.target);
   const bool areEqual = session.call(zerovaapi_areTerminalURIsEqual, left.c_str(), right.c_str());
   if (context.output.asJson())
      context.output.document({{"uris", {left, right}}, {"equal", areEqual}});
   else
      context.output.line(areEqual ? "one terminal" : "two terminals");
   return areEqual ? kDone : kNo;
}

} // namespace zerovactl
