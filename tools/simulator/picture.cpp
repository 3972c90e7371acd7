#include "tools/simulator/picture.h"

#include "tools/support/utf8_path.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace zerova::simulator {

using tools::pathOf;

namespace {

// A large bench takes Graphviz seconds. At the end somebody waits for it.
constexpr std::chrono::seconds kPicture{60};
constexpr std::chrono::seconds kLastPicture{5};

// In a quoted text; in the label of a record some more signs mean something.
std::string escaped(const std::string& text, bool isRecord = false)
{
   std::string out;
   for (const char c : text) {
      const bool isSpecial =
         isRecord && std::string_view("{}|<> ").find(c) != std::string_view::npos;
      if (c == '"' || c == '\\' || isSpecial) out += '\\';
      out += c;
   }
   return out;
}

std::string idOf(const Bench& bench, Node node)
{
   const RouteSearch& search = bench.search();
   if (search.isLine(node)) return "line" + std::to_string(search.lineOf(node));
   const Place place = search.placeOf(node);
   return "device" + std::to_string(place.device) + ":t" + std::to_string(place.terminal);
}

// One colour for each route, so that crossing ones can be told apart.
const char* colourOf(Ticket ticket)
{
   static constexpr std::array kColours = {"#c2410c", "#1d4ed8", "#15803d",
                                           "#7e22ce", "#b91c1c", "#0e7490"};
   return kColours.at(static_cast<std::size_t>(ticket) % kColours.size());
}

std::string devicesOf(const Topology& topology)
{
   std::string text;
   for (std::size_t i = 0; i < topology.devices.size(); ++i) {
      const Device& device = topology.devices[i];
      text += "  device" + std::to_string(i) + " [label=\"" + escaped(device.name, true);
      for (std::size_t j = 0; j < device.terminals.size(); ++j)
         text += "|<t" + std::to_string(j) + "> " + escaped(device.terminals[j].name, true);
      text += "\"];\n";
   }
   return text;
}

std::string linesOf(const Topology& topology)
{
   std::string text;
   for (std::size_t i = 0; i < topology.lines.size(); ++i) {
      const Line& line = topology.lines[i];
      const std::string id = "line" + std::to_string(i);
      text += "  " + id + " [shape=box, style=\"rounded,filled\", fillcolor=\"#e5e7eb\", label=\"" +
              escaped(line.name) + "\"];\n";
      for (const std::size_t device : line.devices)
         text +=
            "  device" + std::to_string(device) + " -> " + id + " [dir=none, color=\"#9ca3af\"];\n";
   }
   return text;
}

std::string connectionsOf(const Bench& bench)
{
   const Topology& topology = bench.topology();
   std::string text;
   for (std::size_t i = 0; i < topology.devices.size(); ++i)
      for (const Connection& connection : topology.devices[i].connections) {
         const auto id = [&](const std::string& name) {
            const auto terminal = topology.devices[i].findTerminal(name);
            return idOf(bench, terminal ? bench.search().nodeOf({i, *terminal})
                                        : bench.search().nodeOfLine(*topology.findLine(name)));
         };
         text += "  " + id(connection.from) + " -> " + id(connection.to) +
                 " [color=\"#9ca3af\", style=dotted];\n";
      }
   return text;
}

std::string routesOf(const Bench& bench)
{
   std::string text;
   for (const auto& [ticket, route] : bench.routes()) {
      if (!route.isHeld()) continue;
      const bool isProgrammed = route.state == RouteState::PROGRAMMED;
      for (std::size_t i = 0; i < route.way.devices.size(); ++i)
         text += "  " + idOf(bench, route.way.nodes[i]) + " -> " +
                 idOf(bench, route.way.nodes[i + 1]) + " [constraint=false, penwidth=2, color=\"" +
                 colourOf(ticket) + "\"" + (isProgrammed ? "" : ", style=dashed") +
                 (i == 0 ? ", label=\"" + std::to_string(ticket) + "\"" : "") + "];\n";
   }
   return text;
}

// Whoever reads the file meanwhile sees the old one or the new one.
void putInPlace(const std::string& beside, const std::string& file)
{
   std::error_code error;
   std::filesystem::rename(pathOf(beside), pathOf(file), error);
   if (!error) return;
   std::error_code ignored;
   std::filesystem::remove(pathOf(beside), ignored);
   throw std::runtime_error("cannot write " + file + ": " + error.message());
}

void writeWhole(const std::string& text, const std::string& file)
{
   const std::string beside = file + ".new";
   {
      std::ofstream stream(pathOf(beside), std::ios::binary);
      stream << text;
      stream.close();
      if (!stream)
         throw std::runtime_error("cannot write " + beside + ": " +
                                  std::generic_category().message(errno));
   }
   putInPlace(beside, file);
}

bool endsWith(const std::string& text, std::string_view end)
{
   return std::string_view(text).ends_with(end);
}

} // namespace

