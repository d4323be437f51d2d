#include <emmintrin.h>

#include "kernels/box_threshold_columns.hpp"

namespace zel::kern {
namespace {

// Eight bytes as 16-bit numbers.
__m128i widened(const std::uint8_t* p) {
  return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
}

__m128i all_last(__m128i v) { return _mm_shuffle_epi32(_mm_shufflehi_epi16(v, 0xFF), 0xFF); }

// v[0], v[0] + v[1], ..., modulo 2^16.
__m128i prefix_sums(__m128i v) {
  v = _mm_add_epi16(v, _mm_slli_si128(v, 2));
  v = _mm_add_epi16(v, _mm_slli_si128(v, 4));
  return _mm_add_epi16(v, _mm_slli_si128(v, 8));
}

struct Limits {
  __m128i multiplier;
  __m128i shift;
  __m128i divisor;
};

// Adds change to four sums and stores them; -1 where they are below their limits, which are quotient * divisor.
__m128i four(const std::int32_t* above, std::int32_t* sums, __m128i change, __m128i quotient, const Limits& limits) {
  const __m128i sum = _mm_add_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(above)), change);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(sums), sum);
  return _mm_cmpgt_epi32(_mm_madd_epi16(quotient, limits.divisor), sum);
}

// The next eight columns: their decisions as 0 or -1. change: its last number on entry and return.
__m128i eight(const Columns& at, std::size_t c, std::size_t half, const Limits& limits, __m128i& change) {
  const __m128i right = _mm_sub_epi16(widened(at.enters + c + half), widened(at.leaves + c + half));
  const __m128i left = _mm_sub_epi16(widened(at.enters + c - half - 1), widened(at.leaves + c - half - 1));
  change = _mm_add_epi16(prefix_sums(_mm_sub_epi16(right, left)), all_last(change));
  const __m128i change_low = _mm_srai_epi32(_mm_unpacklo_epi16(change, change), 16);
  const __m128i change_high = _mm_srai_epi32(_mm_unpackhi_epi16(change, change), 16);

  // The number beside each quotient multiplies the divisor once more.
  const __m128i one = _mm_set1_epi16(1);
  const __m128i pixels = _mm_slli_epi16(widened(at.from + c - 1), 8);
  const __m128i quotient = _mm_srl_epi16(_mm_mulhi_epu16(pixels, limits.multiplier), limits.shift);
  const __m128i low = four(at.above + c, at.sums + c, change_low, _mm_unpacklo_epi16(quotient, one), limits);
  const __m128i high = four(at.above + c + 4, at.sums + c + 4, change_high, _mm_unpackhi_epi16(quotient, one), limits);
  return _mm_packs_epi32(low, high);
}

std::size_t step(const Columns& at, std::size_t n, std::size_t half, const LimitFactors& limit, std::int16_t& change) {
  const Limits limits = {_mm_set1_epi16(static_cast<std::int16_t>(limit.multiplier)), _mm_cvtsi32_si128(limit.shift),
                         _mm_set1_epi16(limit.divisor)};
  __m128i changes = _mm_set1_epi16(change);
  std::size_t c = 0;
  for (; c + 16 <= n; c += 16) {
    const __m128i first = eight(at, c, half, limits, changes);
    const __m128i second = eight(at, c + 8, half, limits, changes);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at.to + c - 1), _mm_packs_epi16(first, second));
  }
  change = static_cast<std::int16_t>(_mm_extract_epi16(changes, 7));
  return c;
}

}  // namespace

void box_threshold_sse2(ConstView src, MutableView dst, RowSums sums, int window, int percent) {
  box_threshold_by(step, src, dst, sums, window, percent);
}

}  // namespace zel::kern
