// A host that exports, under every name of the library's own and of what is linked into it, a
// function that ends the process.
#include "hosts/host.h"

#include "support/library.h"

#include <algorithm>
#include <iterator>

namespace {

// One of each layer and of each library.
constexpr const char* kTraps[] = {
   "_ZN6apache6thrift12GlobalOutputE",
   "_ZN6apache6thrift9transport7TSocket4openEv",
   "_ZN6apache6thrift9transport19TTransportExceptionD0Ev",
   "_ZTVN6apache6thrift9transport19TTransportExceptionE",
   "_ZTIN6apache6thrift21TApplicationExceptionE",
   "_ZN6zerova11APIv1Client12reserveRouteEi",
   "zerovaapi_createSession",
   "lorvex_exported_create",
   "lua_newstate",
   "luaL_newstate",
   "luaopen_cjson",
   "luaopen_lfs",
};

} // namespace

std::string zerova::test::stateOfTheHost()
{
   const AnyFunction first = findFunction(nullptr, kTraps[0]);
   const auto isTrap = [first](const char* name) {
      return first && findFunction(nullptr, name) == first;
   };
   return std::all_of(std::begin(kTraps), std::end(kTraps), isTrap) ? "set" : "not set";
}

namespace {

using zerova::test::Host;

TEST_F(Host, HasItsTrapsSet)
{
   EXPECT_EQ(zerova::test::stateOfTheHost(), "set");
}

} // namespace
