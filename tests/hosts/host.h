// A program that loads the library and has things of its own that the library must leave alone.
// Each kind of host supplies what is declared here, and the tests of host_test.cpp hold for all.
#ifndef TESTS_HOSTS_HOST_H
#define TESTS_HOSTS_HOST_H

#include "faults/child_service.h"
#include "hosts/tour.h"
#include "service/loopback_address.h"

#include <gtest/gtest.h>

#include <string>

namespace zerova::test {

// Uses what the host has of its own and tells how it fared. The text is the same each time.
std::string stateOfTheHost();

// Begins with a service, in another process, that all tours are taken on.
class Host : public testing::Test
{
protected:
   Host() { service_.start(); }

   const char* serviceHost() const { return address_.text().c_str(); }
   void killService() { service_.kill(); }

   // Both rounds of a tour, which must succeed.
   void takeWholeTour() const { EXPECT_STREQ(takeTour(ZEROVAAPI_LIBRARY, serviceHost()), ""); }

private:
   LoopbackAddress address_;
   ChildService service_{ChildScript::touring, address_.text()};
};

} // namespace zerova::test

#endif
