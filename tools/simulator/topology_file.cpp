#include "tools/simulator/topology_file.h"

#include "tools/simulator/calls.h"
#include "tools/simulator/terminal_uri.h"
#include "tools/support/near_name.h"
#include "tools/support/utf8_path.h"

#include <nlohmann/json.hpp>
#include <toml++/toml.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <set>
#include <sstream>
#include <system_error>
#include <tuple>
#include <utility>

namespace zerova::simulator {

namespace {

using tools::nearName;
using Names = std::vector<std::string>;

constexpr std::int64_t kVersion = 1;

// Attributes that every terminal has from elsewhere.
const Names kOwnAttributes = {"Name",   "Kind",  "IsSource", "IsDestination",
                              "IsLine", "InUse", "Owner"};

std::string inQuotes(std::string_view name)
{
   return "'" + std::string(name) + "'";
}

std::string hint(std::string_view meant, const Names& names)
{
   const std::string nearest = nearName(meant, names);
   return nearest.empty() ? "" : "; is " + inQuotes(nearest) + " meant?";
}

const char* nameOfType(toml::node_type type)
{
   switch (type) {
   case toml::node_type::string:
      return "a text";
   case toml::node_type::integer:
      return "an integer";
   case toml::node_type::floating_point:
      return "a number with a point";
   case toml::node_type::boolean:
      return "true or false";
   case toml::node_type::array:
      return "a list";
   case toml::node_type::table:
      return "a table";
   default:
      return "a date or time";
   }
}

bool isName(std::string_view text)
{
   return !text.empty() && std::ranges::none_of(text, [](char c) {
      const auto byte = static_cast<unsigned char>(c);
      return byte <= ' ' || byte == 0x7F || c == '/';
   });
}

// Reads one document. Each function tells what it finds wrong and goes on with the rest, so that all
// mistakes come out at once.
class Reader
{
public:
   Reader(std::string file, ReadTopology& out)
      : file_(std::move(file))
      , out_(out)
   {
   }

   void read(const toml::table& document)
   {
      requireKnownKeys(document, "the file",
                       {"zerova_topology", "device", "line", "connect", "route", "fault"});
      readVersion(document);
      eachTable(document, "device", [&](const toml::table& table) { readDevice(table); });
      eachTable(document, "line", [&](const toml::table& table) { readLine(table); });
      requireNoTerminalNamedLikeALine();
      eachTable(document, "connect", [&](const toml::table& table) { readConnect(table); });
      eachTable(document, "route", [&](const toml::table& table) { readRule(table); });
      eachTable(document, "fault", [&](const toml::table& table) { readFault(table); });
      std::ranges::stable_sort(out_.mistakes, {}, [](const Mistake& mistake) {
         return std::pair(mistake.line, mistake.column);
      });
   }

   void readFault(const toml::table& table)
   {
      requireKnownKeys(table, "a fault",
                       {"method", "after", "times", "each_connection", "delay_ms", "error", "drop",
                        "hang", "cut", "garbage"});
      Fault fault;
      if (const auto method = text(table, "method")) {
         fault.method = *method;
         if (std::ranges::find(methodNames(), *method) == methodNames().end())
            tell(*table.get("method"),
                 "the service has no method " + inQuotes(*method) + hint(*method, methodNames()));
      }
      fault.after = static_cast<std::uint64_t>(number(table, "after", 0, INT64_MAX).value_or(0));
      if (const auto times = number(table, "times", 1, INT64_MAX))
         fault.times = static_cast<std::uint64_t>(*times);
      fault.isOfEachConnection = flag(table, "each_connection").value_or(false);
      int actions = 0;
      readAnswers(table, fault, actions);
      for (const auto& [key, action] :
           {std::pair("drop", Fault::Action::kDrop), std::pair("hang", Fault::Action::kHang),
            std::pair("cut", Fault::Action::kCut)})
      {
         if (!table.contains(key)) continue;
         ++actions;
         fault.action = action;
         if (flag(table, key) == false)
            tell(*table.get(key), inQuotes(key) + " = false says nothing; leave it out");
      }
      if (actions != 1)
         tell(table,
              std::string("a fault does one of delay_ms, error, drop, hang, cut and garbage; "
                          "this one does ") +
                 (actions == 0 ? "none" : "several"));
      out_.topology.faults.push_back(std::move(fault));
   }

private:
   void tell(const toml::source_region& source, std::string text)
   {
      out_.mistakes.push_back({file_, source.begin.line, source.begin.column, std::move(text)});
   }
   void tell(const toml::node& node, std::string text) { tell(node.source(), std::move(text)); }