std::string dotOf(const Bench& bench)
{
   return "digraph bench {\n"
          "  rankdir=LR;\n"
          "  node [shape=record, fontname=\"sans-serif\", fontsize=11];\n"
          "  edge [fontname=\"sans-serif\", fontsize=9, arrowsize=0.6];\n" +
          devicesOf(bench.topology()) + linesOf(bench.topology()) + connectionsOf(bench) +
          routesOf(bench) + "}\n";
}

bool isPictureName(const std::string& file)
{
   return endsWith(file, ".dot") || endsWith(file, ".svg");
}

std::string writePicture(const std::string& dot, const std::string& file, const Patience& patience)
{
   if (endsWith(file, ".dot")) {
      writeWhole(dot, file);
      return {};
   }
   const std::string text = file.substr(0, file.size() - 4) + ".dot";
   const std::string source = file + ".dot.new";
   const std::string picture = file + ".new";
   writeWhole(dot, source);
   Drawing outcome = Drawing::kFailed;
   std::string why;
   try {
      outcome = drawByGraphviz(source, picture, patience);
   } catch (const std::runtime_error& error) {
      why = std::string(" (") + error.what() + ")";
   }
   std::error_code ignored;
   if (outcome == Drawing::kDone) {
      std::filesystem::remove(pathOf(source), ignored);
      putInPlace(picture, file);
      return {};
   }
   std::filesystem::remove(pathOf(picture), ignored);
   putInPlace(source, text);
   switch (outcome) {
   case Drawing::kNoGraphviz:
      return "Graphviz is not installed (package graphviz), so " + text +
             " has the text that it would draw";
   case Drawing::kTookTooLong:
      throw std::runtime_error("Graphviz took too long and was ended; " + text +
                               " has the text that it should have drawn");
   default:
      throw std::runtime_error("Graphviz failed" + why + "; " + text +
                               " has the text that it should have drawn");
   }
}

Painter::Painter(std::string file, std::function<void(const std::string&)> say)
   : file_(std::move(file))
   , say_(std::move(say))
   , thread_([this] { paint(); })
{
}

Painter::~Painter()
{
   {
      const std::lock_guard lock(mutex_);
      isEnding_ = true;
      if (patience_) patience_->endWithin(kLastPicture);
   }
   changed_.notify_all();
   thread_.join();
}

void Painter::draw(std::string dot)
{
   {
      const std::lock_guard lock(mutex_);
      due_ = std::move(dot);
   }
   changed_.notify_all();
}

void Painter::paint()
{
   std::string said;
   for (;;) {
      std::string dot;
      {
         std::unique_lock lock(mutex_);
         changed_.wait(lock, [&] { return due_ || isEnding_; });
         if (!due_) return;
         dot = std::move(*due_);
         due_.reset();
         patience_.emplace(isEnding_ ? kLastPicture : kPicture);
      }
      std::string sentence;
      try {
         sentence = writePicture(dot, file_, *patience_);
      } catch (const std::exception& error) {
         sentence = error.what();
      }
      if (!sentence.empty() && sentence != said) say_(sentence);
      said = sentence;
   }
}

} // namespace zerova::simulator
