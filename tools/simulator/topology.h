// A bench as its file describes it: devices, the lines that join them, rules and faults. Checked, so
// that whatever names another thing names one that is there.
#ifndef TOOLS_SIMULATOR_TOPOLOGY_H
#define TOOLS_SIMULATOR_TOPOLOGY_H

#include "tools/simulator/attributes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zerova::simulator {

struct Terminal
{
   std::string name;
   std::string kind;
   bool isSource = false;
   bool isDestination = false;
   Attributes attributes; // what the file says beyond that
};

// What routes can do to a signal at a device. No values: any.
struct Modifier
{
   std::string name;
   std::vector<Attribute> values;

   bool allows(const Attribute& value) const;
};

// A connection inside a device. Each end is a terminal of the device or a line that joins it.
struct Connection
{
   std::string from;
   std::string to;
};

struct Device
{
   std::string name;
   std::vector<std::string> aliases;
   std::vector<Modifier> modifiers;
   std::vector<Terminal> terminals;
   std::vector<Connection> connections; // none: every pair of one kind

   const Modifier* findModifier(std::string_view modifier) const;
   std::optional<std::size_t> findTerminal(std::string_view terminal) const;
};

// A wire on which devices meet.
struct Line
{
   std::string name;
   std::string kind;
   std::vector<std::size_t> devices;
   std::uint32_t routes = 1;   // that may use it at one time
   Attributes attributes = {}; // what the file says beyond that
};

// A terminal of the bench, as numbers.
struct Place
{
   std::size_t device;
   std::size_t terminal;

   bool operator==(const Place&) const = default;
};

// What holds for a route between two terminals.
struct RouteRule
{
   Place from;
   Place to;
   bool isForbidden = false;
   std::vector<std::size_t> via;   // lines that it passes, in this order
   std::vector<std::size_t> avoid; // lines that it does not pass
};

// What happens instead of an answer, or to it.
struct Fault
{
   enum class Action
   {
      kDelay,
      kError,
      kDrop,
      kHang,
      kCut,
      kGarbage
   };

   std::string method;              // empty: any
   bool isOfEachConnection = false; // each counts its own calls
   std::uint64_t after = 0;
   std::optional<std::uint64_t> times; // empty: every later one
   Action action = Action::kDrop;
   std::uint32_t delayMs = 0;
   std::int32_t code = 0;
   std::string json;
   std::string bytes;
};

const char* nameOf(Fault::Action action);

struct Topology
{
   std::vector<Device> devices;
   std::vector<Line> lines;
   std::vector<RouteRule> rules;
   std::vector<Fault> faults;

   // By name or alias, without regard to the case of the letters A to Z.
   std::optional<std::size_t> findDevice(std::string_view name) const;
   std::optional<std::size_t> findLine(std::string_view name) const;
   std::string uri(const Place& place) const;
};

} // namespace zerova::simulator

#endif
