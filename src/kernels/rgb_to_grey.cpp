#include "kernels/rgb_to_grey.hpp"

#include <cstddef>

namespace zel::kern {
namespace {

// sample * percent / 100 in one multiplication: the factor is percent / 100 in 65536ths, rounded up.
template <unsigned percent>
constexpr unsigned share(unsigned sample) {
  return sample * (percent * 65536 / 100 + 1) >> 16;
}

template <unsigned percent>
consteval bool share_is_exact() {
  for (unsigned sample = 0; sample < 256; ++sample) {
    if (share<percent>(sample) != sample * percent / 100) return false;
  }
  return true;
}
static_assert(share_is_exact<30>() && share_is_exact<59>() && share_is_exact<11>());

}  // namespace

void rgb_to_grey_scalar(std::span<const std::uint8_t> rgb, std::span<std::uint8_t> grey) {
  for (std::size_t i = 0; i < grey.size(); ++i) {
    const std::uint8_t* const pixel = rgb.data() + 3 * i;
    grey[i] = static_cast<std::uint8_t>(share<30>(pixel[0]) + share<59>(pixel[1]) + share<11>(pixel[2]));
  }
}

void rgb_to_grey(std::span<const std::uint8_t> rgb, std::span<std::uint8_t> grey) {
  static const auto run = best(kRgbToGrey);
  run(rgb, grey);
}

}  // namespace zel::kern