   void requireKnownKeys(const toml::table& table, const std::string& what, const Names& known)
   {
      for (const auto& [key, value] : table)
         if (std::ranges::find(known, key.str()) == known.end())
            tell(key.source(),
                 what + " has no key " + inQuotes(key.str()) + hint(key.str(), known));
   }

   template <typename Value>
   std::optional<Value> valueOf(const toml::table& table, const std::string& key,
                                const char* wanted)
   {
      const toml::node* node = table.get(key);
      if (!node) return std::nullopt;
      if (node->is<Value>()) return **node->as<Value>();
      tell(*node, inQuotes(key) + " must be " + wanted + ", and is " + nameOfType(node->type()));
      return std::nullopt;
   }
   std::optional<std::string> text(const toml::table& table, const std::string& key)
   {
      return valueOf<std::string>(table, key, "a text");
   }
   std::optional<bool> flag(const toml::table& table, const std::string& key)
   {
      return valueOf<bool>(table, key, "true or false");
   }
   std::optional<std::int64_t> number(const toml::table& table, const std::string& key,
                                      std::int64_t least, std::int64_t most)
   {
      const auto value = valueOf<std::int64_t>(table, key, "an integer");
      if (!value || (*value >= least && *value <= most)) return value;
      tell(*table.get(key), inQuotes(key) + " must be " +
                               (most == INT64_MAX ? std::to_string(least) + " or more"
                                                  : "from " + std::to_string(least) + " to " +
                                                       std::to_string(most)));
      return std::nullopt;
   }

   // The same, of a key that must be there.
   std::optional<std::string> neededText(const toml::table& table, const std::string& what,
                                         const std::string& key)
   {
      if (!table.contains(key)) tell(table, what + " has no " + inQuotes(key));
      return text(table, key);
   }

   // A name that can stand in a URI.
   std::optional<std::string> neededName(const toml::table& table, const std::string& what)
   {
      auto name = neededText(table, what, "name");
      if (!name || isName(*name)) return name;
      tell(*table.get("name"),
           "a name needs a letter and has no blank, slash or control character");
      return std::nullopt;
   }

   // Calls with each text of a list and where it stands. One text alone is a list of one.
   template <typename Use>
   void eachText(const toml::table& table, const std::string& key, Use use)
   {
      const toml::node* node = table.get(key);
      if (!node) return;
      if (const auto* one = node->as_string()) return use(**one, *node);
      const toml::array* list = node->as_array();
      if (!list) return tell(*node, inQuotes(key) + " must be a list of texts");
      for (const toml::node& element : *list)
         if (const auto* one = element.as_string())
            use(**one, element);
         else
            tell(element, inQuotes(key) + " must be a list of texts, and this is " +
                             nameOfType(element.type()));
   }

   template <typename Use>
   void eachTable(const toml::table& table, const std::string& key, Use use)
   {
      const toml::node* node = table.get(key);
      if (!node) return;
      const toml::array* list = node->as_array();
      if (!list) return tell(*node, inQuotes(key) + " must be a list of tables: [[" + key + "]]");
      for (const toml::node& element : *list)
         if (const auto* one = element.as_table())
            use(*one);
         else
            tell(element, inQuotes(key) + " must be a list of tables, and this is " +
                             nameOfType(element.type()));
   }

