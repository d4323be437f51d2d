// How often each value occurs in an 8-bit image.
//
//   src      any size and stride
//   counts   gets the number of samples of each value
//
// Exact. Cost: one read per sample.
// Method: several tables in turn, so that equal samples side by side do not wait for each other's count.
#pragma once

#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

void histogram(ConstView src, std::span<std::uint32_t, 256> counts);

using HistogramFn = decltype(histogram);
HistogramFn histogram_scalar;

inline constexpr Variant<HistogramFn> kHistogram[] = {{"scalar", Isa::none, histogram_scalar}};

}  // namespace zel::kern
