#include "note_training.hpp"

#include <ZelIMP.h>
#include <ZelIMP/MoneyDecode.h>
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

#include "bitmap.hpp"
#include "exit_code.hpp"

namespace tool {
namespace {

constexpr std::uint32_t kShareToMiss = 25;  // a template that disagrees in less than this part of it is accepted
constexpr std::uint32_t kLeftOut = 127;
constexpr std::uint32_t kMaskGain = 4;
constexpr int kLight = 147, kDark = 107;
constexpr std::uint64_t kMostCompared = std::uint64_t{1} << 36;  // pixels for each example: some ten seconds

zelimp::Pixels part_of(const Picture& picture, const zelimp::Box& box) {
  zelimp::Pixels part{box.width, box.height, {}};
  part.pixels.reserve(std::size_t{box.width} * box.height);
  const auto samples = std::as_bytes(std::span(picture.samples));
  for (std::size_t y = box.top; y < box.top + box.height; ++y) {
    const auto row = samples.subspan(y * picture.width + box.left, box.width);
    part.pixels.insert(part.pixels.end(), row.begin(), row.end());
  }
  return part;
}

// Incomplete once it is `enough`.
std::uint64_t difference(const zelimp::Pixels& pattern, const Picture& picture, std::uint32_t left, std::uint32_t top,
                         std::uint64_t enough) {
  std::uint64_t sum = 0;
  for (std::size_t y = 0; y < pattern.height && sum < enough; ++y) {
    const std::uint8_t* row = &picture.samples[(top + y) * picture.width + left];
    const std::byte* wanted = &pattern.pixels[y * pattern.width];
    for (std::size_t x = 0; x < pattern.width; ++x) {
      sum += static_cast<std::uint32_t>(std::abs(row[x] - std::to_integer<int>(wanted[x])));
    }
  }
  return sum;
}

// Where a region differs least from the pattern; of equals the first, row by row.
zelimp::Box nearest_place(const zelimp::Pixels& pattern, const Picture& region) {
  zelimp::Box place{0, 0, pattern.width, pattern.height};
  std::uint64_t least = std::numeric_limits<std::uint64_t>::max();
  for (std::uint32_t top = 0; top + pattern.height <= region.height; ++top) {
    for (std::uint32_t left = 0; left + pattern.width <= region.width; ++left) {
      const std::uint64_t sum = difference(pattern, region, left, top, least);
      if (sum >= least) continue;
      least = sum;
      place.left = left, place.top = top;
    }
  }
  return place;
}

void train(zelimp::Font& font, std::uint32_t code, const std::vector<zelimp::Pixels>& samples) {
  for (const zelimp::Pixels& sample : samples) font.train(code, {sample.width, sample.height, sample.pixels});
}

// As a font keeps it: rounded down with every sample, it falls below the true mean.
zelimp::Pixels mean_of(const std::vector<zelimp::Pixels>& samples) {
  zelimp::Font font;
  train(font, 1, samples);
  return font.character(0).mean;
}

// Fills in mask, light and dark. The deviations that a font keeps wrap beyond eight bits: these are exact.
void make_mask(NoteTemplate& note) {
  const zelimp::Pixels means = mean_of(note.samples);
  const auto count = static_cast<std::uint32_t>(note.samples.size());
  note.mask = {means.width, means.height, std::vector<std::byte>(means.pixels.size())};
  for (std::size_t i = 0; i < means.pixels.size(); ++i) {
    const int mean = std::to_integer<int>(means.pixels[i]);
    std::uint32_t off = 0;
    for (const zelimp::Pixels& sample : note.samples) {
      off += static_cast<std::uint32_t>(std::abs(std::to_integer<int>(sample.pixels[i]) - mean));
    }
    const std::uint32_t mask = std::min(kMaskGain * off / count, kLeftOut);
    note.mask.pixels[i] = static_cast<std::byte>(mask);
    const int dead = static_cast<int>(mask);
    if (mask < kLeftOut && mean > kLight + dead) ++note.light;
    if (mask < kLeftOut && mean < kDark - dead) ++note.dark;
  }
}

// The middle of a region.
zelimp::Box box_within(const Picture& region, std::uint32_t margin) {
  const std::string of =
      " of a region of " + std::to_string(region.width) + " x " + std::to_string(region.height) + " pixels";
  const std::string sentence = "a margin of " + std::to_string(margin);
  const bool room = std::min(region.width, region.height) > 2 * margin;
  const zelimp::Box middle = {margin, margin, region.width - 2 * margin, region.height - 2 * margin};
  const std::uint64_t pixels = std::uint64_t{middle.width} * middle.height;
  if (!room || pixels < kShareToMiss) throw Failure(Exit::usage, sentence + " leaves too little" + of);
  const std::uint64_t places = std::uint64_t{2 * margin + 1} * (2 * margin + 1);
  if (pixels > kMostCompared / places) throw Failure(Exit::over_limit, sentence + " gives too many places" + of);
  return middle;
}

// Refuses what a place without anything on it would be taken for: stretched it is black, or mostly white.
void check_contrast(const NoteTemplate& note) {
  const std::size_t pixels = note.mask.pixels.size();
  if (std::min(note.light, note.dark) >= pixels / kShareToMiss) return;
  throw Failure(Exit::usage, "only " + std::to_string(note.light) + " light and " + std::to_string(note.dark) +
                                 " dark pixels of " + std::to_string(pixels) +
                                 " are alike in the examples: a blank place would be accepted");
}

}  // namespace

Picture stretched_region(const Picture& note, const zelimp::Box& region) {
  const zelimp::Pixels part = part_of(note, region);
  Picture cut{part.width, part.height, 1, std::vector<std::uint8_t>(part.pixels.size())};
  std::ranges::transform(part.pixels, cut.samples.begin(),
                         [](std::byte b) { return std::to_integer<std::uint8_t>(b); });
  Bytes dib = as_dib(cut);
  Image_Equalize(reinterpret_cast<unsigned char*>(dib.data()));
  return seen_in(dib, false);
}

NoteTemplate make_note_template(std::span<const Picture> regions, std::uint32_t margin) {
  const zelimp::Box middle = box_within(regions.front(), margin);
  NoteTemplate note;
  for (const Picture& region : regions) {
    note.places.push_back(note.samples.empty() ? middle : nearest_place(note.samples.front(), region));
    note.samples.push_back(part_of(region, note.places.back()));
  }
  make_mask(note);
  check_contrast(note);
  return note;
}

std::uint32_t add_note_template(zelimp::Font& font, std::size_t of, const NoteTemplate& note) {
  constexpr std::uint32_t kStep = 16, kMostCode = 127;
  auto code = static_cast<std::uint32_t>(of == 0 ? kStep : of);
  while (code <= kMostCode && font.find(code)) code += kStep;
  if (code > kMostCode) {
    throw Failure(Exit::usage, "the font has no code left for value " + std::to_string(zelimp::kNoteValues[of]));
  }
  train(font, code, note.samples);
  font.set_mask(code, {note.mask.width, note.mask.height, note.mask.pixels});
  return code;
}

}  // namespace tool
