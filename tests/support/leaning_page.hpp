// A skewed two-faced scan for tests of deskewing and cropping.
#pragma once

#include <algorithm>

#include "support/random.hpp"
#include "support/tiff_builder.hpp"

namespace zel::test {

// Two bright faces on a dark bed, all of it noisy. Their borders lean as those of a sheet that the device has turned:
// the front face, on the left, clockwise, the rear face as its mirror image, by six columns over all rows.
inline Bytes leaning_page(unsigned width, unsigned height, unsigned samples) {
  Bytes pixels(std::size_t{width} * height * samples);
  Random(3).fill(pixels);
  const unsigned half = width / 2, band = std::max(half / 8, 1u);
  for (unsigned r = 0; r < height; ++r) {
    const unsigned lean = 6 * (height - 1 - r) / height;
    for (unsigned x = 0; x < width; ++x) {
      const unsigned from_outside = x < half ? x : width - 1 - x;
      const bool paper = from_outside >= band + lean && from_outside < half - 2 * band + lean;
      for (unsigned s = 0; s < samples; ++s) {
        std::uint8_t& p = pixels[(r * width + x) * samples + s];
        p = static_cast<std::uint8_t>(paper ? p / 4 + 190 : p / 20);
      }
    }
  }
  return pixels;
}

}  // namespace zel::test
