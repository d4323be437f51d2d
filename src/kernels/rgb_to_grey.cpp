#include "kernels/rgb_to_grey.hpp"

#include <cstddef>

namespace zel::kern {

void rgb_to_grey_scalar(std::span<const std::uint8_t> rgb, std::span<std::uint8_t> grey) {
  for (std::size_t i = 0; i < grey.size(); ++i) {
    const std::uint8_t* const pixel = rgb.data() + 3 * i;
    grey[i] = static_cast<std::uint8_t>(pixel[0] * 30u / 100 + pixel[1] * 59u / 100 + pixel[2] * 11u / 100);
  }
}

void rgb_to_grey(std::span<const std::uint8_t> rgb, std::span<std::uint8_t> grey) { rgb_to_grey_scalar(rgb, grey); }

}  // namespace zel::kern
