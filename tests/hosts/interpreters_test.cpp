// The interpreters as they are installed, each in a process of its own.
#include "hosts/host.h"

#include <array>
#include <cstdio>

namespace {

using zerova::test::Host;

// What a command wrote, on both streams, and how it ended when it did not end well.
std::string outputOf(const std::string& command)
{
   FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
   if (!pipe) return "could not be started";
   std::string output;
   std::array<char, 4096> piece;
   while (const size_t length = fread(piece.data(), 1, piece.size(), pipe))
      output.append(piece.data(), length);
   const int result = pclose(pipe);
   return result == 0 ? output : output + "ended with " + std::to_string(result);
}

class Interpreter : public Host
{
protected:
   std::string tour(const std::string& interpreter, const std::string& script,
                    const std::string& module = "") const
   {
      return outputOf(HOST_ENVIRONMENT " " + interpreter + " " HOST_SCRIPTS "/" + script +
                      " " ZEROVAAPI_LIBRARY " " + serviceHost() + " " + module);
   }
};

TEST_F(Interpreter, LuaTakesTheTourInANativeModule)
{
   EXPECT_EQ(tour(HOST_LUA, "tour.lua", HOST_LUA_MODULE), "toured from Lua 5.4\n");
}

TEST_F(Interpreter, PythonTakesTheTourInAScript)
{
   EXPECT_EQ(tour(HOST_PYTHON, "tour.py"), "toured from Python\n");
}

} // namespace
