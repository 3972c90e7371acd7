// zerovactl: a tool for people at a bench.
#include "tools/zerovactl/arguments.h"
#include "tools/zerovactl/deadline.h"
#include "tools/zerovactl/output.h"
#include "tools/zerovactl/system.h"

#include <exception>

int main(int argc, char** argv)
{
   using namespace zerovactl;
   ignoreClosedPipes();
   bool asJson = false;
   try {
      std::string help;
      const auto invocation = parseArguments(argc, argv, help);
      if (!invocation) {
         Output output(false);
         output.text(help);
         output.flush();
         return kDone;
      }
      asJson = invocation->asJson;
      const Deadline deadline(invocation->timeout);
      Output output(asJson);
      Context context{output, invocation->target};
      const int status = invocation->run(context);
      output.flush();
      return status;
   } catch (const Failure& failure) {
      Output(asJson).message(failure.what());
      return failure.exitStatus;
   } catch (const ReaderGone&) {
      return kDone;
   } catch (const std::exception& error) {
      Output(asJson).message(error.what());
      return kFailed;
   }
}
