// An address of 127.0.0.0/8 that no other test uses, in this process or another.
#ifndef TESTS_SERVICE_LOOPBACK_ADDRESS_H
#define TESTS_SERVICE_LOOPBACK_ADDRESS_H

#include "service/stream.h"

#include <string>
#include <utility>

namespace zerova::test {

// The address is this object's until it is destroyed: one port of it is kept bound, which is how
// the tests that run at the same time find out whose it is. Every other port is free for the owner,
// so the locator can have its fixed port on each address. An address on which its owner starts
// nothing is a host where no one listens.
class LoopbackAddress
{
public:
   LoopbackAddress();

   const std::string& text() const { return text_; }

private:
   explicit LoopbackAddress(std::pair<std::string, ReservedAddress> taken);

   std::string text_;
   ReservedAddress reserved_;
};

} // namespace zerova::test

#endif
