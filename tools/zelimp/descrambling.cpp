#include "descrambling.hpp"

#include <algorithm>

#include "commands.hpp"
#include "exit_code.hpp"

namespace tool {
namespace {

void check_length(const std::string& path, std::size_t entries, std::uint64_t needed) {
  if (entries == needed) return;
  throw Failure(Exit::malformed, input_name(path) + ": a table of " + std::to_string(entries) +
                                     " entries, the scan needs " + std::to_string(needed));
}

std::string size_of(const zelimp::Scan& scan) {
  return std::to_string(scan.width) + " x " + std::to_string(scan.height) + " pixels, bit depth " +
         std::to_string(scan.bit_depth);
}

}  // namespace

std::vector<CLI::Option*> add_descrambling(CLI::App& command, Descrambling& descrambling) {
  zelimp::DescrambleOptions& how = descrambling.how;
  std::vector<CLI::Option*> added = {
      command.add_option("--lag", how.lag, "Lines by which channel B lags [0]")->check(between(0u, 4294967295u)),
      command.add_option("--white", descrambling.white,
                         "White table: 16-bit little-endian levels, in colour plane after plane"),
      command.add_option("--black", descrambling.black, "Black table"),
      command.add_option("--halve", how.halve, "Grey: 0 all raw lines, 1 the odd, 2 the even ones only [0]")
          ->check(between(0, 2))};
  for (CLI::Option* option : add_layout(command, how.swap_sides, how.tarsis_7200)) added.push_back(option);
  return added;
}

void check_descrambling(const std::string& raw, const Descrambling& descrambling) {
  if (descrambling.white.empty() != descrambling.black.empty()) {
    throw Failure(Exit::usage, "--white and --black go together");
  }
  check_sources({raw, descrambling.white, descrambling.black});
}

Bytes descrambled(const std::string& name, const Bytes& raw, const Descrambling& descrambling, Progress& progress) {
  zelimp::DescrambleOptions how = descrambling.how;
  std::vector<std::uint16_t> white;
  std::vector<std::uint16_t> black;
  about(name, [&] {
    const zelimp::Scan scan = zelimp::read_scan(raw);
    progress.step("read " + name + ", " + std::to_string(raw.size()) + " bytes, " + size_of(scan));
    if (descrambling.white.empty()) return;
    const bool colour = scan.bit_depth == 24;
    std::uint64_t entries = scan.width;
    if (colour && !how.swap_sides) entries = std::max(entries, std::uint64_t{scan.height} * (scan.width / 2));
    white = read_table(descrambling.white);
    black = read_table(descrambling.black);
    check_length(descrambling.white, white.size(), colour ? 3 * entries : entries);
    check_length(descrambling.black, black.size(), entries);
  });
  how.white = white;
  how.black = black;
  Bytes scan = about(name, [&] { return zelimp::descramble(raw, how); });
  progress.step("descrambled to " + size_of(zelimp::inspect(scan)));
  return scan;
}

}  // namespace tool
