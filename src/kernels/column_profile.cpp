#include "kernels/column_profile.hpp"

#include <algorithm>
#include <cstdlib>

namespace zel::kern {
namespace {

constexpr std::size_t kRowsAtOnce = 65535 / 255;  // so many samples fit into a sum of 16 bits

// Adds rows begin to end - 1, each with its step from the row above, to the sums of up to kColumnBlock columns. kCount
// is their number where it is known at compile time, else 0.
template <std::size_t kCount>
void add_rows(ConstView src, std::size_t begin, std::size_t end, std::uint64_t* level, std::uint64_t* change) {
  const std::size_t count = kCount != 0 ? kCount : src.width();
  std::uint16_t levels[kColumnBlock] = {};
  std::uint16_t changes[kColumnBlock] = {};
  for (std::size_t r = begin; r < end; ++r) {
    const std::uint8_t* const above = src.row_ptr(r - 1);
    const std::uint8_t* const row = src.row_ptr(r);
    for (std::size_t x = 0; x < count; ++x) {
      const std::uint16_t sample = row[x], before = above[x];
      levels[x] = static_cast<std::uint16_t>(levels[x] + sample);
      changes[x] = static_cast<std::uint16_t>(changes[x] + std::abs(sample - before));
    }
  }
  for (std::size_t x = 0; x < count; ++x) {
    level[x] += levels[x];
    change[x] += changes[x];
  }
}

}  // namespace

void column_profile_scalar(ConstView src, std::span<std::uint64_t> level, std::span<std::uint64_t> change) {
  std::fill_n(level.begin(), src.width(), 0);
  std::fill_n(change.begin(), src.width(), 0);
  for (std::size_t c = 0; c < src.width(); c += kColumnBlock) {
    const std::size_t count = std::min(kColumnBlock, src.width() - c);
    const ConstView block = src.part(0, c, src.height(), count);
    const auto add = count == kColumnBlock ? add_rows<kColumnBlock> : add_rows<0>;
    for (std::size_t r = 1; r < src.height(); r += kRowsAtOnce) {
      add(block, r, std::min(r + kRowsAtOnce, src.height()), &level[c], &change[c]);
    }
  }
}

void column_profile(ConstView src, std::span<std::uint64_t> level, std::span<std::uint64_t> change) {
  static const auto run = best(kColumnProfile);
  run(src, level, change);
}

}  // namespace zel::kern
