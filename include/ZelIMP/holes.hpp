// The checked interface: characters punched as micro-holes. C++20.
#ifndef ZELIMP_HOLES_HPP
#define ZELIMP_HOLES_HPP

#include <ZelIMP/basics.hpp>
#include <array>

namespace zelimp {

// A character as it was read. Places are pixels of the picture, counted from its top left corner as it is seen; those
// of a rear face are of its mirror image, on which the characters stand upright.
struct HoleCharacter {
  char character = '?';  // '?': no digit comes near enough
  Box box;
  std::array<std::uint8_t, 35> pattern{};  // 7 rows of 5 cells, top row first, 1 for a hole; of an unmatched character
                                           // the trial that came nearest to a digit
  std::array<Box, 35> cells;               // where each was looked for
  int differing = 0;                       // cells in which the pattern and the digit, or the nearest one, differ
};

// Why nothing, or not all of it, was read. The threshold below which pixels are ink is lowered until the inked rows
// have the height of a line, at most to a floor; what is found at the floor is read all the same.
enum class HoleReason {
  none,            // all characters were read
  no_image,        // no image was given for this face
  no_ink,          // no column of the zone has ink, or only at thresholds at which no line was found
  no_line_height,  // ink, but no box, and the floor was used for the line or for the boxes on it
  no_box,          // a line of a height in range, but no box on it
  unmatched,       // some characters are '?'
};

struct HoleFace {
  bool read = false;  // at least one character, '?' included
  std::string text;   // as ZelIMPDecodeMH gives it; empty unless read
  HoleReason reason = HoleReason::none;
  bool floor_threshold = false;  // the floor was used, also for what was read
  Box zone;                      // that was looked at
  Box line;                      // that was found in it; empty without ink
  std::vector<HoleCharacter> characters;
};

// Where the line is looked for: pixels from the left and, as forms are measured, from the bottom of the picture to the
// zone's lowest row. In an image whose rows are stored top to bottom it is taken one row lower, its
// height is from 3 to 128, and bottom is not below height. The zones of ZelIMPValidateMH and ZelIMPDecodeMH.
struct HoleZone {
  std::uint32_t left = 0;
  std::uint32_t bottom = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};
inline constexpr HoleZone kValidateZone = {166, 195, 540, 85};
inline constexpr HoleZone kDecodeZone = {146, 175, 520, 90};

struct MicroHoles {
  int status = 0;    // as ZelIMPValidateMH returns it: front 0 read, 1 not read, 2 no image; rear 0, 4, 8
  std::string text;  // what it tells: the text that both faces give, or "Front=...\nRear=..."
  HoleFace front, rear;
};

// Reads the line of micro-holes of a document. front, rear: 8-bit DIBs with headers of 40 or 12 bytes, or whole bitmap
// files, not changed; empty: no image of this face. The rear face is mirrored as ZelIMPValidateMH does. Throws
// not_loaded when header, colour table and rows do not lie within the bytes one behind the other, unsupported for other
// depths, headers or compressed rows, bad_argument when the zone is empty or not inside an image, over_limit. Working
// memory: a few times the zone.
ZELIMP_API MicroHoles read_micro_holes(std::span<const std::byte> front, std::span<const std::byte> rear,
                                       const HoleZone& zone = kValidateZone, const Limits& limits = {});

}  // namespace zelimp

#endif
