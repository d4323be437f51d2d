#include "kernels/half_turn.hpp"

#include <algorithm>
#include <cstddef>

namespace zel::kern {

void half_turn_scalar(std::span<const std::uint8_t> src, std::span<std::uint8_t> dst) {
  std::reverse_copy(src.begin(), src.end(), dst.begin());
}

void exchange_turned_scalar(std::span<std::uint8_t> first, std::span<std::uint8_t> last, std::size_t samples) {
  const std::size_t n = first.size() / samples;
  for (std::size_t i = 0; i < n; ++i) {
    std::uint8_t* const p = first.data() + i * samples;
    std::uint8_t* const q = last.data() + (n - 1 - i) * samples;
    std::swap_ranges(p, p + samples, q);
  }
}

void half_turn(std::span<const std::uint8_t> src, std::span<std::uint8_t> dst) { half_turn_scalar(src, dst); }

void exchange_turned(std::span<std::uint8_t> first, std::span<std::uint8_t> last, std::size_t samples) {
  exchange_turned_scalar(first, last, samples);
}

}  // namespace zel::kern
