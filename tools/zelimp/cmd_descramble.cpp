#include <memory>

#include "commands.hpp"
#include "descrambling.hpp"
#include "io.hpp"

namespace tool {
namespace {

struct Options {
  std::string raw, output;
  Descrambling descrambling;
  Common common;
};

void run(const Options& options) {
  check_descrambling(options.raw, options.descrambling);
  check_targets({options.output}, options.common.force);

  Progress progress(options.common.verbose);
  const Bytes raw = read_file(options.raw);
  std::vector<Output> outputs;
  outputs.push_back({options.output, descrambled(input_name(options.raw), raw, options.descrambling, progress)});
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
}

}  // namespace

void add_descramble(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("descramble", "Bring the device's raw read-out into ordinary rows");
  command.add_option("RAW", options->raw, "Raw read-out, - standard input")->required();
  command.add_option("-o,--output", options->output, "Scan to write, - standard output")->required();
  add_descrambling(command, options->descrambling);
  add_common(command, options->common);
  command.footer(
      "Examples:\n"
      "  zelimp descramble raw.tif -o scan.tif --lag 8 --white white.u16 --black black.u16\n"
      "  zelimp descramble - -o - < raw.tif | zelimp process - -o front.tif --side front\n"
      "A table has an entry for each pixel of a line, the white one in colour for each sample; in colour with\n"
      "--swap-sides 0 its indices run on from line to line, which takes rows * width / 2 entries a plane.\n"
      "process --raw descrambles and processes in one go.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
