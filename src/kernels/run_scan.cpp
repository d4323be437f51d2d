#include "kernels/run_scan.hpp"

#include <bit>
#include <cstring>

namespace zel::kern {
namespace {

// A machine word of pixels at a time: 64-bit arithmetic would double the time on i386.
using Word = std::size_t;
constexpr std::size_t kStep = sizeof(Word);
constexpr std::size_t kBlock = 8 * kStep;  // pixels, one bit of a word each
constexpr Word kOnes = ~Word{0} / 255;
constexpr Word kLow7 = kOnes * 127;

Word load(const std::uint8_t* p) {
  Word pixels;
  std::memcpy(&pixels, p, kStep);
  return pixels;
}

// Whether any pixel of a block differs from the one before it.
bool any_changed(const std::uint8_t* p) {
  Word differ = 0;
  for (std::size_t k = 0; k < kBlock; k += kStep) differ |= load(p + k) ^ load(p + k - 1);
  return differ != 0;
}

// Which of kStep pixels differ from the one before them, the first one in bit 0.
Word changed(const std::uint8_t* p) {
  const Word differ = load(p) ^ load(p - 1);
  // The top bit of every byte that is not 0: adding 127 carries into it unless the low seven bits are 0.
  const Word marks = (((differ & kLow7) + kLow7) | differ) & ~kLow7;
  // The bit of byte i, which stands at 8 * i after the shift, goes to bit i of the top byte.
  constexpr Word kGather = kStep == 8 ? static_cast<Word>(0x0102040810204080u) : Word{0x10204080u};
  return ((marks >> 7) * kGather) >> 8 * (kStep - 1) >> (8 - kStep);
}

}  // namespace

std::size_t run_scan_end(std::span<const std::uint8_t> row, std::span<std::int32_t> changes, std::size_t c,
                         std::int32_t* next) {
  for (; c < row.size(); ++c) {
    if (row[c] != row[c - 1]) *next++ = static_cast<std::int32_t>(c);
  }
  const auto count = static_cast<std::size_t>(next - changes.data());
  for (std::size_t k = 0; k < kSentinels; ++k) *next++ = static_cast<std::int32_t>(row.size());
  return count;
}

std::size_t run_scan_scalar(std::span<const std::uint8_t> row, std::span<std::int32_t> changes) {
  std::int32_t* next = changes.data();
  if (!row.empty() && row[0] != 255) *next++ = 0;
  std::size_t c = 1;
  for (; c + kBlock <= row.size(); c += kBlock) {
    if (!any_changed(row.data() + c)) continue;
    Word marks = 0;
    for (std::size_t k = 0; k < 8; ++k) marks |= changed(row.data() + c + k * kStep) << k * kStep;
    for (; marks != 0; marks &= marks - 1) {
      *next++ = static_cast<std::int32_t>(c + static_cast<std::size_t>(std::countr_zero(marks)));
    }
  }
  return run_scan_end(row, changes, c, next);
}

std::size_t run_scan(std::span<const std::uint8_t> row, std::span<std::int32_t> changes) {
  static const auto run = best(kRunScan);
  return run(row, changes);
}

}  // namespace zel::kern
