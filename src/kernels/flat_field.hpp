// Flat-field correction of an 8-bit image, with one black and one white level per column.
//
//   image         corrected in place, any stride
//   white, black  at least image.width() levels each
//
// With B and W the levels of a sample's column: 0 up to B; sample - B when B >= W; else
// min((sample - B) * 255 / (W - B), 255), the quotient toward zero.
//
// Exact: the quotient is a product of floats that is too large by too little to reach the next integer (checked for
// every sample and W - B). Cost: one read and one write per sample, one multiplication.
#pragma once

#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

void flat_field(MutableView image, std::span<const std::uint16_t> white, std::span<const std::uint16_t> black);

using FlatFieldFn = decltype(flat_field);
FlatFieldFn flat_field_scalar, flat_field_sse2, flat_field_avx2;

inline constexpr Variant<FlatFieldFn> kFlatField[] = {{"scalar", Isa::none, flat_field_scalar},
                                                      {"sse2", Isa::sse2, flat_field_sse2},
                                                      {"avx2", Isa::avx2, flat_field_avx2}};

}  // namespace zel::kern
