// The sentence of a failure.
#ifndef TESTS_UNIT_SERVICE_WHAT_FAILS_H
#define TESTS_UNIT_SERVICE_WHAT_FAILS_H

#include <stdexcept>
#include <string>

// Empty if the action succeeds.
template <typename Action>
std::string whatFails(Action action)
{
   try {
      action();
      return {};
   } catch (const std::runtime_error& error) {
      return error.what();
   }
}

#endif
