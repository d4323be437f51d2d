#include <immintrin.h>

#include "kernels/box_threshold_columns.hpp"

namespace zel::kern {
namespace {

// 32 columns at a time. Unpacking bytes works within the halves of a register, so that two registers of 16-bit numbers
// hold them as
//
//   even   columns  0..7  | 16..23
//   odd    columns  8..15 | 24..31
struct Numbers {
  __m256i even;
  __m256i odd;
};

[[gnu::target("avx2")]] __m256i load(const std::uint8_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// more - less.
[[gnu::target("avx2")]] Numbers differences(__m256i more, __m256i less) {
  const __m256i plus_minus = _mm256_set1_epi16(static_cast<std::int16_t>(0xFF01));  // 1, -1 for each pair
  return {_mm256_maddubs_epi16(_mm256_unpacklo_epi8(more, less), plus_minus),
          _mm256_maddubs_epi16(_mm256_unpackhi_epi8(more, less), plus_minus)};
}

// How the window of a column differs from that of the column before it.
[[gnu::target("avx2")]] Numbers turnover(const Columns& at, std::size_t c, std::size_t half) {
  const std::size_t right = c + half, left = c - half - 1;
  const Numbers in = differences(load(at.enters + right), load(at.leaves + right));
  const Numbers out = differences(load(at.enters + left), load(at.leaves + left));
  return {_mm256_sub_epi16(in.even, out.even), _mm256_sub_epi16(in.odd, out.odd)};
}

// v[0], v[0] + v[1], ... in each half, modulo 2^16.
[[gnu::target("avx2")]] __m256i prefix_sums(__m256i v) {
  v = _mm256_add_epi16(v, _mm256_slli_si256(v, 2));
  v = _mm256_add_epi16(v, _mm256_slli_si256(v, 4));
  return _mm256_add_epi16(v, _mm256_slli_si256(v, 8));
}

// The last number of each half, in all places of that half.
[[gnu::target("avx2")]] __m256i totals(__m256i v) { return _mm256_shuffle_epi8(v, _mm256_set1_epi16(0x0F0E)); }

// Prefix sums over all columns, beginning with carry, which is the same number in all places before and after.
[[gnu::target("avx2")]] Numbers running_sums(const Numbers& v, __m256i& carry) {
  const __m256i even = prefix_sums(v.even), odd = prefix_sums(v.odd);
  const __m256i even_totals = totals(even);
  const __m256i both_totals = _mm256_add_epi16(even_totals, totals(odd));                  // of 0..15  | of 16..31
  const __m256i low_moved_up = _mm256_permute2x128_si256(both_totals, both_totals, 0x08);  // 0 | of 0..15
  const __m256i before = _mm256_add_epi16(carry, low_moved_up);
  const __m256i exchanged = _mm256_permute2x128_si256(both_totals, both_totals, 0x01);
  carry = _mm256_add_epi16(carry, _mm256_add_epi16(both_totals, exchanged));
  return {_mm256_add_epi16(even, before), _mm256_add_epi16(odd, _mm256_add_epi16(before, even_totals))};
}

struct Limits {
  __m256i multiplier;
  __m128i shift;
  __m256i divisor;
};

// Adds changes to the sums of columns 0..3 and 16..19; -1 where they are below their limits, quotient times divisor.
[[gnu::target("avx2")]] __m256i eight(const std::int32_t* above, std::int32_t* sums, __m256i changes, __m256i quotients,
                                      const Limits& limits) {
  const auto* const from = reinterpret_cast<const __m128i*>(above);
  const __m256i sum = _mm256_add_epi32(_mm256_loadu2_m128i(from + 4, from), changes);
  auto* const to = reinterpret_cast<__m128i*>(sums);
  _mm256_storeu2_m128i(to + 4, to, sum);
  return _mm256_cmpgt_epi32(_mm256_madd_epi16(quotients, limits.divisor), sum);
}

// The same for columns 0..7 and 16..23. pixels: 256 times the pixels.
[[gnu::target("avx2")]] __m256i sixteen(const std::int32_t* above, std::int32_t* sums, __m256i changes, __m256i pixels,
                                        const Limits& limits) {
  const __m256i changes_low = _mm256_srai_epi32(_mm256_unpacklo_epi16(changes, changes), 16);
  const __m256i changes_high = _mm256_srai_epi32(_mm256_unpackhi_epi16(changes, changes), 16);
  // The 1 beside each quotient is multiplied by the divisor as well and added.
  const __m256i one = _mm256_set1_epi16(1);
  const __m256i quotients = _mm256_srl_epi16(_mm256_mulhi_epu16(pixels, limits.multiplier), limits.shift);
  const __m256i low = eight(above, sums, changes_low, _mm256_unpacklo_epi16(quotients, one), limits);
  const __m256i high = eight(above + 4, sums + 4, changes_high, _mm256_unpackhi_epi16(quotients, one), limits);
  return _mm256_packs_epi32(low, high);
}

[[gnu::target("avx2")]] std::size_t step(const Columns& at, std::size_t n, std::size_t half, const LimitFactors& limit,
                                         std::int16_t& change) {
  const Limits limits = {_mm256_set1_epi16(static_cast<std::int16_t>(limit.multiplier)), _mm_cvtsi32_si128(limit.shift),
                         _mm256_set1_epi16(limit.divisor)};
  __m256i carry = _mm256_set1_epi16(change);
  std::size_t c = 0;
  for (; c + 32 <= n; c += 32) {
    const Numbers changes = running_sums(turnover(at, c, half), carry);
    const __m256i pixels = load(at.from + c - 1), zero = _mm256_setzero_si256();
    const __m256i even = sixteen(at.above + c, at.sums + c, changes.even, _mm256_unpacklo_epi8(zero, pixels), limits);
    const __m256i odd =
        sixteen(at.above + c + 8, at.sums + c + 8, changes.odd, _mm256_unpackhi_epi8(zero, pixels), limits);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(at.to + c - 1), _mm256_packs_epi16(even, odd));
  }
  change = static_cast<std::int16_t>(_mm256_extract_epi16(carry, 0));
  return c;
}

}  // namespace

void box_threshold_avx2(ConstView src, MutableView dst, RowSums sums, int window, int percent) {
  box_threshold_by(step, src, dst, sums, window, percent);
}

}  // namespace zel::kern
