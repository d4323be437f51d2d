// Separable resampling with a reconstruction filter, normalised by the sum of its weights.
//
//   src, dst   pixels of `samples` samples each, any stride; at least one pixel each; dst may be src, else no overlap
//   samples    bytes a pixel, each resampled for itself: 1, 3 or 4
//   filter     weight of a source sample by its distance, in source pixels, or in destination pixels where the image
//              shrinks, and the largest such distance that counts
//
// First all source rows are resampled across, then the columns of that intermediate image down. Destination position i
// lies over source position i / scale, the first pixels over each other; `reach` being the radius in source pixels, the
// weights are those of the source samples from left = i / scale + 0.5 - reach to left + 2 * reach, both toward zero.
// Each result is the sum of sample * weight in ascending source order, divided by the sum of the weights, toward zero,
// and limited to 0..255; 0 where no source sample has a weight, or where the quotient leaves 32 bits. With equal sizes
// dst is a copy.
//
// Exact: all in double, multiplied, then added, nothing fused or reordered. Where all weights are 1, sums are integers.
// Cost: proportional to the weights under the filter, source rows times destination width and again destination pixels.
// Memory: the intermediate image, the weights of 4096 samples. Throws std::bad_alloc, before dst is written to.
// Method: one lane of a vector is one sum. Across, lanes are neighbours whose source samples are shuffled into place;
// down, neighbouring columns.
#pragma once

#include <cstddef>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

struct ResampleFilter {
  double (*weight)(double x);
  double radius;
};

void resample(ConstView src, MutableView dst, std::size_t samples, const ResampleFilter& filter);

using ResampleFn = decltype(resample);
ResampleFn resample_scalar, resample_avx2;

inline constexpr Variant<ResampleFn> kResample[] = {{"scalar", Isa::none, resample_scalar},
                                                    {"avx2", Isa::avx2, resample_avx2}};

}  // namespace zel::kern
