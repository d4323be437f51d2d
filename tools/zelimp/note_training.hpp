// Templates of banknotes, made of example notes.
#pragma once

#include <ZelIMP/banknotes.hpp>
#include <span>
#include <vector>

#include "picture.hpp"

namespace tool {

constexpr std::uint32_t kUsualMargin = 4;

struct NoteTemplate {
  std::vector<zelimp::Pixels> samples;  // of the examples, stretched and aligned to the first
  std::vector<zelimp::Box> places;      // where they were cut, within the region of each example
  zelimp::Pixels mask;                  // from 0 to 127, which leaves a pixel out
  std::size_t light = 0, dark = 0;      // pixels that are it enough to disagree with a note
};

// The part of a grey picture, stretched as the reader stretches its region.
Picture stretched_region(const Picture& note, const zelimp::Box& region);

// Of stretched regions of one size, upright. Each template side is smaller by the margin at both ends, so that it can
// slide; of the first region it is the middle, of the others where they differ least from that. The mask is four times
// a pixel's mean deviation from the mean that a font keeps. Throws Failure when the margin leaves less than 25 pixels
// or too many places to compare, or when so few light or dark pixels count that a blank place would be accepted.
NoteTemplate make_note_template(std::span<const Picture> regions, std::uint32_t margin);

// Adds it under the first free code of the class, which is returned. Throws Failure when the class has none left.
std::uint32_t add_note_template(zelimp::Font& font, std::size_t of, const NoteTemplate& note);

}  // namespace tool
