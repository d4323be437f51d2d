#include "kernels/run_scan.hpp"

#include <bit>
#include <cstring>

namespace zel::kern {

std::size_t run_scan_scalar(std::span<const std::uint8_t> row, std::span<std::int32_t> changes) {
  // A machine word of pixels at a time: 64-bit arithmetic would double the time on i386.
  using Word = std::size_t;
  constexpr std::size_t kStep = sizeof(Word);
  constexpr Word kLow7 = ~Word{0} / 255 * 127;
  std::int32_t* next = changes.data();
  Word before = 255;
  std::size_t c = 0;
  for (; c + kStep <= row.size(); c += kStep) {
    Word pixels;
    std::memcpy(&pixels, row.data() + c, kStep);
    const Word differ = pixels ^ (pixels << 8 | before);
    before = pixels >> 8 * (kStep - 1);
    if (differ == 0) continue;
    // The top bit of every byte that is not 0: adding 127 carries into it unless the low seven bits are 0.
    Word marks = (((differ & kLow7) + kLow7) | differ) & ~kLow7;
    for (; marks != 0; marks &= marks - 1) {
      *next++ = static_cast<std::int32_t>(c + static_cast<std::size_t>(std::countr_zero(marks)) / 8);
    }
  }
  for (; c < row.size(); ++c) {
    if (row[c] != before) *next++ = static_cast<std::int32_t>(c);
    before = row[c];
  }
  const auto count = static_cast<std::size_t>(next - changes.data());
  for (std::size_t k = 0; k < kSentinels; ++k) *next++ = static_cast<std::int32_t>(row.size());
  return count;
}

std::size_t run_scan(std::span<const std::uint8_t> row, std::span<std::int32_t> changes) {
  return run_scan_scalar(row, changes);
}

}  // namespace zel::kern
