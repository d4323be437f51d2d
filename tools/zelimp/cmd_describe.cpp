#include <memory>

#include "commands.hpp"
#include "exit_code.hpp"
#include "io.hpp"

namespace tool {
namespace {

struct Options {
  std::string scan, output, description;
  Common common;
};

void run(const Options& options) {
  check_targets({options.output}, options.common.force);

  Progress progress(options.common.verbose);
  const std::string name = input_name(options.scan);
  const Bytes scan = read_file(options.scan);
  progress.step("read " + name + ", " + std::to_string(scan.size()) + " bytes");
  std::vector<Output> outputs;
  outputs.push_back(
      {options.output, about(name, [&] { return zelimp::save_with_description(scan, options.description); })});
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
}

}  // namespace

void add_describe(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("describe", "Write a scan afresh with another description");
  command.add_option("SCAN", options->scan, "Scan, - standard input")->required();
  command.add_option("-o,--output", options->output, "Scan to write, - standard output")->required();
  command.add_option("--description", options->description, "ImageDescription text, such as the code line read")
      ->required();
  add_common(command, options->common);
  command.footer(
      "Example:\n"
      "  zelimp describe scan.tif -o coded.tif --description \"0012345 000-1234 42\"\n"
      "Size, resolution and the texts of maker, model and software stay; other tags do not. In the flat interface "
      "this\n"
      "is ZelIMPSaveMICR; ZelIMPLoadTIFF there gives a bitmap in memory.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
