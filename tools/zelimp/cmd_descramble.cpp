#include <algorithm>
#include <memory>

#include "commands.hpp"
#include "exit_code.hpp"
#include "io.hpp"

namespace tool {
namespace {

struct Options {
  std::string raw, output, white, black;
  zelimp::DescrambleOptions how;
  Common common;
};

void check_length(const std::string& path, std::size_t entries, std::uint64_t needed) {
  if (entries == needed) return;
  throw Failure(Exit::malformed, input_name(path) + ": a table of " + std::to_string(entries) +
                                     " entries, the scan needs " + std::to_string(needed));
}

std::string size_of(const zelimp::Scan& scan) {
  return std::to_string(scan.width) + " x " + std::to_string(scan.height) + " pixels, bit depth " +
         std::to_string(scan.bit_depth);
}

void run(const Options& options) {
  if (options.white.empty() != options.black.empty()) {
    throw Failure(Exit::usage, "--white and --black go together");
  }
  check_sources({options.raw, options.white, options.black});
  check_targets({options.output}, options.common.force);

  Progress progress(options.common.verbose);
  const std::string name = input_name(options.raw);
  const Bytes raw = read_file(options.raw);
  zelimp::DescrambleOptions how = options.how;
  std::vector<std::uint16_t> white;
  std::vector<std::uint16_t> black;
  about(name, [&] {
    const zelimp::Scan scan = zelimp::read_scan(raw);
    progress.step("read " + name + ", " + std::to_string(raw.size()) + " bytes, " + size_of(scan));
    if (options.white.empty()) return;
    const bool colour = scan.bit_depth == 24;
    std::uint64_t entries = scan.width;
    if (colour && !how.swap_sides) entries = std::max(entries, std::uint64_t{scan.height} * (scan.width / 2));
    white = read_table(options.white);
    black = read_table(options.black);
    check_length(options.white, white.size(), colour ? 3 * entries : entries);
    check_length(options.black, black.size(), entries);
  });
  how.white = white;
  how.black = black;
  std::vector<Output> outputs;
  outputs.push_back({options.output, about(name, [&] { return zelimp::descramble(raw, how); })});
  const Bytes& result = outputs[0].bytes;
  progress.step("descrambled to " + size_of(zelimp::inspect(result)));
  write_outputs(outputs, options.common.force);
  progress.step("wrote " + options.output + ", " + std::to_string(result.size()) + " bytes");
}

}  // namespace

void add_descramble(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("descramble", "Bring the device's raw read-out into ordinary rows");
  command.add_option("RAW", options->raw, "Raw read-out, - standard input")->required();
  command.add_option("-o,--output", options->output, "Scan to write, - standard output")->required();
  command.add_option("--lag", options->how.lag, "Lines by which channel B lags [0]")->check(between(0u, 4294967295u));
  command.add_option("--white", options->white,
                     "White table: 16-bit little-endian levels, in colour plane after plane");
  command.add_option("--black", options->black, "Black table");
  command.add_option("--halve", options->how.halve, "Grey: 0 all raw lines, 1 the odd, 2 the even ones only [0]")
      ->check(between(0, 2));
  add_layout(command, options->how.swap_sides, options->how.tarsis_7200);
  add_common(command, options->common);
  command.footer(
      "Examples:\n"
      "  zelimp descramble raw.tif -o scan.tif --lag 8 --white white.u16 --black black.u16\n"
      "  zelimp descramble - -o - < raw.tif | zelimp process - -o front.tif --side front\n"
      "A table has an entry for each pixel of a line, the white one in colour for each sample; in colour with\n"
      "--swap-sides 0 its indices run on from line to line, which takes rows * width / 2 entries a plane.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
