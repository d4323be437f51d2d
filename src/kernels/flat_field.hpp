// Flat-field correction of an 8-bit image, with one black and one white level per column.
//
//   image         corrected in place, any stride
//   white, black  at least image.width() levels each
//
// With B and W the levels of a sample's column: 0 up to B; sample - B when B >= W; else
// min((sample - B) * 255 / (W - B), 255), the quotient toward zero.
//
// Exact: with numerators up to 255 * 255 a rounded quotient of floats never reaches the next integer, so that its
// truncation is the integer quotient (checked for every numerator and divisor). Cost: one read and one write per
// sample, one division.
#pragma once

#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

void flat_field(MutableView image, std::span<const std::uint16_t> white, std::span<const std::uint16_t> black);

using FlatFieldFn = decltype(flat_field);
FlatFieldFn flat_field_scalar;

inline constexpr Variant<FlatFieldFn> kFlatField[] = {{"scalar", Isa::none, flat_field_scalar}};

}  // namespace zel::kern
