#include <memory>

#include "commands.hpp"
#include "exit_code.hpp"
#include "io.hpp"

namespace tool {
namespace {

struct Options {
  std::string pixels, output;
  bool colour = false;
  zelimp::RawPixels raw;
  Common common;
};

void run(const Options& options) {
  check_targets({options.output}, options.common.force);

  Progress progress(options.common.verbose);
  const std::string name = input_name(options.pixels);
  const Bytes pixels = read_file(options.pixels);
  progress.step("read " + name + ", " + std::to_string(pixels.size()) + " bytes");
  zelimp::RawPixels raw = options.raw;
  raw.pixels = pixels;
  raw.planes = options.colour ? 3 : 1;
  std::vector<Output> outputs;
  outputs.push_back({options.output, about(name, [&] { return zelimp::wrap_raw_pixels(raw); })});
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
}

}  // namespace

void add_wrap(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  zelimp::RawPixels& raw = options->raw;
  CLI::App& command = *program.add_subcommand("wrap", "Put pixels without a file format into a TIFF of the device's");
  command
      .add_option("PIXELS", options->pixels,
                  "Bytes of the pixels, rows top to bottom without padding, - standard input")
      ->required();
  command.add_option("-o,--output", options->output, "Scan to write, - standard output")->required();
  command.add_option("--width", raw.width, "Pixels of a row")->required()->check(between(1u, 4294967295u));
  command.add_option("--height", raw.height, "Rows")->required()->check(between(1u, 4294967295u));
  command.add_flag("--colour", options->colour, "Three bytes a pixel: red, green, blue; else one, grey");
  command.add_option("--dpi", raw.resolution, "Resolution to state in the file [200]")->check(between(1, 65535));
  command.add_option("--model-name", raw.model, "Model text");
  command.add_option("--description", raw.description, "ImageDescription text");
  command.add_option("--software", raw.software, "Software text");
  add_common(command, options->common);
  command.footer(
      "Examples:\n"
      "  zelimp wrap face.grey -o face.tif --width 1400 --height 620 --dpi 200\n"
      "  zelimp wrap - -o - --width 1400 --height 620 --colour < face.rgb | zelimp process - -o face.jpg --format "
      "jfif\n"
      "In the flat interface this is ZelIMPProcessRaw_TIFF.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