   void readVersion(const toml::table& document)
   {
      if (!document.contains("zerova_topology")) {
         out_.mistakes.push_back(
            {file_, 0, 0, "this is no topology: it has no zerova_topology = 1"});
         return;
      }
      const auto version = valueOf<std::int64_t>(document, "zerova_topology", "an integer");
      if (version && *version != kVersion)
         tell(*document.get("zerova_topology"),
              "format version " + std::to_string(*version) + " is not known; 1 is");
   }

   void readDevice(const toml::table& table)
   {
      requireKnownKeys(table, "a device", {"name", "aliases", "modifiers", "terminals"});
      Device device;
      if (const auto name = neededName(table, "the device")) {
         device.name = *name;
         requireNewDeviceName(*name, *table.get("name"));
      }
      eachText(table, "aliases", [&](const std::string& alias, const toml::node& node) {
         if (!isName(alias))
            tell(node, "a name needs a letter and has no blank, slash or control character");
         requireNewDeviceName(alias, node);
         device.aliases.push_back(alias);
      });
      readModifiers(table, device);
      eachTable(table, "terminals",
                [&](const toml::table& terminal) { readTerminal(terminal, device); });
      out_.topology.devices.push_back(std::move(device));
   }

   void requireNewDeviceName(const std::string& name, const toml::node& node)
   {
      if (!deviceNames_.insert(foldedDeviceName(name)).second)
         tell(node, "there is a device " + inQuotes(name) + " already (case does not count)");
   }

   void readModifiers(const toml::table& table, Device& device)
   {
      const toml::node* node = table.get("modifiers");
      if (!node) return;
      const toml::array* list = node->as_array();
      if (!list) return tell(*node, "'modifiers' must be a list");
      for (const toml::node& element : *list) {
         Modifier modifier;
         if (const auto* name = element.as_string())
            modifier.name = **name;
         else if (const auto* whole = element.as_table())
            readModifier(*whole, modifier);
         else {
            tell(element, std::string("a modifier is a text or a table, and this is ") +
                             nameOfType(element.type()));
            continue;
         }
         if (device.findModifier(modifier.name))
            tell(element, "the device has the modifier " + inQuotes(modifier.name) + " already");
         device.modifiers.push_back(std::move(modifier));
      }
   }

   void readModifier(const toml::table& table, Modifier& modifier)
   {
      requireKnownKeys(table, "a modifier", {"name", "values"});
      modifier.name = neededText(table, "the modifier", "name").value_or("");
      const toml::node* node = table.get("values");
      if (!node) return;
      const toml::array* list = node->as_array();
      if (!list || list->empty()) return tell(*node, "'values' must be a list of at least one");
      for (const toml::node& element : *list)
         if (const auto value = attributeFrom(element, "a value of a modifier"))
            modifier.values.push_back(*value);
   }

   std::optional<Attribute> attributeFrom(const toml::node& node, const std::string& what)
   {
      if (const auto* value = node.as_string()) return textAttribute(**value);
      if (const auto* value = node.as_boolean()) return boolAttribute(**value);
      tell(node, what + " is a text, true or false, and this is " + nameOfType(node.type()));
      return std::nullopt;
   }

   void readTerminal(const toml::table& table, Device& device)
   {
      static const Names kKeys = {"name", "kind", "source", "destination"};
      Terminal terminal;
      if (const auto name = neededName(table, "the terminal")) {
         terminal.name = *name;
         if (device.findTerminal(*name))
            tell(*table.get("name"), "the device " + inQuotes(device.name) + " has the terminal " +
                                        inQuotes(*name) + " already");
      }
      terminal.kind = neededText(table, "the terminal", "kind").value_or("");
      terminal.isSource = flag(table, "source").value_or(false);
      terminal.isDestination = flag(table, "destination").value_or(false);
      readAttributes(table, kKeys, terminal.attributes);
      device.terminals.push_back(std::move(terminal));
   }

