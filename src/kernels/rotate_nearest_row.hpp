// Between rotate_nearest and its vector variants, which copy grey pixels; the rest is the scalar code's.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/rotate_nearest.hpp"

namespace zel::kern {

// Neighbouring pixels of a row of dst, all of which lie inside src, and what their coordinates are made of.
struct RotatedRow {
  const float* along;    // cosine * x of each pixel
  const float* against;  // sine * x
  float cosine_y;
  float sine_y;
  float half_width;
  float half_height;
  std::size_t count;
};

// Copies whole blocks of the row's pixels from src, beginning with the first. Returns how many pixels that are.
using RotateRow = std::size_t(ConstView src, const RotatedRow& row, std::uint8_t* to);

// rotate_nearest with copy for images of one sample a pixel, or null.
void rotate_nearest_by(RotateRow* copy, ConstView src, MutableView dst, std::size_t samples, float cosine, float sine);

}  // namespace zel::kern
