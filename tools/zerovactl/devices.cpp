#include "tools/zerovactl/commands.h"

#include <memory>

namespace zerovactl {

int devices(Context& context)
{
   context.output.progress("asking for the devices");
   Session session(context.target);
   const std::unique_ptr<char*, void (*)(char**)> names(session.call(zerovaapi_getRoutableDevices),
                                                        zerovaapi_destroyStringArray);
   Json list = Json::array();
   for (char** name = names.get(); *name; ++name) {
      list.push_back(*name);
      if (!context.output.asJson()) context.output.line(std::string(*name));
   }
   if (context.output.asJson()) context.output.document({{"devices", list}});
   return kDone;
}

} // namespace zerovactl
