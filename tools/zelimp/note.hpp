// Specimen banknotes of an invented design, as a scanner shows them: to try recognition with.
#pragma once

#include <array>
#include <cstdint>

#include "picture.hpp"

namespace tool {

struct NoteSettings {
  int value = 1;                 // of a class; its figure stands where usual_locations() has the class
  bool figure = true;            // false: a note without it
  double right = 0;              // pixels by which the note lies off
  double down = 0;               //
  double turn_deg = 0;           // clockwise
  bool half_turn = false;        // besides
  std::uint32_t wear = 0;        // smudges; every third is a fold instead
  std::uint32_t contrast = 100;  // percent, about medium grey
  std::uint32_t noise = 0;       // grey levels by which samples vary at most, evenly
  std::uint32_t seed = 1;        // of wear and noise
};

// Front and rear in grey. The rear has no figure; wear goes through the sheet.
std::array<Picture, 2> draw_note(const NoteSettings& settings);

}  // namespace tool
