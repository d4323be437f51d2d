// How well values of banknotes are recognised: sets of specimen notes that differ in what makes it hard, as a table,
// and whether the figures are those required.
//
//   notes_accuracy [NOTES]   notes of each value in each set [100]

#include <ZelIMP.h>
#include <ZelIMP/banknotes.hpp>
#include <filesystem>
#include <random>

#include "accuracy.hpp"
#include "bitmap.hpp"
#include "exit_code.hpp"
#include "io.hpp"
#include "note.hpp"
#include "note_places.hpp"
#include "note_training.hpp"

namespace {

using tool::NoteSettings;

constexpr int kValues[] = {2, 5, 20};

struct Set {
  std::string name;
  NoteSettings settings;
  double shift = 0;      // pixels by which notes lie off at most
  bool required = true;  // 99 % right, no wrong value
};

struct Counts {
  int notes = 0, right = 0, wrong = 0;
  int flat_notes = 0, flat_right = 0, flat_wrong = 0;  // the first: of value 2, the only one that the call knows
};

std::vector<Set> all_sets() {
  std::vector<Set> sets = {{"as printed", {}}, {"shift 3", {}, 3}};
  for (const std::uint32_t contrast : {60u, 100u, 140u}) {
    for (const std::uint32_t noise : {10u, 20u}) {
      const std::string name = "shift 3, contrast " + std::to_string(contrast) + " %, noise " + std::to_string(noise);
      sets.push_back({name, {.contrast = contrast, .noise = noise}, 3});
    }
  }
  sets.push_back({"shift 3, noise 10, half turn", {.half_turn = true, .noise = 10}, 3});
  sets.push_back({"shift 3, noise 10, no figure", {.figure = false, .noise = 10}, 3});
  sets.push_back({"shift 3, noise 20, contrast 60 %, no figure", {.figure = false, .contrast = 60, .noise = 20}, 3});
  sets.push_back({"noise 10, turned by 0.25 degrees", {.turn_deg = 0.25, .noise = 10}, 0, false});
  sets.push_back({"noise 10, turned by 0.5 degrees", {.turn_deg = 0.5, .noise = 10}, 0, false});
  sets.push_back({"noise 10, turned by 1 degree", {.turn_deg = 1, .noise = 10}, 0, false});
  sets.push_back({"shift 3, noise 10, 6 marks of wear", {.wear = 6, .noise = 10}, 3, false});
  sets.push_back({"shift 3, noise 10, 20 marks of wear", {.wear = 20, .noise = 10}, 3, false});
  sets.push_back({"shift 3, noise 10, 60 marks of wear", {.wear = 60, .noise = 10}, 3, false});
  sets.push_back({"shift 6, noise 10", {.noise = 10}, 6, false});
  return sets;
}

// Places its notes at random, the same in every run.
NoteSettings varied(NoteSettings settings, int value, double shift, std::uint32_t seed) {
  std::mt19937 random(seed);
  const auto off = [&] { return shift * (static_cast<double>(random() >> 8) / 8388608 - 1); };
  settings.value = value;
  settings.right = off();
  settings.down = off();
  settings.seed = seed;
  return settings;
}

zelimp::Font train() {
  constexpr std::uint32_t kExamples = 6;
  zelimp::Font font;
  for (const int value : kValues) {
    const std::size_t of = tool::class_of(value).value();
    std::vector<tool::Picture> regions;
    for (std::uint32_t i = 0; i < kExamples; ++i) {
      const NoteSettings settings = varied({.wear = 2, .noise = 8}, value, i == 0 ? 0 : 2, 9000 + i);
      const tool::Picture note = tool::draw_note(settings)[0];
      const auto region = tool::region_on(zelimp::usual_locations()[of], note.width, note.height);
      regions.push_back(tool::stretched_region(note, region.value()));
    }
    tool::add_note_template(font, of, tool::make_note_template(regions, tool::kUsualMargin));
  }
  return font;
}

void load_flat(const zelimp::Font& font) {
  const std::filesystem::path folder = std::filesystem::temp_directory_path();
  std::string path = (folder / ("notes_accuracy_" + std::to_string(std::random_device()()) + ".fnt")).string();
  tool::write_outputs({{path, font.save()}}, false);
  ActualFont.LoadFont(path.data());
  std::filesystem::remove(path);
}

void count_note(const NoteSettings& settings, const zelimp::Font& font, const zelimp::NoteLocations& locations,
                Counts& counts) {
  const std::array<tool::Picture, 2> faces = tool::draw_note(settings);
  tool::Bytes first = tool::as_dib(faces[0]), second = tool::as_dib(faces[1]);
  const int wanted = settings.figure ? settings.value : 0;
  const zelimp::Banknote read = zelimp::read_banknote(first, second, font, locations);
  const bool sided = wanted == 0 || (!read.matches.empty() && !read.matches[0].second &&
                                     read.matches[0].upright != settings.half_turn);
  ++counts.notes;
  if (read.value == wanted && sided) ++counts.right;
  if (read.value != wanted && read.value != 0) ++counts.wrong;

  unsigned char told[3] = {};
  const auto bytes = [](tool::Bytes& dib) { return reinterpret_cast<unsigned char*>(dib.data()); };
  const int flat = ZelIMPMoneyGetValue(bytes(first), bytes(second), told, told + 1, told + 2);
  if (flat != 0 && flat != wanted) ++counts.flat_wrong;
  if (settings.value != 2) return;
  ++counts.flat_notes;
  if (flat == wanted) ++counts.flat_right;
}

int run(std::uint32_t notes) {
  const zelimp::Font font = train();
  load_flat(font);
  zelimp::NoteLocations locations = zelimp::usual_locations();
  for (zelimp::NoteLocation& location : locations) location.enabled = true;
  std::cout
      << "| notes | right | wrong value | no value | flat call, notes of value 2 right |\n|---|---|---|---|---|\n";
  bool all_met = true;
  for (const Set& set : all_sets()) {
    Counts counts;
    for (std::uint32_t i = 0; i < notes; ++i) {
      for (const int value : kValues) {
        count_note(varied(set.settings, value, set.shift, i + 1), font, locations, counts);
      }
    }
    const int none = set.settings.figure ? counts.notes - counts.right - counts.wrong : counts.right;
    std::cout << "| " << set.name << " | " << counts.right << " of " << counts.notes << " | " << counts.wrong << " | "
              << none << " | " << counts.flat_right << " of " << counts.flat_notes << " |" << std::endl;
    const bool enough = !set.required || counts.right >= 0.99 * counts.notes;
    const bool met = counts.wrong == 0 && counts.flat_wrong == 0 && enough;
    all_met = all_met && met;
    if (!met) std::cerr << set.name << ": fewer are right than required, or a value is wrong\n";
  }
  ActualFont.UnloadFont();
  return all_met ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) { return run_with_number(argc, argv, 0, 100, "notes_accuracy [NOTES]", run); }
