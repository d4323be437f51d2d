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

std::uint64_t difference(const zelimp::Pixels& pattern, const Picture& picture, std::uint32_t left, std::uint32_t top) {
  std::uint64_t sum = 0;
  for (std::size_t y = 0; y < pattern.height; ++y) {
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
      const std::uint64_t sum = difference(pattern, region, left, top);
      if (sum >= least) continue;
      least = sum;
      place.left = left, place.top = top;
    }
  }
  return place;
}

// Fills in mask and counted. The deviations that a font keeps wrap beyond eight bits: these are exact.
void make_mask(NoteTemplate& note) {
  const zelimp::Pixels& first = note.samples.front();
  const auto count = static_cast<std::uint32_t>(note.samples.size());
  note.mask = {first.width, first.height, std::vector<std::byte>(first.pixels.size())};
  for (std::size_t i = 0; i < first.pixels.size(); ++i) {
    std::uint32_t sum = 0, off = 0;
    for (const zelimp::Pixels& sample : note.samples) sum += std::to_integer<std::uint32_t>(sample.pixels[i]);
    const int mean = static_cast<int>(sum / count);
    for (const zelimp::Pixels& sample : note.samples) {
      off += static_cast<std::uint32_t>(std::abs(std::to_integer<int>(sample.pixels[i]) - mean));
    }
    const std::uint32_t mask = std::min(kMaskGain * off / count, kLeftOut);
    note.mask.pixels[i] = static_cast<std::byte>(mask);
    const int dead = static_cast<int>(mask);
    if (mask < kLeftOut && (mean > kLight + dead || mean < kDark - dead)) ++note.counted;
  }
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
  const Picture& first = regions.front();
  const bool room = std::min(first.width, first.height) > 2 * margin;
  const zelimp::Box middle = {margin, margin, first.width - 2 * margin, first.height - 2 * margin};
  if (!room || std::uint64_t{middle.width} * middle.height < kShareToMiss) {
    throw Failure(Exit::usage, "a margin of " + std::to_string(margin) + " leaves too little of a region of " +
                                   std::to_string(first.width) + " x " + std::to_string(first.height) + " pixels");
  }
  NoteTemplate note;
  for (const Picture& region : regions) {
    note.places.push_back(note.samples.empty() ? middle : nearest_place(note.samples.front(), region));
    note.samples.push_back(part_of(region, note.places.back()));
  }
  make_mask(note);
  const std::size_t pixels = note.mask.pixels.size();
  if (note.counted < pixels / kShareToMiss) {
    throw Failure(Exit::usage, "only " + std::to_string(note.counted) + " of " + std::to_string(pixels) +
                                   " pixels are alike and light or dark in the examples: every note would be accepted");
  }
  return note;
}

std::uint32_t add_note_template(zelimp::Font& font, std::size_t of, const NoteTemplate& note) {
  constexpr std::uint32_t kStep = 16, kMostCode = 127;
  auto code = static_cast<std::uint32_t>(of == 0 ? kStep : of);
  while (code <= kMostCode && font.find(code)) code += kStep;
  if (code > kMostCode) {
    throw Failure(Exit::usage, "the font has no code left for value " + std::to_string(zelimp::kNoteValues[of]));
  }
  for (const zelimp::Pixels& sample : note.samples) font.train(code, {sample.width, sample.height, sample.pixels});
  font.set_mask(code, {note.mask.width, note.mask.height, note.mask.pixels});
  return code;
}

}  // namespace tool
