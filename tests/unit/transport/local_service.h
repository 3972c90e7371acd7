// A local endpoint whose clients the test accepts itself, one by one.
#ifndef TESTS_UNIT_TRANSPORT_LOCAL_SERVICE_H
#define TESTS_UNIT_TRANSPORT_LOCAL_SERVICE_H

#include "service/stream.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// A pipe name, as TPipe takes it, under which nothing exists.
std::string unusedPipeName();
std::string fullPipeName(const std::string& name);

class LocalService
{
public:
   explicit LocalService(int backlog = zerova::test::Listener::kUsualBacklog);

   const std::string& name() const { return name_; }
   zerova::test::Stream accept(); // waits
   // Connects clients until there is no room for another. They stand ahead of all that come later.
   std::vector<zerova::test::Stream> fill() const;
   // The next client in the queue is one that this function connects, so no other waits.
   bool nobodyWaits();

   std::string read(zerova::test::Stream& stream, size_t count); // less at the end of the data
   std::string readToEnd(zerova::test::Stream& stream);
   void write(zerova::test::Stream& stream, std::string_view bytes);

private:
   std::string name_;
   zerova::test::Listener listener_;
   zerova::test::StopSignal never_;
};

#endif
