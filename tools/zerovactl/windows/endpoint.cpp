#include "tools/zerovactl/system.h"

#include "tools/support/utf8_path.h"

#include <windows.h>

namespace zerovactl {

using zerova::tools::pathOf;

namespace {

constexpr char kPrefix[] = "\\\\.\\pipe\\";

} // namespace

std::string endpointFolder()
{
   return "\\\\.\\pipe";
}

std::string endpointPath(const std::string& name)
{
   return kPrefix + name;
}

// To wait for an instance takes none from the service, and needs no right at the pipe.
std::vector<EndpointStep> lookAtEndpoint(const std::string& name)
{
   const std::string path = endpointPath(name);
   const bool isFree = WaitNamedPipeW(pathOf(path).c_str(), 1) != FALSE;
   const DWORD failure = isFree ? ERROR_SUCCESS : GetLastError();
   if (failure == ERROR_FILE_NOT_FOUND)
      return {{"endpoint", path, "not there", systemText(static_cast<int>(failure)),
               "start the service; if it runs, see its log"}};
   return {{"endpoint", path, isFree ? "there, a pipe" : "there, a pipe that is busy", {}, {}}};
}

EndpointStep refusedOpening(const std::string& name, int error)
{
   const std::string path = endpointPath(name);
   const std::string why = systemText(error);
   switch (error) {
   case ERROR_ACCESS_DENIED:
      return {"permission", path, "refused to this account", why,
              "the service's installation decides who may open its pipe"};
   case ERROR_FILE_NOT_FOUND:
      return {"connection", path, "gone", why, "the service has just ended; start it again"};
   default:
      return {"connection", path, "not open", why, "see the service's log"};
   }
}

std::string hintForFullQueue()
{
   return "it hangs or is overloaded; end it and start it again";
}

} // namespace zerovactl
