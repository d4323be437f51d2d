#include <emmintrin.h>

#include <bit>

#include "kernels/run_scan.hpp"

namespace zel::kern {
namespace {

// Which of 16 pixels equal the one before them, the first one in bit 0.
unsigned equal16(const std::uint8_t* p) {
  const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  const __m128i before = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p - 1));
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(pixels, before)));
}

}  // namespace

std::size_t run_scan_sse2(std::span<const std::uint8_t> row, std::span<std::int32_t> changes) {
  std::int32_t* next = changes.data();
  if (!row.empty() && row[0] != 255) *next++ = 0;
  std::size_t c = 1;
  for (; c + 32 <= row.size(); c += 32) {
    const std::uint8_t* const p = row.data() + c;
    for (std::uint32_t marks = ~(equal16(p) | equal16(p + 16) << 16); marks != 0; marks &= marks - 1) {
      *next++ = static_cast<std::int32_t>(c) + std::countr_zero(marks);
    }
  }
  return run_scan_end(row, changes, c, next);
}

}  // namespace zel::kern
