#include <memory>
#include <tuple>
#include <utility>

#include "commands.hpp"
#include "exit_code.hpp"
#include "io.hpp"
#include "note.hpp"
#include "note_places.hpp"

namespace tool {
namespace {

struct Options {
  NoteSettings settings;
  std::pair<double, double> shift{0, 0};
  bool no_figure = false;
  std::string front, rear;
  Common common;
};

void run(const Options& options) {
  check_targets({options.front, options.rear}, options.common.force);
  Progress progress(options.common.verbose);
  NoteSettings settings = options.settings;
  std::tie(settings.right, settings.down) = options.shift;
  settings.figure = !options.no_figure;
  const auto [front, rear] = draw_note(settings);
  progress.step("drew both faces of " + std::to_string(front.width) + " x " + std::to_string(front.height) + " pixels");
  std::vector<Output> outputs = {{options.front, as_png(view_of(front))}};
  if (!options.rear.empty()) outputs.push_back({options.rear, as_png(view_of(rear))});
  write_outputs(outputs, options.common.force);
  progress.wrote(outputs);
}

}  // namespace

void add_note(CLI::App& program) {
  const auto options = std::make_shared<Options>();
  NoteSettings& settings = options->settings;
  CLI::App& command = *program.add_subcommand("note", "Draw a specimen banknote, to try recognition with");
  command.add_option("VALUE", settings.value, "1, 2, 5, 10, 20, 50 or 100")
      ->required()
      ->check(one_of(zelimp::kNoteValues));
  command.add_option("-o,--output", options->front, "PNG of the front face to write, - standard output")->required();
  command.add_option("--rear", options->rear, "PNG of the rear face to write; it has no figure");
  command.add_option("--shift", options->shift, "Pixels by which the note lies right and down [0,0]")
      ->delimiter(',')
      ->type_name("X,Y")
      ->check(between(-50.0, 50.0));
  command.add_option("--turn", settings.turn_deg, "Degrees by which it lies turned, clockwise [0]")
      ->check(between(-45.0, 45.0));
  command.add_flag("--half-turn", settings.half_turn, "Turned by 180 degrees, besides");
  command.add_option("--wear", settings.wear, "Smudges; every third is a fold [0]")->check(between(0u, 100u));
  command.add_option("--contrast", settings.contrast, "Percent, about medium grey [100]")->check(between(0u, 400u));
  command.add_option("--noise", settings.noise, "Grey levels by which pixels vary at most, evenly [0]")
      ->check(between(0u, 255u));
  command.add_option("--seed", settings.seed, "Start of wear and noise [1]")->check(between(0u, 1000000000u));
  command.add_flag("--no-figure", options->no_figure, "Leave the figure of the value out");
  add_common(command, options->common);
  command.footer(
      "Examples:\n"
      "  zelimp note 20 -o front.png --rear rear.png\n"
      "  zelimp note 20 -o worn.png --shift 2,-1 --turn 0.3 --wear 6 --noise 10 --half-turn\n"
      "The design is invented; the figure of each value stands where its class is looked for.");
  command.callback([options] { run(*options); });
}

}  // namespace tool
