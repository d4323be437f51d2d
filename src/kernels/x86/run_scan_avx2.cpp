#include <immintrin.h>

#include "kernels/run_scan.hpp"

namespace zel::kern {
namespace {

// Which of 32 pixels differ from the one before them, the first one in bit 0.
[[gnu::target("avx2")]] std::uint32_t changed(const std::uint8_t* p) {
  const __m256i pixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  const __m256i before = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p - 1));
  return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(pixels, before)));
}

}  // namespace

[[gnu::target("avx2,bmi,popcnt")]] std::size_t run_scan_avx2(std::span<const std::uint8_t> row,
                                                             std::span<std::int32_t> changes) {
  std::int32_t* next = changes.data();
  if (!row.empty() && row[0] != 255) *next++ = 0;
  std::size_t c = 1;
  for (; c + 32 <= row.size(); c += 32) {
    std::uint32_t marks = changed(row.data() + c);
    if (marks == 0) continue;
    // Eight at a time, whatever the number, for want of a branch to mispredict. There is room: at most c changes come
    // before those of these 32 pixels.
    std::int32_t* const end = next + _mm_popcnt_u32(marks);
    for (; next < end; next += 8) {
      for (int k = 0; k < 8; ++k, marks = _blsr_u32(marks)) {
        next[k] = static_cast<std::int32_t>(c + _tzcnt_u32(marks));
      }
    }
    next = end;
  }
  return run_scan_end(row, changes, c, next);
}

}  // namespace zel::kern
