#include "kernels/histogram.hpp"

#include <cstddef>
#include <cstring>

namespace zel::kern {

void histogram_scalar(ConstView src, std::span<std::uint32_t, 256> counts) {
  std::uint32_t tables[4][256] = {};
  for (std::size_t r = 0; r < src.height(); ++r) {
    const std::uint8_t* const row = src.row_ptr(r);
    std::size_t c = 0;
    for (; c + 4 <= src.width(); c += 4) {
      std::uint32_t four;  // one load instead of four
      std::memcpy(&four, row + c, sizeof four);
      ++tables[0][four & 0xFF];
      ++tables[1][four >> 8 & 0xFF];
      ++tables[2][four >> 16 & 0xFF];
      ++tables[3][four >> 24];
    }
    for (; c < src.width(); ++c) ++tables[0][row[c]];
  }
  for (std::size_t v = 0; v < counts.size(); ++v) {
    counts[v] = tables[0][v] + tables[1][v] + tables[2][v] + tables[3][v];
  }
}

void histogram(ConstView src, std::span<std::uint32_t, 256> counts) {
  static const auto run = best(kHistogram);
  run(src, counts);
}

}  // namespace zel::kern
