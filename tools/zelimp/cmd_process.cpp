#include <map>
#include <memory>

#include "commands.hpp"
#include "exit_code.hpp"
#include "io.hpp"
#include "picture.hpp"

namespace tool {
namespace {

using zelimp::Format;
using zelimp::Rotation;
using zelimp::Side;

const std::map<std::string, Format> kFormats = {
    {"g4", Format::group4}, {"1bit", Format::one_bit}, {"tiff", Format::tiff}, {"bmp", Format::bitmap}};
const std::map<std::string, Side> kSides = {
    {"front", Side::front}, {"rear", Side::rear}, {"both", Side::both}, {"flip", Side::flip_front}};
const std::map<std::string, Rotation> kRotations = {
    {"0", Rotation::none}, {"90", Rotation::clockwise}, {"270", Rotation::counter_clockwise}};

struct Options {
  std::string scan, output, preview;
  std::string format = "g4";
  std::string side = "both";
  std::string rotation = "0";
  std::string threshold;
  Common common;
};

zelimp::ProcessOptions how_of(const Options& options) {
  zelimp::ProcessOptions how{kFormats.at(options.format), kSides.at(options.side), kRotations.at(options.rotation), {}};
  if (!options.threshold.empty() && how.format != Format::group4 && how.format != Format::one_bit) {
    throw Failure(Exit::usage, "--threshold is for the formats g4 and 1bit");
  }
  if (!options.threshold.empty() && options.threshold != "adaptive") how.threshold = std::stoi(options.threshold);
  return how;
}

void run(const Options& options) {
  const zelimp::ProcessOptions how = how_of(options);
  check_targets({options.output, options.preview}, options.common.force);

  Progress progress(options.common.verbose);
  const std::string name = input_name(options.scan);
  const Bytes scan = read_file(options.scan);
  progress.step("read " + name + ", " + std::to_string(scan.size()) + " bytes");
  zelimp::ProcessReport made;
  std::vector<Output> outputs;
  outputs.push_back({options.output, about(name, [&] { return zelimp::process_scan(scan, how, &made); })});
  progress.step("made " + std::to_string(made.width) + " x " + std::to_string(made.height) + " pixels, bit depth " +
                std::to_string(made.bit_depth) +
                (made.black_share ? ", " + CLI::detail::to_string(*made.black_share * 100) + " % black" : ""));
  if (!options.preview.empty()) {
    outputs.push_back({options.preview, as_png(name, outputs[0].bytes)});
    progress.step("decoded it for the preview");
  }
  write_outputs(outputs, options.common.force);
  for (const Output& output : outputs) {
    progress.step("wrote " + output.path + ", " + std::to_string(output.bytes.size()) + " bytes");
  }
}

std::string check_threshold(const std::string& text) { return text == "adaptive" ? "" : between(0, 256)(text); }

}  // namespace

void add_process(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  const auto choice = [](const auto& names) { return CLI::IsMember(&names); };
  CLI::App& command = *program.add_subcommand("process", "Make a document image of a descrambled scan");
  command.add_option("SCAN", options->scan, "Descrambled scan, - standard input")->required();
  command.add_option("-o,--output", options->output, "Image to write, - standard output")->required();
  command.add_option("--format", options->format, "Group 4 or 1-bit TIFF, uncompressed TIFF, bitmap [g4]")
      ->check(choice(kFormats));
  command.add_option("--side", options->side, "Face: front is the left half; flip: both, left half upside down [both]")
      ->check(choice(kSides));
  command.add_option("--rotate", options->rotation, "Degrees clockwise [0]")->check(choice(kRotations));
  command.add_option("--threshold", options->threshold, "g4, 1bit: adaptive, or black below this level [adaptive]")
      ->check(CLI::Validator(check_threshold, "adaptive or 0 to 256"));
  command.add_option("--preview", options->preview, "Also decode the image and write it as PNG");
  add_common(command, options->common);
  command.footer(
      "Examples:\n"
      "  zelimp process scan.tif -o front.tif --side front\n"
      "  zelimp process scan.tif -o rear.bmp --side rear --format bmp --rotate 90 --preview rear.png\n"
      "g4, 1bit and bmp are for grey scans; a colour scan gives exit code 4.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
