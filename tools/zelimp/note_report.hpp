// What reading a banknote gave: as text, as JSON, and drawn on the note.
#pragma once

#include <ZelIMP/banknotes.hpp>
#include <array>
#include <string>

#include "io.hpp"
#include "picture.hpp"

namespace tool {

struct NoteRead {
  std::array<std::string, 2> names;  // of the inputs; the second may be empty
  zelimp::NoteLocations locations;
  zelimp::Banknote note;
};

std::string as_text(const NoteRead& read);
std::string as_json(const NoteRead& read);

// A PNG: the image of the first match, turned as it was looked at, with the regions of the enabled classes, that of the
// match strong, its place green when it was accepted and orange otherwise, and below it the score in words.
Bytes note_png(const std::array<Picture, 2>& faces, const NoteRead& read);

}  // namespace tool
