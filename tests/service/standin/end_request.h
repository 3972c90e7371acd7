// How a program that serves learns that it shall end.
#ifndef TESTS_SERVICE_STANDIN_END_REQUEST_H
#define TESTS_SERVICE_STANDIN_END_REQUEST_H

#include "service/stream.h"

namespace zerova::standin {

// Make it before the first thread is started. From then on the signals that ask a program to end
// (interrupt, terminate; what a console tells its programs) no longer kill it.
class EndRequest
{
public:
   EndRequest();
   ~EndRequest();
   EndRequest(const EndRequest&) = delete;
   EndRequest& operator=(const EndRequest&) = delete;

   // Returns when standard input has ended or one of the signals has come. May be called once.
   void wait();
   // Returns when one of the signals has come, whatever becomes of the input.
   void waitForSignal();

private:
   test::NativeHandle handle_;
};

} // namespace zerova::standin

#endif
