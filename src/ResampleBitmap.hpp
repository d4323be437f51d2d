// Module ResampleBitmap, for the modules beside it: the filters, and the engine on packed pixels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/image_view.hpp"
#include "kernels/resample.hpp"

namespace zel {

// By the filter numbers of <ZelIMP/ResampleBitmap.h>.
inline constexpr unsigned kBoxFilter = 1;
inline constexpr unsigned kTriangleFilter = 12;
inline constexpr unsigned kFilters = 13;
const kern::ResampleFilter& resample_filter(unsigned number);

// The longest side of what the flat interface makes.
inline constexpr std::uint32_t kMostResampled = 4096;

// A side as the engine makes it.
std::uint32_t engine_side(std::uint32_t asked);

// Whether width x height pixels as 32-bit words take no more than 2^32 - 1 bytes.
bool fits_words(std::uint64_t width, std::uint64_t height);

}  // namespace zel
