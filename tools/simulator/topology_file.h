// Reads the file of a bench and tells every mistake in it.
#ifndef TOOLS_SIMULATOR_TOPOLOGY_FILE_H
#define TOOLS_SIMULATOR_TOPOLOGY_FILE_H

#include "tools/simulator/topology.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zerova::simulator {

struct Mistake
{
   std::string file;
   std::uint32_t line = 0; // from 1; 0: the file as a whole
   std::uint32_t column = 0;
   std::string text;

   // "bench.toml:25:20: text"
   std::string shown() const;
};

struct ReadTopology
{
   Topology topology; // of use only if there is no mistake
   std::vector<Mistake> mistakes;
};

// file: the name under which mistakes are told.
ReadTopology readTopology(std::string_view text, const std::string& file);
// The same for a file of the system. One that cannot be read is a mistake too.
ReadTopology readTopologyFile(const std::string& file);

// A fault as the command line gives it: the inside of one [[fault]], with commas between its members,
// with or without braces around. Appends it to the topology.
std::vector<Mistake> addFault(Topology& topology, const std::string& text);

} // namespace zerova::simulator

#endif
