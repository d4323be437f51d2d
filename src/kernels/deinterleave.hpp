// De-interleave: the two sensor channels of a raw read-out into two images.
//
//   raw       the read-out; a line holds channel A at even and channel B at odd indices. Grey: width samples. Colour:
//             three planes of width samples each, one after the other
//   a, b      destinations, may share rows but not samples with each other, and must not overlap raw. Grey: width / 2
//             samples wide. Colour: 3 * (width / 2)
//   lag       row r of a comes from raw line r, row r of b from raw line r + lag: a.height() <= raw.height(),
//             lag + b.height() <= raw.height()
//   mirror_a  channel A from right to left
//   order_a   colour: whether the samples of a pixel of a stand as plane 1, 2, 3 or 3, 2, 1; b always has 1, 2, 3
//
// width is even. Exact. Cost: one read and one write per sample.
#pragma once

#include <cstddef>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

enum class PlaneOrder { forward, backward };

void deinterleave_grey(ConstView raw, MutableView a, MutableView b, std::size_t lag, bool mirror_a);
void deinterleave_colour(ConstView raw, MutableView a, MutableView b, std::size_t lag, bool mirror_a,
                         PlaneOrder order_a);

using DeinterleaveGreyFn = decltype(deinterleave_grey);
using DeinterleaveColourFn = decltype(deinterleave_colour);
DeinterleaveGreyFn deinterleave_grey_scalar, deinterleave_grey_ssse3;
DeinterleaveColourFn deinterleave_colour_scalar, deinterleave_colour_ssse3;

inline constexpr Variant<DeinterleaveGreyFn> kDeinterleaveGrey[] = {{"scalar", Isa::none, deinterleave_grey_scalar},
                                                                    {"ssse3", Isa::ssse3, deinterleave_grey_ssse3}};
inline constexpr Variant<DeinterleaveColourFn> kDeinterleaveColour[] = {
    {"scalar", Isa::none, deinterleave_colour_scalar}, {"ssse3", Isa::ssse3, deinterleave_colour_ssse3}};

}  // namespace zel::kern
