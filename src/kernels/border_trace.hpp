// Where a document begins and ends in a row on a dark background.
//
//   row        the pixels
//   threshold  0 to 255; a pixel above it belongs to the document
//   returns    first_above: the column of the first such pixel, row.size() when there is none
//              last_above: the column of the last such pixel, 0 when there is none
//
// Exact. Cost: one read per pixel of the margin, a block at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/variant.hpp"

namespace zel::kern {

std::size_t first_above(std::span<const std::uint8_t> row, int threshold);
std::size_t last_above(std::span<const std::uint8_t> row, int threshold);

using BorderTraceFn = decltype(first_above);
BorderTraceFn first_above_scalar;
BorderTraceFn last_above_scalar;

inline constexpr Variant<BorderTraceFn> kFirstAbove[] = {{"scalar", Isa::none, first_above_scalar}};
inline constexpr Variant<BorderTraceFn> kLastAbove[] = {{"scalar", Isa::none, last_above_scalar}};

}  // namespace zel::kern
