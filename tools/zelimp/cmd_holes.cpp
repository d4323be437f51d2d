#include <ZelIMP/holes.hpp>
#include <memory>
#include <tuple>

#include "bitmap.hpp"
#include "commands.hpp"
#include "exit_code.hpp"
#include "holes_picture.hpp"
#include "holes_report.hpp"
#include "io.hpp"
#include "picture.hpp"

namespace tool {
namespace {

constexpr std::uint32_t kMostZone = 100000;

struct Options {
  std::string front, rear, overlay;
  std::tuple<std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t> zone;
  bool zone_given = false;
  bool decode_zone = false;
  bool json = false;
  Common common;
};

zelimp::HoleZone zone_of(const Options& options) {
  if (options.decode_zone) return zelimp::kDecodeZone;
  if (!options.zone_given) return zelimp::kValidateZone;
  const auto [left, bottom, width, height] = options.zone;
  return {left, bottom, width, height};
}

// A bitmap file as it is, another picture as a bitmap in memory.
Bytes read_face(const std::string& path) {
  Bytes file = read_file(path);
  return is_bitmap_file(file) ? file : as_dib(decode_picture(input_name(path), file, false));
}

void run(const Options& options) {
  check_sources({options.front, options.rear});
  check_targets({options.overlay, "-"}, options.common.force);
  Progress progress(options.common.verbose);
  const Bytes front = read_face(options.front);
  const Bytes rear = options.rear.empty() ? Bytes{} : read_face(options.rear);
  const std::string names =
      input_name(options.front) + (options.rear.empty() ? "" : " and " + input_name(options.rear));
  progress.step("read " + names);

  HolesRead read{options.front, options.rear, zone_of(options), {}};
  read.holes = about(names, [&] { return zelimp::read_micro_holes(front, rear, read.zone); });
  progress.step("looked for micro-holes");
  std::vector<Output> outputs;
  if (!options.overlay.empty()) outputs.push_back({options.overlay, holes_png(front, rear, read.holes)});
  const std::string report = options.json ? as_json(read) : as_text(read);
  const std::span<const std::byte> bytes = std::as_bytes(std::span(report));
  outputs.push_back({"-", Bytes(bytes.begin(), bytes.end())});
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
  if (!read.holes.front.read && !read.holes.rear.read) {
    throw Failure(Exit::nothing_read, names + ": no micro-holes were read");
  }
}

}  // namespace

void add_holes(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("holes", "Read the line of micro-holes of a document");
  command
      .add_option("FRONT", options->front, "Picture of the front face: BMP, PNG, JPEG, TIFF or PNM, - standard input")
      ->required();
  command.add_option("REAR", options->rear, "Picture of the rear face, not mirrored");
  command.add_flag("--json", options->json, "Boxes, patterns and reasons too, as JSON");
  command.add_option("--overlay", options->overlay,
                     "PNG to write: the zones enlarged, with what was seen drawn on them");
  CLI::Option* const zone = command
                                .add_option_function<decltype(options->zone)>(
                                    "--zone",
                                    [options](const auto& given) {
                                      options->zone = given;
                                      options->zone_given = true;
                                    },
                                    "Where to look, pixels from the left and from the bottom [166,195,540,85]")
                                ->delimiter(',')
                                ->type_name("LEFT,BOTTOM,WIDTH,HEIGHT")
                                ->check(between(0u, kMostZone));
  command.add_flag("--decode-zone", options->decode_zone, "Look at 146,175,520,90, as ZelIMPDecodeMH does")
      ->excludes(zone);
  add_common(command, options->common);
  command.footer(
      "Examples:\n"
      "  zelimp holes front.bmp rear.bmp\n"
      "  zelimp holes front.png --overlay seen.png --json\n"
      "Pictures are 8-bit; those of other kinds than BMP are made grey. On the overlay blue is the zone, green the "
      "line,\n"
      "orange the boxes, cyan a cell with a hole, grey one without, magenta one that differs from the digit.\n"
      "When no face gives a character, report and overlay are written and the exit code is 8.\n"
      "In the flat interface this is ZelIMPValidateMH.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
