// Whitens isolated black pixels, in place and in raster order, so that a pixel already whitened counts as white.
//
//   image      any stride, any byte values; only pixels of value 0 are looked at
//   min_count  a black pixel stays when (n - min_count) * 255 > s, in signed 32 bits with wrap-around; n is the number
//              and s the sum of the pixels of its 3 x 3 block, clipped to the image. In a 0/255 image: when more than
//              min_count pixels of the block, itself included, are black
//
// Exact. Cost: one read per pixel, eight more in the neighbourhood of black pixels.
// Method of the vector variants, for 0/255 images and a min_count of 2: a bit per pixel, whose counts and decisions are
// bit-wise operations and one addition on words; see isolated_bits.hpp.
#pragma once

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

// Whether the pixel at (row, col), if it is black, stays.
bool has_neighbours(ConstView image, int min_count, std::size_t row, std::size_t col);

void isolated_pixels(MutableView image, int min_count);

using IsolatedPixelsFn = decltype(isolated_pixels);
IsolatedPixelsFn isolated_pixels_scalar, isolated_pixels_sse2, isolated_pixels_avx2;

inline constexpr Variant<IsolatedPixelsFn> kIsolatedPixels[] = {{"scalar", Isa::none, isolated_pixels_scalar},
                                                                {"sse2", Isa::sse2, isolated_pixels_sse2},
                                                                {"avx2", Isa::avx2, isolated_pixels_avx2}};

// The reference from first_row on; the rows above are done.
void isolated_pixels_from(MutableView image, int min_count, std::size_t first_row);

}  // namespace zel::kern
