// How well lines of micro-holes are read: sets of documents that differ in what makes reading hard, as a table, and
// whether the figures are those required.
//
//   holes_accuracy FRONT REAR [LINES]   pictures of the faces; lines of each set [200]

#include <ZelIMP/holes.hpp>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <iomanip>
#include <iostream>
#include <random>

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
  constexpr double kPlain = 0.99;
  constexpr double kScattered = 0.95;
  std::vector<Set> sets;
  struct Levels {
    std::uint8_t paper, hole;
  };
  for (const Levels levels : {Levels{220, 20}, Levels{220, 90}, Levels{180, 100}}) {
    for (const std::uint32_t noise : {0u, 10u, 20u, 40u}) {
      HoleSettings settings{.paper = levels.paper, .paper_noise = noise, .hole = levels.hole};
      const bool nominal = levels.hole == 20 && noise == 10;
      const std::string name =
          std::to_string(levels.paper) + " / " + std::to_string(levels.hole) + ", noise " + std::to_string(noise);
      sets.push_back({name, settings, kPlain, nominal});
    }
  }
  const auto harder = [](auto HoleSettings::*field, auto value) {
    HoleSettings settings{.paper_noise = 10};
    settings.*field = value;
    return settings;
  };
  sets.push_back({"220 / 20, noise 10, jitter 0.5", harder(&HoleSettings::jitter, 0.5), kScattered});
  sets.push_back({"220 / 20, noise 10, jitter 1", harder(&HoleSettings::jitter, 1.0), kScattered});
  sets.push_back({"220 / 20, noise 10, jitter 2", harder(&HoleSettings::jitter, 2.0)});
  sets.push_back({"220 / 20, noise 10, one hole missing", harder(&HoleSettings::missing, 1u)});
  sets.push_back({"220 / 20, noise 10, one hole too many", harder(&HoleSettings::extra, 1u)});
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

bool meets(const Set& set, const Counts& counts) {
  return counts.right_lines >= set.least_lines * counts.lines && (!set.no_misread || counts.misread == 0);
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
    if (meets(set, counts)) continue;
    all_met = false;
    std::cerr << set.name << ": fewer lines are right than required, or a digit is wrong\n";
  }
  return all_met ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const int lines = argc == 4 ? std::atoi(argv[3]) : 200;
  if (argc < 3 || argc > 4 || lines < 1) {
    std::cerr << "usage: holes_accuracy FRONT REAR [LINES]\n";
    return 2;
  }
  try {
    return run(argv[1], argv[2], static_cast<std::uint32_t>(lines));
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 2;
  }
}
