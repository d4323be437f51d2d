#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <map>
#include <memory>
#include <optional>

#include "commands.hpp"
#include "exit_code.hpp"
#include "filter_plot.hpp"
#include "io.hpp"
#include "picture.hpp"

namespace tool {
namespace {

const std::map<std::string, FileKind> kFormats = {
    {"png", FileKind::png}, {"tiff", FileKind::tiff}, {"jpeg", FileKind::jpeg}, {"bmp", FileKind::bmp}};
const std::map<std::string, FileKind> kEndings = {{".png", FileKind::png},   {".tif", FileKind::tiff},
                                                  {".tiff", FileKind::tiff}, {".jpg", FileKind::jpeg},
                                                  {".jpeg", FileKind::jpeg}, {".bmp", FileKind::bmp}};

// What is to be expected of the filters, by their numbers.
constexpr std::array<const char*, kFilters> kPhrases = {
    "soft: smooths away fine lines and noise",
    "nearest pixel, or the mean of those that become one; not for enlarging",
    "sharp, faint halos; text, also for black and white",
    "between triangle and box",
    "like catmull-rom, with longer halos",
    "softest: smooths most",
    "like cosine, by a polynomial",
    "sharpest before halos repeat; text, photographs",
    "as sharp, but halos repeat beside every edge",
    "between blur and halos; photographs, enlarging",
    "like catmull-rom, shorter and milder",
    "the same curve as bell",
    "without halos; anything, when in doubt"};

const std::string kUsualFilter = "triangle";
constexpr int kUsualQuality = 90;
constexpr double kMostDpi = 65535;

struct Options {
  std::string picture, output, plot, format;
  std::string filter;
  std::optional<double> from, to;
  std::optional<int> quality;
  Common common;
};

std::map<std::string, zelimp::Filter> filters_by_name() {
  std::map<std::string, zelimp::Filter> filters;
  for (int i = 0; i < kFilters; ++i) {
    const auto filter = static_cast<zelimp::Filter>(i);
    filters.emplace(zelimp::facts(filter).name, filter);
  }
  return filters;
}

FileKind kind_of(const Options& options) {
  if (!options.format.empty()) return kFormats.at(options.format);
  if (options.output == "-") throw Failure(Exit::usage, "-o - needs --format");
  const std::size_t dot = options.output.find_last_of("./");
  std::string ending = dot == std::string::npos ? "" : options.output.substr(dot);
  std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const auto found = kEndings.find(ending);
  if (found != kEndings.end()) return found->second;
  throw Failure(Exit::usage, options.output + ": the name does not end in .png, .tif, .tiff, .jpg, .jpeg or .bmp: " +
                                 "--format tells what to write");
}

FileKind checked_kind(const Options& options) {
  if (options.picture.empty() || options.output.empty() || !options.to) {
    throw Failure(Exit::usage, "IN, -o and --to are needed, or --plot-filters (see --help)");
  }
  const FileKind kind = kind_of(options);
  if (options.quality && kind != FileKind::jpeg) throw Failure(Exit::usage, "--quality is for JPEG files");
  return kind;
}

double source_dpi(const Options& options, const Picture& picture) {
  if (options.from) return *options.from;
  const std::string name = input_name(options.picture);
  if (picture.x_dpi == 0) throw Failure(Exit::usage, name + ": does not tell its resolution, --from is needed");
  if (picture.x_dpi != picture.y_dpi) {
    throw Failure(Exit::usage, name + ": has " + std::to_string(picture.x_dpi) + " x " + std::to_string(picture.y_dpi) +
                                   " dpi, --from is needed");
  }
  return picture.x_dpi;
}

std::uint32_t whole_dpi(double dpi) { return static_cast<std::uint32_t>(std::lround(std::clamp(dpi, 1.0, kMostDpi))); }

std::string facts_of(const Picture& picture) {
  const auto pair = [](std::uint32_t a, std::uint32_t b) { return std::to_string(a) + " x " + std::to_string(b); };
  return pair(picture.width, picture.height) + " pixels, " + std::to_string(picture.planes * 8) + " bits, " +
         (picture.x_dpi == 0 ? "unknown resolution" : pair(picture.x_dpi, picture.y_dpi) + " dpi");
}

std::string filter_of(const Options& options) { return options.filter.empty() ? kUsualFilter : options.filter; }

Picture resampled(const Options& options, const Picture& picture) {
  const double from = source_dpi(options, picture), to = *options.to;
  const zelimp::Pixels pixels = about(input_name(options.picture), [&] {
    return zelimp::resample({picture.width, picture.height, std::as_bytes(std::span(picture.samples))},
                            picture.planes * 8, from, to, filters_by_name().at(filter_of(options)));
  });
  Picture result = copy_of({pixels.width, pixels.height, picture.planes, pixels.pixels});
  const double ratio = to / from;
  result.x_dpi = whole_dpi(picture.x_dpi == 0 ? to : picture.x_dpi * ratio);
  result.y_dpi = whole_dpi(picture.y_dpi == 0 ? to : picture.y_dpi * ratio);
  return result;
}

Output plot(const Options& options) {
  const bool alone = options.picture.empty() && options.output.empty() && options.format.empty() &&
                     options.filter.empty() && !options.from && !options.to && !options.quality;
  if (!alone) throw Failure(Exit::usage, "--plot-filters needs no picture, and nothing that is for one");
  const std::string svg = filter_plot();
  const std::span<const std::byte> bytes = std::as_bytes(std::span(svg));
  return {options.plot, Bytes(bytes.begin(), bytes.end())};
}

Output resampled_file(const Options& options, FileKind kind, Progress& progress) {
  Picture picture = read_picture(options.picture);
  progress.step("read " + input_name(options.picture) + ", " + facts_of(picture));
  if (picture.planes == 4 && (kind == FileKind::jpeg || kind == FileKind::bmp)) {
    picture = on_white(picture);
    progress.step("laid on white: the output cannot hold what is transparent");
  }
  Picture result = resampled(options, picture);
  progress.step("resampled with " + filter_of(options) + " to " + facts_of(result));
  return {options.output, as_file(std::move(result), kind, options.quality.value_or(kUsualQuality))};
}

void run(const Options& options) {
  const bool plots = !options.plot.empty();
  const FileKind kind = plots ? FileKind{} : checked_kind(options);
  check_targets({plots ? options.plot : options.output}, options.common.force);
  Progress progress(options.common.verbose);
  std::vector<Output> outputs;
  outputs.push_back(plots ? plot(options) : resampled_file(options, kind, progress));
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
}

std::string footer() {
  std::string text =
      "Examples:\n"
      "  zelimp resample page.tif -o page200.tif --to 200\n"
      "  zelimp resample photo.jpg -o thumbnail.jpg --from 300 --to 50 --filter mitchell --quality 85\n"
      "  zelimp resample - -o - --format png --to 300 --filter lanczos3 < page.png > page300.png\n"
      "  zelimp resample --plot-filters filters.svg\n"
      "Sides become side * to / from, rounded down. Grey pictures are resampled as 8 bits a pixel, colour as 24,\n"
      "pictures with alpha as 32; in JPEG and BMP, which have no alpha, transparent parts are white. Resolutions that\n"
      "the file tells are multiplied by to / from; without, the output gets --to. TIFF is compressed by LZW.\n"
      "Filters, with their radius in pixels:\n";
  for (const auto& [name, filter] : filters_by_name()) {
    const std::string radius = CLI::detail::to_string(zelimp::facts(filter).radius);
    text += "  " + name + std::string(19 - name.size(), ' ') + radius + std::string(5 - radius.size(), ' ') +
            kPhrases[static_cast<std::size_t>(filter)] + "\n";
  }
  return text +
         "In the flat interface this is ZelIMPResample8BitBitmap, with triangle, and ZelIMPResample24BitBitmap and\n"
         "ZelIMPResample32BitBitmap, with box.";
}

}  // namespace

void add_resample(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("resample", "Bring a picture to another resolution, with any filter");
  command.add_option("IN", options->picture, "Picture: PNG, JPEG, TIFF, BMP or PNM, - standard input");
  command.add_option("-o,--output", options->output,
                     "Picture to write: .png, .tif, .tiff, .jpg, .jpeg or .bmp, - standard output");
  command.add_option("--format", options->format, "What to write, whatever the name ends in")
      ->check(CLI::IsMember(&kFormats));
  command.add_option("--from", options->from, "Resolution of the picture, dots per inch [what the file tells]")
      ->check(between(1.0, kMostDpi));
  command.add_option("--to", options->to, "Resolution of the result")->check(between(1.0, kMostDpi));
  std::vector<std::string> names;
  for (const auto& [name, filter] : filters_by_name()) names.push_back(name);
  command.add_option("--filter", options->filter, "Reconstruction filter, one of those below [" + kUsualFilter + "]")
      ->check(CLI::IsMember(names).description(""))
      ->type_name("NAME");
  command.add_option("--quality", options->quality, "JPEG: of the coding [" + std::to_string(kUsualQuality) + "]")
      ->check(between(1, 100));
  command.add_option("--plot-filters", options->plot, "Draw the curves of all filters into this SVG file instead");
  add_common(command, options->common);
  command.footer(footer());
  command.callback([options] { run(*options); });
}

}  // namespace tool
