// How well lines of micro-holes are read: sets of documents that differ in what makes reading hard, as a table, and
// whether the figures are those required.
//
//   holes_accuracy FRONT REAR [LINES]   pictures of the faces; lines of each set [200]

#include <ZelIMP/holes.hpp>
#include <cmath>
#include <iomanip>
#include <random>

#include "accuracy.hpp"
#include "bitmap.hpp"
#include "micro_holes.hpp"

namespace {

using tool::HoleSettings;

constexpr std::size_t kDigits = 8;
constexpr int kPitch = 50;

struct Set {
  std::string name;
  HoleSettings settings;
  double least_lines = 0;  // required share of lines that are right on both faces
  bool no_misread = false;
};

struct Counts {
  int lines = 0, right_lines = 0;  // of documents; right: on both faces
  int characters = 0, right = 0, misread = 0;
  int unread() const { return characters - right - misread; }
};

std::vector<Set> all_sets() {
  constexpr double kPlain = 0.99, kScattered = 0.95;
  constexpr std::pair<std::uint8_t, std::uint8_t> kLevels[] = {{220, 20}, {220, 90}, {180, 100}};
  std::vector<Set> sets;
  for (const auto& [paper, hole] : kLevels) {
    for (const std::uint32_t noise : {0u, 10u, 20u, 40u}) {
      const std::string name =
          std::to_string(paper) + " / " + std::to_string(hole) + ", noise " + std::to_string(noise);
      const bool nominal = hole == 20 && noise == 10;
      sets.push_back({name, {.paper = paper, .paper_noise = noise, .hole = hole}, kPlain, nominal});
    }
  }
  sets.push_back({"220 / 20, noise 10, jitter 0.5", {.paper_noise = 10, .jitter = 0.5}, kScattered});
  sets.push_back({"220 / 20, noise 10, jitter 1", {.paper_noise = 10, .jitter = 1}, kScattered});
  sets.push_back({"220 / 20, noise 10, jitter 2", {.paper_noise = 10, .jitter = 2}});
  sets.push_back({"220 / 20, noise 10, one hole missing", {.paper_noise = 10, .missing = 1}});
  sets.push_back({"220 / 20, noise 10, one hole too many", {.paper_noise = 10, .extra = 1}});
  return sets;
}

std::string digits_of(std::uint32_t seed) {
  std::mt19937 random(seed);
  std::string digits;
  while (digits.size() < kDigits) digits.push_back(static_cast<char>('0' + random() % 10));
  return digits;
}

// A character counts where its box lies: one that is dropped does not make those behind it wrong.
void count_characters(const zelimp::HoleFace& face, const std::string& digits, std::uint32_t line_left,
                      Counts& counts) {
  std::string read(kDigits, '?');
  for (const zelimp::HoleCharacter& character : face.characters) {
    const double place = (static_cast<double>(character.box.left) - line_left) / kPitch;
    const auto i = static_cast<std::size_t>(std::max(std::lround(place), 0l));
    if (i < kDigits) read[i] = character.character;
  }
  for (std::size_t i = 0; i < kDigits; ++i) {
    ++counts.characters;
    if (read[i] == digits[i]) ++counts.right;
    if (read[i] != digits[i] && read[i] != '?') ++counts.misread;
  }
}

Counts measure(const std::array<tool::Picture, 2>& document, const Set& set, std::uint32_t lines) {
  Counts counts;
  const std::uint32_t width = document[0].width, height = document[0].height;
  for (std::uint32_t seed = 1; seed <= lines; ++seed) {
    HoleSettings settings = set.settings;
    settings.digits = digits_of(seed);
    settings.seed = seed;
    std::array<tool::Picture, 2> faces = document;
    const zelimp::Box line = tool::punch(faces, {width, height, {}}, settings);
    const zelimp::MicroHoles holes = zelimp::read_micro_holes(tool::as_dib(faces[0]), tool::as_dib(faces[1]));
    ++counts.lines;
    if (holes.status == 0 && holes.text == settings.digits) ++counts.right_lines;
    for (const zelimp::HoleFace* face : {&holes.front, &holes.rear}) {
      count_characters(*face, settings.digits, line.left, counts);
    }
  }
  return counts;
}

int run(const std::string& front, const std::string& rear, std::uint32_t lines) {
  const std::array<tool::Picture, 2> document{tool::read_picture(front, false), tool::read_picture(rear, false)};
  std::cout
      << "| levels of paper / holes | lines right | characters right | misread | unread |\n|---|---|---|---|---|\n"
      << std::fixed << std::setprecision(2);
  bool all_met = true;
  for (const Set& set : all_sets()) {
    const Counts counts = measure(document, set, lines);
    const auto percent = [&](int part) { return 100.0 * part / counts.characters; };
    std::cout << "| " << set.name << " | " << counts.right_lines << " of " << counts.lines << " | "
              << percent(counts.right) << " % | " << percent(counts.misread) << " % | " << percent(counts.unread())
              << " % |" << std::endl;
    const bool met = counts.right_lines >= set.least_lines * counts.lines && (!set.no_misread || counts.misread == 0);
    all_met = all_met && met;
    if (!met) std::cerr << set.name << ": fewer lines are right than required, or a digit is wrong\n";
  }
  return all_met ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  return run_with_number(argc, argv, 2, 200, "holes_accuracy FRONT REAR [LINES]",
                         [=](std::uint32_t lines) { return run(argv[1], argv[2], lines); });
}
