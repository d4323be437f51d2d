#include "kernels/flat_field.hpp"

#include <algorithm>
#include <array>

#include "kernels/flat_field_row.hpp"

namespace zel::kern {
namespace {

// Columns treated together: their levels are prepared once for all rows and stay in the cache.
constexpr std::size_t kStrip = 1024;

// 255 / range, too large by a factor of 1 + 2^-20 give or take two roundings, so that its product with a number n up to
// 255 exceeds n * 255 / range, but by less than 1 / range: not enough to reach the next integer.
float gain_for(int range) { return static_cast<float>(255.0 * (1.0 + 0x1p-20) / range); }

}  // namespace

void flat_field_row(std::uint8_t* row, std::size_t n, const float* black, const float* gain) {
  for (std::size_t i = 0; i < n; ++i) {
    const float above = std::max(static_cast<float>(row[i]) - black[i], 0.0f);
    const auto level = static_cast<std::int32_t>(above * gain[i]);  // toward zero
    row[i] = static_cast<std::uint8_t>(std::min(level, 255));
  }
}

void flat_field_by(FlatFieldRow* correct, MutableView image, std::span<const std::uint16_t> white,
                   std::span<const std::uint16_t> black) {
  std::array<float, kStrip> blacks;
  std::array<float, kStrip> gains;
  for (std::size_t first = 0; first < image.width(); first += kStrip) {
    const std::size_t n = std::min(kStrip, image.width() - first);
    for (std::size_t i = 0; i < n; ++i) {
      const int w = white[first + i];
      const int b = black[first + i];
      blacks[i] = static_cast<float>(b);
      // A range of 255 leaves sample - B as it is: no gain where the white level is not above the black one.
      gains[i] = gain_for(b >= w ? 255 : w - b);
    }
    for (std::size_t r = 0; r < image.height(); ++r) {
      correct(image.row_ptr(r) + first, n, blacks.data(), gains.data());
    }
  }
}

void flat_field_scalar(MutableView image, std::span<const std::uint16_t> white, std::span<const std::uint16_t> black) {
  flat_field_by(flat_field_row, image, white, black);
}

void flat_field(MutableView image, std::span<const std::uint16_t> white, std::span<const std::uint16_t> black) {
  static const auto run = best(kFlatField);
  run(image, white, black);
}

}  // namespace zel::kern
