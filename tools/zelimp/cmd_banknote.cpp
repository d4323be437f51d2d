#include <ZelIMP/banknotes.hpp>
#include <array>
#include <memory>
#include <optional>
#include <tuple>

#include "bitmap.hpp"
#include "commands.hpp"
#include "exit_code.hpp"
#include "font_file.hpp"
#include "io.hpp"
#include "note_places.hpp"
#include "note_report.hpp"
#include "note_training.hpp"
#include "picture.hpp"

namespace tool {
namespace {

struct ReadOptions {
  std::string first, second, font, locations, overlay;
  bool all_classes = false;
  bool json = false;
  Common common;
};

void run_read(const ReadOptions& options) {
  if (options.first.empty()) throw CLI::RequiredError("FIRST");
  if (options.font.empty()) throw CLI::RequiredError("--font");
  check_sources({options.first, options.second, options.font, options.locations});
  check_targets({options.overlay, "-"}, options.common.force);
  Progress progress(options.common.verbose);
  NoteRead read{{options.first, options.second}, zelimp::usual_locations(), {}};
  if (!options.locations.empty()) read.locations = read_locations(options.locations);
  for (zelimp::NoteLocation& location : read.locations) location.enabled |= options.all_classes;
  const zelimp::Font font = read_font(options.font);
  std::array<Picture, 2> faces{read_picture(options.first, false), {}};
  if (!options.second.empty()) faces[1] = read_picture(options.second, false);
  const std::string names =
      input_name(options.first) + (options.second.empty() ? "" : " and " + input_name(options.second));
  progress.step("read " + names + " and " + std::to_string(font.size()) + " templates");

  const Bytes first = as_dib(faces[0]), second = options.second.empty() ? Bytes{} : as_dib(faces[1]);
  read.note = about(names + " with " + input_name(options.font),
                    [&] { return zelimp::read_banknote(first, second, font, read.locations); });
  progress.step("compared " + std::to_string(read.note.matches.size()) + " times");
  std::vector<Output> outputs;
  if (!options.overlay.empty()) outputs.push_back({options.overlay, note_png(faces, read)});
  const std::string report = options.json ? as_json(read) : as_text(read);
  const std::span<const std::byte> bytes = std::as_bytes(std::span(report));
  outputs.push_back({"-", Bytes(bytes.begin(), bytes.end())});
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
  if (read.note.value == 0) throw Failure(Exit::nothing_read, names + ": the value was not recognised");
}

struct TrainOptions {
  std::vector<std::string> notes;
  std::string font, output, locations;
  std::optional<int> value;
  std::optional<std::size_t> of;
  std::optional<std::tuple<std::int32_t, std::int32_t, std::uint32_t, std::uint32_t>> region;
  std::uint32_t margin = kUsualMargin;
  Common common;
};

zelimp::NoteLocation location_of(const TrainOptions& options, std::size_t of) {
  if (options.region) {
    const auto [x, y, width, height] = *options.region;
    return {true, x, y, width, height};
  }
  return (options.locations.empty() ? zelimp::usual_locations() : read_locations(options.locations))[of];
}

Picture example_region(const std::string& path, const zelimp::NoteLocation& location) {
  const Picture note = read_picture(path, false);
  const std::optional<zelimp::Box> box = region_on(location, note.width, note.height);
  if (!box) {
    throw Failure(Exit::usage, input_name(path) + ": the region of " + std::to_string(location.width) + " x " +
                                   std::to_string(location.height) + " pixels at " + std::to_string(location.x) + ", " +
                                   std::to_string(location.y) + " is not inside its " + std::to_string(note.width) +
                                   " x " + std::to_string(note.height));
  }
  return stretched_region(note, *box);
}

void run_train(const TrainOptions& options) {
  if (options.value.has_value() == options.of.has_value()) {
    throw Failure(Exit::usage, "either --value or --class is needed");
  }
  std::vector<std::string> sources = options.notes;
  sources.insert(sources.end(), {options.font, options.locations});
  check_sources(sources);
  check_targets({options.output}, options.common.force);
  Progress progress(options.common.verbose);
  const std::size_t of = options.of ? *options.of : class_of(*options.value).value();
  const zelimp::NoteLocation location = location_of(options, of);
  zelimp::Font font = options.font.empty() ? zelimp::Font() : read_font(options.font);
  std::vector<Picture> regions;
  for (const std::string& path : options.notes) regions.push_back(example_region(path, location));
  const NoteTemplate made = make_note_template(regions, options.margin);
  for (std::size_t i = 0; i < made.places.size(); ++i) {
    progress.tell(input_name(options.notes[i]) + ": cut " + std::to_string(made.places[i].left) + ", " +
                  std::to_string(made.places[i].top) + " from the region's upper left corner");
  }
  const std::uint32_t code = about(input_name(options.font), [&] { return add_note_template(font, of, made); });
  progress.step("code " + std::to_string(code) + ": " + std::to_string(made.light) + " light and " +
                std::to_string(made.dark) + " dark of " + std::to_string(made.mask.pixels.size()) + " pixels count");
  write_font(font, options.output, options.common.force, progress);
}

void add_train(CLI::App& banknote) {
  const auto options = std::make_shared<TrainOptions>();
  CLI::App& command = *banknote.add_subcommand("train", "Make a template of the figure on example notes of one value");
  command.add_option("NOTES", options->notes, "Pictures of notes, upright: PNG, JPEG, TIFF, BMP or PNM")->required();
  command.add_option("-o,--output", options->output, "Font to write, - standard output")->required();
  command.add_option("--value", options->value, "What the notes are worth: 1, 2, 5, 10, 20, 50 or 100")
      ->check(one_of(zelimp::kNoteValues));
  command.add_option("--class", options->of, "The same as a class from 0 to 6")->check(between(0, 6));
  CLI::Option* const table =
      command.add_option("--locations", options->locations, "Table of places to use instead of the usual one");
  command
      .add_option("--region", options->region,
                  "Where the figure is, as in a table of places (see banknote --help), instead of the class's place")
      ->delimiter(',')
      ->type_name("X,Y,WIDTH,HEIGHT")
      ->check(between(-kFarthest, kFarthest))
      ->excludes(table);
  command.add_option("--margin", options->margin, "Pixels by which the template can slide to each side [4]")
      ->check(between(0u, 1000u));
  command.add_option("--font", options->font, "Font to add to, - standard input");
  add_common(command, options->common);
  // What stands before `train` would not be heeded: --font least of all should be lost.
  for (CLI::Option* const option : banknote.get_options()) {
    if (option != banknote.get_help_ptr()) command.excludes(option);
  }
  command.footer(
      "Examples:\n"
      "  zelimp banknote train --value 2 two.png another.png -o notes.fnt\n"
      "  zelimp banknote train --value 20 20*.png --font notes.fnt -o notes.fnt --force\n"
      "Each call adds one template: code, its class, or the first free of class + 16, class + 32 and so on. Examples\n"
      "are aligned to the first; pixels that vary between them count less or not at all. Options stand behind train.");
  command.callback([options] { run_train(*options); });
}

}  // namespace

void add_banknote(CLI::App& program) {
  const auto options = std::make_shared<ReadOptions>();
  CLI::App& command = *program.add_subcommand("banknote", "Tell the value of a banknote, or train templates for it");
  command.add_option("FIRST", options->first, "Picture of one face: PNG, JPEG, TIFF, BMP or PNM, - standard input");
  command.add_option("SECOND", options->second, "Picture of the other face, which is tried before");
  command.add_option("--font", options->font, "Font of templates; needed");
  command.add_option("--locations", options->locations, "Table of places to use instead of the usual one");
  command.add_flag("--all-classes", options->all_classes, "Enable all classes; usually only value 2 is");
  command.add_flag("--json", options->json, "Every comparison, as JSON");
  command.add_option("--overlay", options->overlay,
                     "PNG to write: the note, regions, and where the best template lies");
  add_common(command, options->common);
  add_train(command);
  command.footer(
      "Examples:\n"
      "  zelimp banknote front.png rear.png --font notes.fnt --all-classes\n"
      "  zelimp banknote note.png --font notes.fnt --locations places.txt --overlay seen.png --json\n"
      "A table of places has a row for each of the values 1, 2, 5, 10, 20, 50 and 100, numbers with spaces between:\n"
      "enabled (0 or 1), x, y, width, height in pixels. x and y are those of the lower left corner, from the left and\n"
      "the bottom edge, negative ones from the right and the top edge. # begins a remark.\n"
      "When no value is recognised, report and overlay are written and the exit code is 8. A picture that is called\n"
      "train is ./train. In the flat interface this is ZelIMPMoneyGetValue, which looks for value 2 alone.");
  command.callback([options, &command] {
    if (command.get_subcommands().empty()) run_read(*options);
  });
}

}  // namespace tool
