// Module ImagBox, for the modules beside it: segmentation and decoding without globals.
#pragma once

#include <ZelIMP/ImagBox.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Dibapi.hpp"

namespace zel {

// The recognition parameters, by the names of the globals.
struct BoxParameters {
  unsigned min_width, min_height, max_width, max_height, max_hole, spacing, density;
};
BoxParameters current_parameters();  // what the globals hold
inline constexpr BoxParameters kMicroHoles = {29, 51, 33, 54, 5, 50, 10};

// ImageBox_Normalize. density: percentage of the pixels that counts as ink.
int normalise(const GreyDib& image, unsigned density);

// A line of characters on an image, rows and columns as they lie in it.
struct Line {
  int threshold;  // in force at the end; ink is below
  bool in_range;  // a height was in range; else threshold is the floor
  bool inked;     // some column has ink
  int left;       // first and last inked column between top and bottom: what Extract_string cuts at
  int right;
  int top;
  int bottom;
};

// The search of Extract_string on an image, which is normalised first.
Line find_string(const GreyDib& image, const BoxParameters& parameters);

// That part as a new DIB, to be freed with free(). Null without memory or ink.
unsigned char* cut_string(const GreyDib& image, const Line& line);

struct Boxes {
  std::array<CHAR_BOX, 128> box;
  int count;      // 0: none
  bool in_range;  // as for a line
};

// ImageBox_Box.
Boxes find_boxes(const GreyDib& image, const BoxParameters& parameters);

// What MicroholesFont holds unless a host changes it.
inline constexpr std::array<std::uint8_t, 350> kHoleDigits = {
#include "hole_digits.inc"
};

// A box as decoded. The cells in the order of a glyph; cell_left, cell_row: column and row (as they lie) of the first
// of the 4 x 4 pixels of each.
struct DecodedHole {
  char character;
  std::array<std::uint8_t, 35> pattern;
  std::array<int, 35> cell_left;
  std::array<int, 35> cell_row;
  int differing;
};

// ImageBox_Decode_holes, box by box, with glyphs of 35 cells each for the digits 0 to 9. Of a box that no trial matches
// the trial that differs least is told, the first of equals.
std::vector<DecodedHole> decode_holes(const GreyDib& image, std::span<const CHAR_BOX> boxes,
                                      std::span<const std::uint8_t, 350> glyphs);

// A part of an image as Extract_image takes it: y from the bottom of the picture, sizes as they are.
struct Zone {
  std::int64_t x, y, width, height;
};

// Extract_image, without a trace in the image. Null without memory, and where there is no such zone.
bool has_zone(const GreyDib& image, const Zone& zone);
unsigned char* cut_zone(const GreyDib& image, const Zone& zone);

// The characters with spaces by the pitch rule, at most 127 in all.
std::string spaced(std::span<const char> characters, std::span<const CHAR_BOX> boxes);

}  // namespace zel
