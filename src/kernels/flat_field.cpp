#include "kernels/flat_field.hpp"

#include <algorithm>
#include <array>

namespace zel::kern {
namespace {

// Columns treated together: their levels are prepared once for all rows and stay in the cache.
constexpr std::size_t kStrip = 1024;

}  // namespace

void flat_field_scalar(MutableView image, std::span<const std::uint16_t> white, std::span<const std::uint16_t> black) {
  std::array<std::int32_t, kStrip> offset;
  std::array<float, kStrip> range;
  for (std::size_t first = 0; first < image.width(); first += kStrip) {
    const std::size_t n = std::min(kStrip, image.width() - first);
    for (std::size_t i = 0; i < n; ++i) {
      const int w = white[first + i];
      const int b = black[first + i];
      offset[i] = b;
      // A range of 255 leaves sample - B as it is: no gain where the white level is not above the black one.
      range[i] = static_cast<float>(b >= w ? 255 : w - b);
    }
    for (std::size_t r = 0; r < image.height(); ++r) {
      std::uint8_t* const row = image.row_ptr(r) + first;
      for (std::size_t i = 0; i < n; ++i) {
        const std::int32_t above = std::max(row[i] - offset[i], 0);
        const auto level = static_cast<std::int32_t>(static_cast<float>(above * 255) / range[i]);  // toward zero
        row[i] = static_cast<std::uint8_t>(std::min(level, 255));
      }
    }
  }
}

void flat_field(MutableView image, std::span<const std::uint16_t> white, std::span<const std::uint16_t> black) {
  static const auto run = best(kFlatField);
  run(image, white, black);
}

}  // namespace zel::kern
