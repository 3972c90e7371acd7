// What a program that is compiled without exceptions and without run-time types does with the library.
#ifndef TESTS_CPP_WITHOUT_EXCEPTIONS_H
#define TESTS_CPP_WITHOUT_EXCEPTIONS_H

#include <cstdint>
#include <string>

namespace zerova::test {

// What a chain of calls told: where it ended, and what the status held then.
struct Told
{
   bool failed;
   int32_t code;
   std::string json;
   std::string devices; // with a semicolon behind each
   std::string source;  // the first terminal of the first device that is one
};

// Lists the devices and the first source, and takes a route between the two terminals to
// programmed and back.
Told routeWithoutExceptions(const std::string& host, const char* source, const char* destination);
// The code of a call on a session that was closed.
int32_t codeOfAClosedSession();

} // namespace zerova::test

#endif
