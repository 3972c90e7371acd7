// Failures that are thrown: what a program may write.
#include "zerovaapi.hpp"

#include <algorithm>
#include <iostream>
#include <string>
#include <type_traits>

static_assert(!std::is_copy_constructible_v<zerovaapi::Session>);
static_assert(!std::is_copy_constructible_v<zerovaapi::Route>);
static_assert(!std::is_copy_constructible_v<zerovaapi::RouteAttributes>);
static_assert(!std::is_copy_constructible_v<zerovaapi::Translator>);
static_assert(!std::is_copy_constructible_v<zerovaapi::Terminals>);
static_assert(std::is_nothrow_move_constructible_v<zerovaapi::Session>);
static_assert(std::is_nothrow_move_constructible_v<zerovaapi::Route>);
static_assert(std::is_nothrow_move_assignable_v<zerovaapi::Status>);
static_assert(std::is_nothrow_copy_constructible_v<zerovaapi::Error>);
static_assert(std::is_nothrow_destructible_v<zerovaapi::Route>);
#if __cplusplus >= 202002L
#include <ranges>
static_assert(std::ranges::input_range<zerovaapi::Terminals>);
static_assert(std::ranges::input_range<const zerovaapi::TerminalRange>);
static_assert(std::ranges::input_range<zerovaapi::Devices>);
static_assert(std::ranges::input_range<zerovaapi::DeviceNames>);
static_assert(std::ranges::input_range<const zerovaapi::DetailRows>);
static_assert(std::ranges::input_range<zerovaapi::DetailValues>);
#endif

int main()
try {
   auto session = zerovaapi::Session::local();
   const zerovaapi::DeviceNames devices = session.devices();
   const std::string name = "timer1";
   const bool isThere = std::find(devices.begin(), devices.end(), name) != devices.end();
   for (auto terminal : session.terminals(name, {"Name", "IsSource"}))
      std::cout << terminal.text("Name").value_or("?")
                << terminal.flag("IsSource").value_or(isThere);
   zerovaapi::RouteAttributes wish;
   wish.constraint("Line", name)
      .requiredModifier("Invert", true)
      .lifetime(zerovaapi::Lifetime::session);
   auto route = session.calculate("/timer1/pulse", "/digitizer3/start", &wish);
   route.reserve().program().end();
   zerovaapi::Status status; // one call is told
   return session.isDebug(status) ? 0 : 1;
} catch (const zerovaapi::Error& error) {
   zerovaapi::Translator translator(zerovaapi::Translator::settingsFor("/usr/share/texts"));
   std::cerr << translator.describe(error, zerovaapi::Language::german) << error.json()
             << error.what();
   for (const auto row : translator.detailRows(error, zerovaapi::Language::german))
      if (!row.isDebug()) std::cerr << row.heading() << row.values().empty() << row;
   return error.code();
}
