// Descrambling of a read-out file: what descramble and process --raw have in common.
#pragma once

#include <CLI/CLI.hpp>
#include <ZelIMP.hpp>
#include <string>
#include <vector>

#include "io.hpp"

namespace tool {

struct Descrambling {
  std::string white, black;  // table files; empty: no correction
  zelimp::DescrambleOptions how;
};

// Adds its options to a command and returns them.
std::vector<CLI::Option*> add_descrambling(CLI::App& command, Descrambling& descrambling);

// Refuses options that do not go together. raw: the file to descramble. Throws Failure.
void check_descrambling(const std::string& raw, const Descrambling& descrambling);

// Reads the tables and descrambles. name: what messages call the read-out. Throws Failure.
Bytes descrambled(const std::string& name, const Bytes& raw, const Descrambling& descrambling, Progress& progress);

}  // namespace tool
