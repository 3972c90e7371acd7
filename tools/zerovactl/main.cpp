// zerovactl: a tool for people at a bench.
#include "tools/zerovactl/arguments.h"
#include "tools/zerovactl/deadline.h"
#include "tools/zerovactl/output.h"
#include "tools/zerovactl/system.h"

#include "tools/support/process_start.h"

#include <exception>

namespace zerovactl {

namespace {

// Calls the work, and tells what it throws.
template <typename Work>
int endOf(Output& output, Work work)
{
   try {
      return work();
   } catch (const Failure& failure) {
      output.failure(failure);
      return failure.exitStatus;
   } catch (const ReaderGone&) {
      return kDone;
   } catch (const std::exception& error) {
      output.failure(Failure(kFailed, error.what()));
      return kFailed;
   }
}

int run(const std::vector<std::string>& arguments)
{
   std::string help;
   const auto invocation = parseArguments(arguments, help);
   if (!invocation) {
      Output output(false);
      output.text(help);
      output.flush();
      return kDone;
   }
   const Deadline deadline(invocation->timeout, invocation->asJson);
   Output output(invocation->asJson);
   // Within the time too: standard error may be what hangs.
   return endOf(output, [&] {
      Context context{output, invocation->target};
      const int status = invocation->run(context);
      output.flush();
      return status;
   });
}

} // namespace

} // namespace zerovactl

int main(int argc, char** argv)
{
   using namespace zerovactl;
   beginProcess();
   const auto arguments = zerova::tools::commandLine(argc, argv);
   Output output(asksForJson(arguments));
   return endOf(output, [&arguments] { return run(arguments); });
}
