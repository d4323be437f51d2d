// Turns an image about its centre by any angle, without interpolation; its size stays.
//
//   src, dst     W x H pixels of samples bytes, any stride, must not overlap; W and H below 2^31
//   samples      1 or 3; the bytes of a pixel keep their order
//   cosine, sine of the angle; not a number: all of dst is outside
//
// With x = i - W/2 and y = j - H/2, pixel (j, i) of dst is pixel (v, u) of src, 0 where that lies outside:
//
//   u = trunc(((cosine * x + sine * y) + W/2) + 0.5)
//   v = trunc(((cosine * y - sine * x) + H/2) + 0.5)
//
// Exact: halves are real, x and y grow by steps of 1, and every operation is rounded to single precision in the order
// written, so a variant may hoist the four products but neither fuse nor regroup anything. Truncation is toward zero.
// Cost: one read and one write per pixel and six additions; blocks that stay in one row of src are copied whole.
#pragma once

#include <cstddef>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

void rotate_nearest(ConstView src, MutableView dst, std::size_t samples, float cosine, float sine);

using RotateNearestFn = decltype(rotate_nearest);
RotateNearestFn rotate_nearest_scalar, rotate_nearest_avx2;

inline constexpr Variant<RotateNearestFn> kRotateNearest[] = {{"scalar", Isa::none, rotate_nearest_scalar},
                                                              {"avx2", Isa::avx2, rotate_nearest_avx2}};

}  // namespace zel::kern
