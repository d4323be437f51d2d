#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

#include "commands.hpp"
#include "device_model.hpp"
#include "device_tiff.hpp"
#include "exit_code.hpp"
#include "io.hpp"
#include "micro_holes.hpp"
#include "note.hpp"
#include "note_places.hpp"
#include "picture.hpp"

namespace tool {
namespace {

constexpr std::int32_t kMaxBedSide = 100000;

struct Options {
  std::string front, rear, output, white, black;
  DeviceSettings settings;
  std::optional<double> gain_percent;
  std::optional<std::uint32_t> offset;
  std::pair<std::int32_t, std::int32_t> shift{0, 0};
  bool colour = false;
  std::uint32_t dpi = 200;
  DeviceTexts texts;
  HoleSettings holes;  // no digits: none
  bool draws_note = false;
  NoteSettings note;
  Common common;
};

void check(const Options& options) {
  if (!options.draws_note && options.rear.empty()) throw CLI::RequiredError("FRONT and REAR, or --note,");
  const DeviceSettings& settings = options.settings;
  if (settings.swap_sides && !settings.model_7200) {
    throw Failure(Exit::usage,
                  "--model 0 with --swap-sides 1 loses channel A in the device itself: "
                  "the left half of the page cannot be restored");
  }
  if (options.white.empty() != options.black.empty()) {
    throw Failure(Exit::usage, "--white and --black go together");
  }
  if (settings.calibrated && options.colour && !settings.swap_sides) {
    throw Failure(Exit::usage,
                  "a colour read-out with --swap-sides 0 cannot have tables: "
                  "their indices run on from line to line");
  }
  if (!settings.calibrated && (settings.gain_percent > 0 || settings.offset > 0)) {
    throw Failure(Exit::usage, "--gain and --offset need --white and --black to be undone with");
  }
}

std::array<Picture, 2> faces_of(const Options& options, Progress& progress) {
  std::array<Picture, 2> faces;
  if (options.draws_note) {
    NoteSettings note = options.note;
    note.seed = options.settings.seed;
    faces = draw_note(note);
    if (options.colour)
      std::ranges::transform(faces, faces.begin(), [](const Picture& p) { return in_colour(view_of(p)); });
  } else {
    faces = {read_picture(options.front, options.colour), read_picture(options.rear, options.colour)};
  }
  const auto& [front, rear] = faces;
  progress.step((options.draws_note ? "drew" : "read") + std::string(" faces of ") + std::to_string(front.width) +
                " x " + std::to_string(front.height) + " and " + std::to_string(rear.width) + " x " +
                std::to_string(rear.height) + " pixels");
  return faces;
}

void run(Options& options) {
  constexpr double kUsualGainPercent = 10;
  constexpr std::uint32_t kUsualOffset = 6;
  DeviceSettings& settings = options.settings;
  settings.calibrated = !options.white.empty();
  settings.gain_percent = options.gain_percent.value_or(settings.calibrated ? kUsualGainPercent : 0);
  settings.offset = options.offset.value_or(settings.calibrated ? kUsualOffset : 0);
  std::tie(settings.shift_x, settings.shift_y) = options.shift;
  check(options);
  check_sources({options.front, options.rear});
  check_targets({options.output, options.white, options.black}, options.common.force);

  Progress progress(options.common.verbose);
  std::array<Picture, 2> faces = faces_of(options, progress);
  const auto& [front, rear] = faces;
  if (!options.holes.digits.empty()) {
    options.holes.seed = settings.seed;
    punch(faces, bedding_of(front, rear, settings), options.holes);
    progress.step("punched " + options.holes.digits);
  }
  const ReadOut result = read_out(front, rear, settings);
  progress.step("simulated " + std::to_string(result.width) + " x " + std::to_string(result.rows) +
                " pixels, bit depth " + std::to_string(8 * result.planes));
  std::vector<Output> outputs;
  outputs.push_back({options.output, device_tiff(result, options.dpi, options.texts)});
  if (settings.calibrated) {
    outputs.push_back({options.white, table_bytes(result.white)});
    outputs.push_back({options.black, table_bytes(result.black)});
  }
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
}

std::string check_digits(const std::string& text) {
  if (!text.empty() && text.size() <= kMostHoleDigits && text.find_first_not_of("0123456789") == text.npos) return "";
  return "\"" + text + "\" is not a line of 1 to " + std::to_string(kMostHoleDigits) + " digits";
}

void add_holes_options(CLI::App& command, HoleSettings& holes) {
  CLI::Option* const digits =
      command
          .add_option("--micro-holes", holes.digits,
                      "Punch these digits through the sheet, where they are looked for once the scan is processed, not "
                      "turned; both faces are left blank around them")
          ->type_name("DIGITS")
          ->check(CLI::Validator(check_digits, "1 to 10"));
  const auto add = [&](const char* name, auto& value, const char* help, auto most) {
    command.add_option(name, value, help)->check(between(decltype(most){}, most))->needs(digits)->group("With holes");
  };
  add("--paper-level", holes.paper, "Grey level to which the faces' paper is brought [220]", 255);
  add("--paper-noise", holes.paper_noise, "Grey levels by which the faces vary at most, evenly [0]", 255);
  add("--hole-level", holes.hole, "Grey level of the holes [20]", 255);
  add("--hole-jitter", holes.jitter, "Pixels by which a hole lies off its place at most [0]", 10.0);
  add("--missing-holes", holes.missing, "Holes that each character lacks [0]", 35);
  add("--extra-holes", holes.extra, "Holes that each character has where none belongs [0]", 35);
}

void add_note_options(CLI::App& command, Options& options) {
  NoteSettings& note = options.note;
  CLI::Option* const value = command
                                 .add_option_function<int>(
                                     "--note", [&](int given) { options.draws_note = true, note.value = given; },
                                     "The sheet is a specimen banknote of this value, instead of FRONT and REAR")
                                 ->type_name("VALUE")
                                 ->check(one_of(zelimp::kNoteValues));
  value->excludes("FRONT")->excludes("REAR");
  const auto add = [&](const char* name, std::uint32_t& number, const char* help, std::uint32_t most) {
    command.add_option(name, number, help)->check(between(0u, most))->needs(value)->group("With a note");
  };
  add("--wear", note.wear, "Smudges; every third is a fold [0]", 100);
  add("--contrast", note.contrast, "Percent, about medium grey [100]", 400);
  command
      .add_flag_callback(
          "--no-figure", [&note] { note.figure = false; }, "Leave the figure of the value out")
      ->needs(value)
      ->group("With a note");
}

}  // namespace

void add_simulate(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  DeviceSettings& settings = options->settings;
  CLI::App& command = *program.add_subcommand("simulate", "Make the raw read-out that the device gives for two faces");
  command.add_option("FRONT", options->front,
                     "Picture of the front face: PNG, JPEG, TIFF, BMP or PNM, - standard input");
  command.add_option("REAR", options->rear, "Picture of the rear face");
  command.add_option("-o,--output", options->output, "Raw read-out to write, - standard output")->required();
  command.add_flag("--colour", options->colour, "Three planes a line instead of grey");
  command
      .add_option("--skew", settings.skew_deg,
                  "Degrees by which the sheet lies turned, clockwise seen from the front; the device turns sheets in "
                  "this sense, below 0 is the other one [0]")
      ->check(between(-45, 45));
  command.add_option("--margin", settings.margin, "Bed around each face, pixels [24]")->check(between(0, 10000));
  command.add_option("--half-width", settings.half_width, "Width of the bed below each face, instead of a margin")
      ->check(between(1, kMaxBedSide));
  command.add_option("--rows", settings.rows, "Height of the bed, instead of a margin")->check(between(1, kMaxBedSide));
  command
      .add_option("--shift", options->shift,
                  "Pixels by which the sheet lies right of and below the middle of the bed; on the rear face, which is "
                  "the mirror image, left and below [0,0]")
      ->delimiter(',')
      ->type_name("X,Y")
      ->check(between(-kMaxBedSide, kMaxBedSide));
  command.add_option("--bed", settings.bed, "Grey level of the bed [12]")->check(between(0, 255));
  command
      .add_option("--bed-noise", settings.bed_noise,
                  "Standard deviation of the bed's grain, grey levels; the bed also varies slowly by twice as much [0]")
      ->check(between(0, 100));
  command.add_option("--lag", settings.lag, "Lines by which channel B lags [0]")->check(between(0, 65535));
  add_layout(command, settings.swap_sides, settings.model_7200);
  command.add_option("--white", options->white, "White table to write; the read-out needs correction then");
  command.add_option("--black", options->black, "Black table to write");
  command.add_option("--gain", options->gain_percent, "Fluctuation of the white levels, percent [10 with tables]")
      ->check(between(0.0, kMaxGainPercent));
  command.add_option("--offset", options->offset, "Fluctuation of the black levels, grey levels [6 with tables]")
      ->check(between(0u, kMaxOffset));
  command.add_option("--noise", settings.noise, "Standard deviation of the noise, grey levels [0]")
      ->check(between(0, 100));
  command
      .add_option("--seed", settings.seed,
                  "Start of the fluctuations, the noise, the bed, and what varies about holes and notes [1]")
      ->check(between(0u, 4294967295u));
  add_holes_options(command, options->holes);
  add_note_options(command, *options);
  command.add_option("--dpi", options->dpi, "Resolution to state in the file [200]")->check(between(1, 65535));
  command.add_option("--make", options->texts.make, "Make text, by which the device is known; empty: none");
  command.add_option("--model-name", options->texts.model, "Model text");
  command.add_option("--description", options->texts.description, "ImageDescription text");
  command.add_option("--software", options->texts.software, "Software text");
  add_common(command, options->common);
  command.footer(
      "Examples:\n"
      "  zelimp simulate front.png rear.png -o raw.tif --lag 8\n"
      "  zelimp simulate front.png rear.png -o raw.tif --colour --skew 1.5 --noise 2 --white w.u16 --black b.u16\n"
      "  zelimp simulate front.png rear.png -o raw.tif --skew 3 --half-width 1700 --rows 1100 --shift -40,20\n"
      "  zelimp simulate front.png rear.png -o raw.tif --skew 3 --bed 20 --bed-noise 3 --noise 2\n"
      "  zelimp simulate front.png rear.png -o raw.tif --micro-holes 40712356 --hole-jitter 0.5 --noise 2\n"
      "  zelimp simulate --note 20 -o raw.tif --colour --shift 5,3 --noise 4 --wear 6\n"
      "Tables are 16-bit little-endian numbers: black one for each pixel of a line, white one for each sample of a\n"
      "line, plane after plane. descramble with the same tables, lag and layout restores the page.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
