#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <memory>
#include <optional>

#include "commands.hpp"
#include "descrambling.hpp"
#include "exit_code.hpp"
#include "io.hpp"
#include "picture.hpp"
#include "process_report.hpp"
#include "step_pictures.hpp"

namespace tool {
namespace {

using zelimp::CropMode;
using zelimp::CropOptions;
using zelimp::Deskew;
using zelimp::Format;
using zelimp::Rotation;
using zelimp::Side;

const std::map<std::string, Format> kFormats = {{"g4", Format::group4},      {"1bit", Format::one_bit},
                                                {"tiff", Format::tiff},      {"bmp", Format::bitmap},
                                                {"jpeg", Format::jpeg_tiff}, {"jfif", Format::jfif}};
const std::map<std::string, Side> kSides = {
    {"front", Side::front}, {"rear", Side::rear}, {"both", Side::both}, {"flip", Side::flip_front}};
const std::map<std::string, Rotation> kRotations = {
    {"0", Rotation::none}, {"90", Rotation::clockwise}, {"270", Rotation::counter_clockwise}};
const std::map<std::string, Deskew> kDeskews = {{"off", Deskew::off}, {"measure", Deskew::measure}, {"on", Deskew::on}};
const std::map<std::string, CropMode> kCrops = {
    {"off", CropMode::off}, {"auto", CropMode::automatic}, {"fixed", CropMode::fixed}};

// The numbers of a crop, and which of its modes read them.
struct CropNumber {
  const char* option;
  const char* help;
  int CropOptions::*number;
  int least;
  bool automatic, fixed;
};
constexpr auto kCropNumbers = std::to_array<CropNumber>(
    {{"--crop-left", "First column of the document; auto: first one looked at", &CropOptions::left_margin, 0, true,
      true},
     {"--crop-right", "Columns left out at the end of the face", &CropOptions::right_margin, 0, true, true},
     {"--crop-threshold", "auto: edge strength of the document", &CropOptions::edge_threshold, 0, true, false},
     {"--crop-distance", "auto: the upper and the lower row looked at lie 1.5 times as many rows inside",
      &CropOptions::edge_row_distance, 0, true, false},
     {"--crop-length", "fixed: columns of the document at most", &CropOptions::max_length, 1, false, true}});
constexpr int kMostCropColumns = 1000000;

struct Options {
  std::string scan, output, preview, steps;
  std::string format = "g4";
  std::string side = "both";
  std::string rotation = "0";
  std::string threshold;
  std::optional<int> quality;
  std::string deskew = "off";
  std::string crop = "off";
  std::array<std::optional<int>, kCropNumbers.size()> crop_numbers;
  bool raw = false;
  Descrambling descrambling;
  bool json = false;
  Common common;
};

CropOptions crop_of(const Options& options) {
  CropOptions crop{.mode = kCrops.at(options.crop)};
  for (std::size_t i = 0; i < kCropNumbers.size(); ++i) {
    const CropNumber& known = kCropNumbers[i];
    if (!options.crop_numbers[i]) continue;
    if (!(known.automatic && crop.mode == CropMode::automatic) && !(known.fixed && crop.mode == CropMode::fixed)) {
      throw Failure(Exit::usage, known.option + std::string(" is for --crop ") +
                                     (!known.fixed      ? "auto"
                                      : known.automatic ? "auto and fixed"
                                                        : "fixed"));
    }
    crop.*known.number = *options.crop_numbers[i];
  }
  return crop;
}

zelimp::ProcessOptions how_of(const Options& options) {
  zelimp::ProcessOptions how{.format = kFormats.at(options.format),
                             .side = kSides.at(options.side),
                             .rotation = kRotations.at(options.rotation),
                             .deskew = kDeskews.at(options.deskew),
                             .crop = crop_of(options)};
  if (!options.threshold.empty() && how.format != Format::group4 && how.format != Format::one_bit) {
    throw Failure(Exit::usage, "--threshold is for the formats g4 and 1bit");
  }
  if (!options.threshold.empty() && options.threshold != "adaptive") how.threshold = std::stoi(options.threshold);
  if (options.quality && how.format != Format::jpeg_tiff && how.format != Format::jfif) {
    throw Failure(Exit::usage, "--quality is for the formats jpeg and jfif");
  }
  if (options.quality) how.quality = *options.quality;
  return how;
}

// The file to process: as it was read, or descrambled.
Bytes read_scan_file(const Options& options, std::optional<StepPictures>& pictures, Progress& progress) {
  const std::string name = input_name(options.scan);
  Bytes file = read_file(options.scan);
  if (!options.raw) {
    progress.step("read " + name + ", " + std::to_string(file.size()) + " bytes");
    return file;
  }
  Bytes scan = descrambled(name, file, options.descrambling, progress);
  if (pictures) pictures->add_raw(file);
  return scan;
}

void check_files(const Options& options, const std::vector<std::string>& step_targets) {
  check_descrambling(options.scan, options.descrambling);
  std::vector<std::string> targets = {options.output, options.preview, options.json ? "-" : ""};
  targets.insert(targets.end(), step_targets.begin(), step_targets.end());
  check_targets(targets, options.common.force);
}

void tell_made(const Made& made, Progress& progress) {
  const zelimp::ProcessReport& report = made.report;
  progress.step("made " + std::to_string(report.width) + " x " + std::to_string(report.height) + " pixels, bit depth " +
                std::to_string(report.bit_depth) +
                (report.black_share ? ", " + CLI::detail::to_string(*report.black_share * 100) + " % black" : ""));
  for (const std::string& sentence : as_sentences(made)) progress.tell(sentence);
}

Output on_standard_output(const std::string& text) {
  const std::span<const std::byte> bytes = std::as_bytes(std::span(text));
  return {"-", Bytes(bytes.begin(), bytes.end())};
}

void run(const Options& options) {
  zelimp::ProcessOptions how = how_of(options);
  std::optional<StepPictures> pictures;
  if (!options.steps.empty()) pictures.emplace(options.steps);
  check_files(options, pictures ? pictures->targets() : std::vector<std::string>{});

  Progress progress(options.common.verbose);
  const std::string name = input_name(options.scan);
  const Bytes scan = read_scan_file(options, pictures, progress);
  Made made{name, options.output, options.format, how.deskew, {}, 0};
  std::vector<Output> outputs;
  outputs.push_back({options.output, about(name, [&] {
                       if (pictures) pictures->watch(scan, how);
                       return zelimp::process_scan(scan, how, &made.report);
                     })});
  made.bytes = outputs[0].bytes.size();
  tell_made(made, progress);
  if (pictures || !options.preview.empty()) {
    Bytes png = as_png(name, outputs[0].bytes);
    progress.step("decoded it");
    if (pictures) pictures->finish(made.report, png);
    if (!options.preview.empty()) outputs.push_back({options.preview, std::move(png)});
  }
  if (pictures) std::ranges::move(pictures->take(), std::back_inserter(outputs));
  if (options.json) outputs.push_back(on_standard_output(as_json(made)));
  write_outputs(outputs, options.common.force, pictures ? pictures->new_folder() : "");
  if (pictures && options.common.force) pictures->remove_others(outputs);
  progress.wrote(outputs);
}

// Decimal digits only: they are read again as such.
std::string check_threshold(const std::string& text) {
  if (text == "adaptive") return "";
  if (text.find_first_not_of("0123456789") != text.npos) return "\"" + text + "\" is not a whole number";
  return between(0, 256)(text);
}

void add_image_options(CLI::App& command, Options& options) {
  const auto choice = [](const auto& names) { return CLI::IsMember(&names); };
  command
      .add_option("--format", options.format,
                  "Group 4 or 1-bit TIFF, uncompressed or JPEG-compressed TIFF, bitmap, JPEG file [g4]")
      ->check(choice(kFormats));
  command.add_option("--side", options.side, "Face: front is the left half; flip: both, left half upside down [both]")
      ->check(choice(kSides));
  command.add_option("--rotate", options.rotation, "Degrees clockwise [0]")->check(choice(kRotations));
  command.add_option("--threshold", options.threshold, "g4, 1bit: adaptive, or black below this level [adaptive]")
      ->check(CLI::Validator(check_threshold, "adaptive or 0 to 256"));
  command.add_option("--quality", options.quality, "jfif: of the coding; jpeg: recorded in the file, not applied [75]")
      ->check(between(1, 100));
  command
      .add_option("--deskew", options.deskew,
                  "Find the skew, and correct it; colour: with --crop auto, to correct also with --rotate [off]")
      ->check(choice(kDeskews));
  command.add_option("--crop", options.crop, "Colour, one side: cut the bed away beside the document [off]")
      ->check(choice(kCrops));
  for (std::size_t i = 0; i < kCropNumbers.size(); ++i) {
    const CropNumber& number = kCropNumbers[i];
    const std::string usual = std::to_string(CropOptions{}.*number.number);
    command.add_option(number.option, options.crop_numbers[i], number.help + (" [" + usual + "]"))
        ->check(between(number.least, kMostCropColumns));
  }
}

}  // namespace

void add_process(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("process", "Make a document image of a scan");
  command.add_option("SCAN", options->scan, "Descrambled scan, - standard input")->required();
  command.add_option("-o,--output", options->output, "Image to write, - standard output")->required();
  add_image_options(command, *options);
  command.add_option("--preview", options->preview, "Also decode the image and write it as PNG");
  command.add_option("--steps", options->steps, "Also write what each step made as PNG into this folder")
      ->type_name("DIR");
  command.add_flag("--json", options->json, "Tell what was found and made on standard output, as JSON");
  add_common(command, options->common);
  CLI::Option* raw = command.add_flag("--raw", options->raw, "SCAN is a raw read-out: descramble it first");
  for (CLI::Option* option : add_descrambling(command, options->descrambling)) {
    option->needs(raw)->group("With --raw");
  }
  command.footer(
      "Examples:\n"
      "  zelimp process scan.tif -o front.tif --side front --deskew on\n"
      "  zelimp process scan.tif -o rear.bmp --side rear --format bmp --rotate 90 --preview rear.png\n"
      "  zelimp process --raw raw.tif --lag 8 -o front.tif --side front --deskew on --steps steps --json\n"
      "  zelimp process colour.tif -o rear.jpg --format jfif --quality 90 --side rear --crop auto\n"
      "g4, 1bit and bmp are for grey scans, --crop for colour scans. A colour scan in g4, 1bit or bmp gives exit code "
      "4.\n"
      "The skew of a grey scan is corrected when it is 1 to 10 degrees in the sense in which the device turns sheets:\n"
      "the front face clockwise. That of a colour scan when it is more than 1 degree, before the quarter turn.\n"
      "--steps makes the folder if need be; with --force the pictures of an earlier run are replaced.\n"
      "In the flat interface this is ZelIMPImageProc.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
