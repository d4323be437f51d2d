// Between box_threshold and its vector variants: what a variant does of a row, the rest is the scalar code's.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/box_threshold.hpp"

namespace zel::kern {

// A pixel is white when its sum is below (pixel * 100 / percent + 1) * divisor, with the quotient as
// (pixel * 256 * multiplier >> 16) >> shift. Nothing exceeds 31 bits.
struct LimitFactors {
  std::uint16_t multiplier;
  int shift;
  std::int16_t divisor;
};

// Pointers to column c of a row: the rows that come into the window and drop out of it half and half + 1 rows away,
// the row itself and its result, the sums of the row above and of this one (which may be the same buffer).
struct Columns {
  const std::uint8_t* enters;
  const std::uint8_t* leaves;
  const std::uint8_t* from;
  std::uint8_t* to;
  const std::int32_t* above;
  std::int32_t* sums;
};

// Sums and decisions of the columns c to c + n - 1, rounded down to whole vectors, where columns come into the window
// and drop out of it: from half + 1 to width - half. As in the scalar code, a sum decides the pixel before its own.
//   change   the sum of column c - 1 minus the one above it on entry, that of the last column done on return; it fits
//            16 bits, as half is at most kWidestHalf
//   returns  the number of columns done
using ColumnStep = std::size_t(const Columns& at, std::size_t n, std::size_t half, const LimitFactors& limit,
                               std::int16_t& change);

inline constexpr std::size_t kWidestHalf = 63;  // 127 columns of 255 each

// box_threshold with step where it applies.
void box_threshold_by(ColumnStep* step, ConstView src, MutableView dst, RowSums sums, int window, int percent);

}  // namespace zel::kern
