// Quarter turns.
//
//   src, dst   of samples bytes a pixel, any stride, must not overlap; dst is as many pixels wide as src has rows and
//              has as many rows as src is pixels wide
//   samples    1 or 3; the bytes of a pixel keep their order
//   turn       clockwise: the pixel in row r, column c of an image with H rows goes to row c, column H - 1 - r;
//              counter-clockwise, with W columns: to row W - 1 - c, column r
//
// Exact. Cost: one read and one write per sample, in tiles that stay in the first cache.
#pragma once

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

enum class Turn { clockwise, counter_clockwise };

void quarter_turn(ConstView src, MutableView dst, std::size_t samples, Turn turn);

using QuarterTurnFn = decltype(quarter_turn);
QuarterTurnFn quarter_turn_scalar, quarter_turn_ssse3;

inline constexpr Variant<QuarterTurnFn> kQuarterTurn[] = {{"scalar", Isa::none, quarter_turn_scalar},
                                                          {"ssse3", Isa::ssse3, quarter_turn_ssse3}};

}  // namespace zel::kern
