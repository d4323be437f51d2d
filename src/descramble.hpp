// The read-out's layout and the descrambling steps without the exported flags, for callers that share no state.
#pragma once

#include <ZelIMP/descramble.h>

#include <cstdint>

namespace zel {

// What the two exported flags select.
struct ReadoutLayout {
  bool swap_sides = true;
  bool tarsis_7200 = true;
};

// White levels of plane 1, 2 and 3 (grey: the first one) and black levels. A null pointer: no correction.
struct LevelTables {
  const std::uint16_t* white[3] = {};
  const std::uint16_t* black = nullptr;
};

// A read-out of rows lines and the buffer for the result, rows * width * samples bytes each.
struct Readout {
  const std::uint8_t* src;
  std::uint8_t* dst;
  std::int64_t rows;
  std::int64_t width;  // pixels
};

// Which raw lines of a grey read-out count.
struct LineChoice {
  int step = 1;   // 2: every second line
  int first = 0;  // the first line that counts
};

// Order in which the samples of a pixel are stored while channel A walks, upward or downward.
enum class PlaneWalk { first_to_last, last_to_first };

// The routines of <ZelIMP/descramble.h> with the layout as an argument. Any lag: what has no place in dst is dropped.
void descramble_grey(const Readout& readout, std::int64_t lag, ReadoutLayout layout, const LevelTables& tables,
                     LineChoice lines);
void descramble_colour(const Readout& readout, std::int64_t lag, ReadoutLayout layout, const LevelTables& tables,
                       PlaneWalk walk);

// halveLines as the grey routine reads it.
LineChoice line_choice(int halve_lines);

// Rows of the result: rows - lag, or (rows - 2 * lag) / 2 when halving; 0 where lag takes all.
std::uint32_t descrambled_rows(std::uint32_t rows, std::uint32_t lag, bool halving);

// Entries that each level table of a colour or grey read-out needs.
std::uint64_t level_entries(std::uint32_t rows, std::uint32_t width, bool colour, ReadoutLayout layout);

}  // namespace zel
