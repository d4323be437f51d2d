// Mean-window threshold of an 8-bit image, with the pairing and the excess of the scanner's bi-level images.
//
//   src, dst   same size, any stride, must not overlap
//   sums       two rows of src.width() window sums; on return even and odd hold the sums of the last row with an even
//              and an odd number (odd stays as it was when there is one row only)
//   window     side of the square window in pixels, 1 to 46340; columns and rows beyond the image are left out
//   percent    share of the mean that a pixel must reach to be white
//
// The window of a position are the rows and columns up to half = window / 2 away, so that an even window is one pixel
// wider than its name. With S its sum, a pixel is white (255) when pixel * 100 >= S / (window * window) * percent, the
// quotient toward zero, all in signed 32 bits with wrap-around; else black (0).
//
// S of the next position in raster order decides a pixel: the last pixel of dst is not written, unless it is the only
// one, which its own sum decides. From column half + 1 on S includes the sum of column 0 over rows 0 to half,
// unless a sum of the first row left 31 bits before.
//
// Exact. Cost: independent of window, about four reads and two writes per pixel.
// Method: S of the row above plus a running sum of entering minus leaving pixels; the decision is a comparison with a
// limit per grey level where nothing can wrap. The vector variants keep the running sum in 16 bits (windows up to 127)
// and compute the limit.
#pragma once

#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

struct RowSums {
  std::span<std::int32_t> even;
  std::span<std::int32_t> odd;
};

void box_threshold(ConstView src, MutableView dst, RowSums sums, int window, int percent);

using BoxThresholdFn = decltype(box_threshold);
BoxThresholdFn box_threshold_scalar, box_threshold_sse2, box_threshold_avx2;

inline constexpr Variant<BoxThresholdFn> kBoxThreshold[] = {{"scalar", Isa::none, box_threshold_scalar},
                                                            {"sse2", Isa::sse2, box_threshold_sse2},
                                                            {"avx2", Isa::avx2, box_threshold_avx2}};

}  // namespace zel::kern
