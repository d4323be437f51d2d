// Between resample and resample_average.cpp: positions whose weights are all 1, in integers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "kernels/resample_line.hpp"

namespace zel::kern {

// All rows of positions side by side, from dst's first column on.
void average_across(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps);
void average_across_avx2(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps);

// One row of n samples: of count rows, at least one, from first on.
void average_down(const std::uint8_t* first, std::size_t stride, std::size_t count, std::uint8_t* dst, std::size_t n);

}  // namespace zel::kern