   // Every key that is none of the file's.
   void readAttributes(const toml::table& table, const Names& keys, Attributes& attributes)
   {
      for (const auto& [key, node] : table) {
         const std::string name(key.str());
         if (std::ranges::find(keys, name) != keys.end()) continue;
         if (const std::string nearest = nearName(name, keys); !nearest.empty())
            tell(key.source(), "the attribute " + inQuotes(name) + " looks like the key " +
                                  inQuotes(nearest) + "; is that meant?");
         else if (std::ranges::find(kOwnAttributes, name) != kOwnAttributes.end())
            tell(key.source(), "every terminal has the attribute " + inQuotes(name) + " of itself");
         else if (const auto value = attributeFrom(node, "the attribute " + inQuotes(name)))
            attributes.emplace(name, *value);
      }
   }

   Names namesOfDevices() const
   {
      Names names;
      for (const Device& device : out_.topology.devices) {
         names.push_back(device.name);
         names.insert(names.end(), device.aliases.begin(), device.aliases.end());
      }
      return names;
   }

   Names namesOfLines() const
   {
      Names names;
      for (const Line& line : out_.topology.lines)
         names.push_back(line.name);
      return names;
   }

   void readLine(const toml::table& table)
   {
      static const Names kKeys = {"name", "kind", "joins", "routes"};
      Line line;
      readAttributes(table, kKeys, line.attributes);
      if (const auto name = neededName(table, "the line")) {
         line.name = *name;
         if (out_.topology.findLine(*name))
            tell(*table.get("name"), "there is a line " + inQuotes(*name) + " already");
      }
      line.kind = neededText(table, "the line", "kind").value_or("");
      line.routes = static_cast<std::uint32_t>(number(table, "routes", 1, 1000000).value_or(1));
      if (!table.contains("joins")) tell(table, "the line has no 'joins'");
      const std::size_t before = out_.mistakes.size();
      eachText(table, "joins", [&](const std::string& name, const toml::node& node) {
         const auto device = out_.topology.findDevice(name);
         if (!device)
            tell(node, "line " + inQuotes(line.name) + " joins the device " + inQuotes(name) +
                          ", which the file does not have" + hint(name, namesOfDevices()));
         else if (std::ranges::find(line.devices, *device) != line.devices.end())
            tell(node,
                 "line " + inQuotes(line.name) + " joins the device " + inQuotes(name) + " twice");
         else
            line.devices.push_back(*device);
      });
      if (table.contains("joins") && line.devices.empty() && out_.mistakes.size() == before)
         tell(*table.get("joins"), "line " + inQuotes(line.name) + " joins no device");
      out_.topology.lines.push_back(std::move(line));
   }

   // Clients see a line as a terminal of each device that it joins.
   void requireNoTerminalNamedLikeALine()
   {
      const Topology& topology = out_.topology;
      for (const Line& line : topology.lines)
         for (const std::size_t device : line.devices)
            if (topology.devices[device].findTerminal(line.name))
               out_.mistakes.push_back({file_, 0, 0,
                                        "the device " + inQuotes(topology.devices[device].name) +
                                           " has a terminal named like the line " +
                                           inQuotes(line.name) + " that joins it"});
   }

   std::optional<std::size_t> deviceNamed(const std::string& name, const toml::node& node)
   {
      const auto device = out_.topology.findDevice(name);
      if (!device)
         tell(node, "the file has no device " + inQuotes(name) + hint(name, namesOfDevices()));
      return device;
   }

   bool requireEnd(std::size_t index, const std::string& name, const toml::node& node)
   {
      const Device& device = out_.topology.devices[index];
      if (device.findTerminal(name)) return true;
      Names names;
      for (const Terminal& terminal : device.terminals)
         names.push_back(terminal.name);
      for (const Line& line : out_.topology.lines)
         if (std::ranges::find(line.devices, index) != line.devices.end()) {
            if (line.name == name) return true;
            names.push_back(line.name);
         }
      tell(node, "the device " + inQuotes(device.name) + " has no terminal and no line " +
                    inQuotes(name) + hint(name, names));
      return false;
   }

