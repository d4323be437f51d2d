#include "kernels/ink_profile.hpp"

#include <algorithm>

namespace zel::kern {
namespace {

// The highest sample that is ink.
std::uint8_t highest_ink(int threshold) { return static_cast<std::uint8_t>(std::min(threshold, 256) - 1); }

// Up to kInkBlock columns; kCount is their number where it is known at compile time, else 0.
template <std::size_t kCount>
void mark(ConstView src, std::uint8_t highest, std::uint8_t* inked) {
  const std::size_t count = kCount != 0 ? kCount : src.width();
  std::uint8_t once[kInkBlock] = {};
  std::uint8_t twice[kInkBlock] = {};
  for (std::size_t r = 0; r < src.height(); ++r) {
    const std::uint8_t* const row = src.row_ptr(r);
    for (std::size_t c = 0; c < count; ++c) {
      const std::uint8_t dark = row[c] <= highest ? 1 : 0;
      twice[c] = static_cast<std::uint8_t>(twice[c] | (once[c] & dark));
      once[c] = static_cast<std::uint8_t>(once[c] | dark);
    }
  }
  std::copy_n(twice, count, inked);
}

// Of up to 64 samples.
template <std::size_t kCount>
unsigned count_dark(const std::uint8_t* row, std::size_t count, std::uint8_t highest) {
  if (kCount != 0) count = kCount;
  std::uint8_t dark = 0;
  for (std::size_t c = 0; c < count; ++c) dark = static_cast<std::uint8_t>(dark + (row[c] <= highest ? 1 : 0));
  return dark;
}

}  // namespace

void ink_columns_scalar(ConstView src, int threshold, std::span<std::uint8_t> inked) {
  if (threshold < 1) {
    std::fill_n(inked.begin(), src.width(), std::uint8_t{0});
    return;
  }
  const std::uint8_t highest = highest_ink(threshold);
  for (std::size_t c = 0; c < src.width(); c += kInkBlock) {
    const std::size_t count = std::min(kInkBlock, src.width() - c);
    const auto mark_block = count == kInkBlock ? mark<kInkBlock> : mark<0>;
    mark_block(src.part(0, c, src.height(), count), highest, &inked[c]);
  }
}

bool ink_row_scalar(std::span<const std::uint8_t> row, int threshold) {
  if (threshold < 1) return false;
  const std::uint8_t highest = highest_ink(threshold);
  unsigned dark = 0;
  std::size_t c = 0;
  for (; c + 64 <= row.size() && dark < 2; c += 64) dark += count_dark<64>(&row[c], 64, highest);
  if (c < row.size() && dark < 2) dark += count_dark<0>(&row[c], std::min<std::size_t>(row.size() - c, 64), highest);
  return dark > 1;
}

void ink_columns(ConstView src, int threshold, std::span<std::uint8_t> inked) {
  static const auto run = best(kInkColumns);
  run(src, threshold, inked);
}

bool ink_row(std::span<const std::uint8_t> row, int threshold) {
  static const auto run = best(kInkRow);
  return run(row, threshold);
}

}  // namespace zel::kern
