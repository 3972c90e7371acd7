// What the tests of the peers do as clients.
#ifndef TESTS_UNIT_SERVICE_CLIENT_H
#define TESTS_UNIT_SERVICE_CLIENT_H

#include "service/stream.h"

#include <cstddef>
#include <string>

namespace zerova::test {

// Reads until length bytes have come or the stream has ended.
inline std::string readUpTo(Stream& stream, std::size_t length)
{
   const StopSignal never;
   std::string bytes;
   char buffer[4096];
   while (bytes.size() < length) {
      const std::size_t wanted = std::min(sizeof buffer, length - bytes.size());
      const std::size_t count = stream.read(buffer, wanted, never);
      if (count == 0) break;
      bytes.append(buffer, count);
   }
   return bytes;
}

inline std::string readToEnd(Stream& stream)
{
   return readUpTo(stream, static_cast<std::size_t>(-1));
}

inline bool writeAll(Stream& stream, const std::string& bytes)
{
   const StopSignal never;
   return stream.write(bytes, never);
}

// An endpoint name that no other test uses.
inline std::string ownEndpointName()
{
   static int count = 0;
   return "peer-test-" + std::to_string(processNumber()) + "-" + std::to_string(count++);
}

} // namespace zerova::test

#endif