   void readConnect(const toml::table& table)
   {
      requireKnownKeys(table, "a connection", {"device", "from", "to"});
      const auto name = neededText(table, "the connection", "device");
      const auto device = name ? deviceNamed(*name, *table.get("device")) : std::nullopt;
      for (const char* end : {"from", "to"})
         if (!table.contains(end)) tell(table, "the connection has no " + inQuotes(end));
      if (!device) return;
      Names from;
      eachText(table, "from", [&](const std::string& end, const toml::node& node) {
         if (requireEnd(*device, end, node)) from.push_back(end);
      });
      eachText(table, "to", [&](const std::string& end, const toml::node& node) {
         if (!requireEnd(*device, end, node)) return;
         for (const std::string& start : from)
            if (start == end)
               tell(node, inQuotes(end) + " is connected to itself");
            else
               out_.topology.devices[*device].connections.push_back({start, end});
      });
   }

   std::optional<Place> neededPlace(const toml::table& table, const std::string& key)
   {
      const auto written = neededText(table, "the rule", key);
      if (!written) return std::nullopt;
      const toml::node& node = *table.get(key);
      const auto uri = parseTerminalUri(*written);
      if (!uri) {
         tell(node, inQuotes(*written) + " is no terminal's URI: \"/device/terminal\"");
         return std::nullopt;
      }
      const auto device = deviceNamed(uri->device, node);
      if (!device) return std::nullopt;
      const Device& owner = out_.topology.devices[*device];
      if (const auto terminal = owner.findTerminal(uri->terminal)) return Place{*device, *terminal};
      Names names;
      for (const Terminal& terminal : owner.terminals)
         names.push_back(terminal.name);
      tell(node, "the device " + inQuotes(owner.name) + " has no terminal " +
                    inQuotes(uri->terminal) + hint(uri->terminal, names));
      return std::nullopt;
   }

   void readLinesOfRule(const toml::table& table, const std::string& key,
                        std::vector<std::size_t>& lines)
   {
      eachText(table, key, [&](const std::string& name, const toml::node& node) {
         const auto line = out_.topology.findLine(name);
         if (!line)
            tell(node, "the file has no line " + inQuotes(name) + hint(name, namesOfLines()));
         else if (std::ranges::find(lines, *line) != lines.end())
            tell(node, "line " + inQuotes(name) + " stands in " + inQuotes(key) + " twice");
         else
            lines.push_back(*line);
      });
   }

   void readRule(const toml::table& table)
   {
      requireKnownKeys(table, "a rule", {"from", "to", "via", "avoid", "forbid"});
      const auto from = neededPlace(table, "from");
      const auto to = neededPlace(table, "to");
      RouteRule rule = {from.value_or(Place{}), to.value_or(Place{}), false, {}, {}};
      rule.isForbidden = flag(table, "forbid").value_or(false);
      readLinesOfRule(table, "via", rule.via);
      readLinesOfRule(table, "avoid", rule.avoid);
      for (const std::size_t line : rule.via)
         if (std::ranges::find(rule.avoid, line) != rule.avoid.end())
            tell(table, "the rule both passes and avoids the line " +
                           inQuotes(out_.topology.lines[line].name));
      if (rule.isForbidden && !rule.via.empty())
         tell(table, "the rule both forbids the route and says which way it goes");
      if (!rule.isForbidden && !table.contains("via") && !table.contains("avoid"))
         tell(table, "the rule says nothing: give it one of via, avoid and forbid");
      for (const RouteRule& other : out_.topology.rules)
         if (from && to && other.from == rule.from && other.to == rule.to)
            tell(table, "there is a rule for a route from " + out_.topology.uri(*from) + " to " +
                           out_.topology.uri(*to) + " already");
      if (from && to) out_.topology.rules.push_back(std::move(rule));
   }

