// Digits punched as micro-holes through a sheet, as both of its faces show them to a scanner.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "bedding.hpp"
#include "picture.hpp"

namespace tool {

constexpr std::size_t kMostHoleDigits = 10;  // a longer line is wider than what both reading zones have in common

struct HoleSettings {
  std::string digits = {};        // 1 to kMostHoleDigits
  std::uint8_t paper = 220;       // grey level that the faces are brought to
  std::uint32_t paper_noise = 0;  // grey levels by which samples vary at most, evenly
  std::uint8_t hole = 20;         // grey level of the holes
  double jitter = 0;              // pixels by which a hole lies off its place at most, across and down, evenly
  std::uint32_t missing = 0;      // holes that each character lacks
  std::uint32_t extra = 0;        // holes that each character has where none belongs
  std::uint32_t seed = 1;         // of noise, jitter, missing and extra holes, which do not influence each other
};

// Punches the line where both reading calls look for it once the images are made; around it the faces are left blank,
// like documents that are made to be punched. Holes go through the sheet: the rear face has them mirrored. Returns
// where the line's outermost dots lie in the image of the front face. Throws Failure when it has no room there.
zelimp::Box punch(std::array<Picture, 2>& faces, const Bedding& bedding, const HoleSettings& settings);

}  // namespace tool
