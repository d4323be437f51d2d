// Shears an image along rows and columns at once, without interpolation.
//
//   src, dst      8 bits a pixel, any stride and sizes, must not overlap
//   column_shift  for each column of dst, how many rows further down in src its pixels lie
//   row_shift     for each row of dst, how many columns further right in src its pixels lie
//
// dst(r, x) = src(r + column_shift[x], x + row_shift[r]), 0 where that lies outside src. Sums do not overflow: all
// shifts and sizes are below 2^31.
//
// Exact. Cost: one read and one write per pixel, one copy per row and run of columns with the same shift.
#pragma once

#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

void shear(ConstView src, MutableView dst, std::span<const std::uint32_t> column_shift,
           std::span<const std::uint32_t> row_shift);

using ShearFn = decltype(shear);
ShearFn shear_scalar;

inline constexpr Variant<ShearFn> kShear[] = {{"scalar", Isa::none, shear_scalar}};

}  // namespace zel::kern