   void readAnswers(const toml::table& table, Fault& fault, int& actions)
   {
      if (table.contains("delay_ms")) {
         ++actions;
         fault.action = Fault::Action::kDelay;
         fault.delayMs =
            static_cast<std::uint32_t>(number(table, "delay_ms", 0, 86400000).value_or(0));
      }
      if (const toml::node* node = table.get("error")) {
         ++actions;
         fault.action = Fault::Action::kError;
         if (const auto* error = node->as_table())
            readError(*error, fault);
         else
            tell(*node, "'error' must be a table: { code = -89307, json = '{}' }");
      }
      if (table.contains("garbage")) {
         ++actions;
         fault.action = Fault::Action::kGarbage;
         if (const auto digits = text(table, "garbage"))
            fault.bytes = bytesFrom(*digits, *table.get("garbage"));
      }
   }

   void readError(const toml::table& table, Fault& fault)
   {
      requireKnownKeys(table, "an error", {"code", "json"});
      if (!table.contains("code")) tell(table, "the error has no 'code'");
      fault.code =
         static_cast<std::int32_t>(number(table, "code", INT32_MIN, INT32_MAX).value_or(0));
      if (table.contains("code") && fault.code == 0)
         tell(*table.get("code"), "0 is the code of success");
      fault.json = text(table, "json").value_or("{}");
      if (table.contains("json") && !nlohmann::json::parse(fault.json, nullptr, false).is_object())
         tell(*table.get("json"), "'json' must be the text of a JSON object");
   }

   std::string bytesFrom(const std::string& digits, const toml::node& node)
   {
      static constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
      std::string bytes;
      for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
         const std::size_t high = kDigits.find(digits[i]);
         const std::size_t low = kDigits.find(digits[i + 1]);
         if (high == std::string_view::npos || low == std::string_view::npos) break;
         bytes += static_cast<char>((high & 15) << 4 | (low & 15));
      }
      if (bytes.empty() || bytes.size() * 2 != digits.size())
         tell(node, "'garbage' must be bytes of two hexadecimal digits each, such as \"00ff\"");
      return bytes;
   }

   const std::string file_;
   ReadTopology& out_;
   std::set<std::string> deviceNames_; // folded
};

Mistake mistakeFrom(const toml::parse_error& error, const std::string& file)
{
   const toml::source_position& place = error.source().begin;
   return {file, place.line, place.column, std::string(error.description())};
}

} // namespace

std::string Mistake::shown() const
{
   if (line == 0) return file + ": " + text;
   return file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + text;
}

ReadTopology readTopology(std::string_view text, const std::string& file)
{
   ReadTopology out;
   try {
      const toml::table document = toml::parse(text, file);
      Reader(file, out).read(document);
   } catch (const toml::parse_error& error) {
      out.mistakes.push_back(mistakeFrom(error, file));
   }
   return out;
}

ReadTopology readTopologyFile(const std::string& file)
{
   errno = 0;
   std::ifstream stream(tools::pathOf(file), std::ios::binary);
   std::ostringstream text;
   // A folder opens, and fails when it is read; an empty file gives nothing, which is no failure.
   if (stream) text << stream.rdbuf();
   const int error = errno;
   if (stream.is_open() && (text || error == 0)) return readTopology(text.str(), file);
   ReadTopology out;
   out.mistakes.push_back(
      {file, 0, 0, "cannot be read: " + std::generic_category().message(error)});
   return out;
}

std::vector<Mistake> addFault(Topology& topology, const std::string& text)
{
   static constexpr std::string_view kName = "--fault";
   ReadTopology out;
   const auto first = text.find_first_not_of(' ');
   const bool hasBraces = first != std::string::npos && text[first] == '{';
   try {
      const toml::table document =
         toml::parse("f = " + (hasBraces ? text : "{ " + text + " }"), kName);
      Reader(std::string(kName), out).readFault(*document["f"].as_table());
   } catch (const toml::parse_error& error) {
      out.mistakes.push_back(mistakeFrom(error, std::string(kName)));
   }
   // A place in a text that was put together says nothing to a reader.
   for (Mistake& mistake : out.mistakes) {
      mistake.line = 0;
      mistake.text += " (in " + inQuotes(text) + ")";
   }
   if (out.mistakes.empty()) topology.faults.push_back(std::move(out.topology.faults.front()));
   return out.mistakes;
}

} // namespace zerova::simulator
