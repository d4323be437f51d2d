#include <immintrin.h>

#include <algorithm>

#include "kernels/rotate_nearest_row.hpp"

namespace zel::kern {
namespace {

constexpr std::size_t kBlock = 8;

// Where the pixels of a block come from.
struct Sources {
  __m256i column;
  __m256i row;
};

// In the order in which the contract has the operations; each is rounded.
[[gnu::target("avx2")]] __m256i truncated(__m256 turned, float half) {
  const __m256 centred = _mm256_add_ps(turned, _mm256_set1_ps(half));
  return _mm256_cvttps_epi32(_mm256_add_ps(centred, _mm256_set1_ps(0.5f)));
}

[[gnu::target("avx2")]] Sources look_up(const RotatedRow& row, std::size_t k) {
  const __m256 across = _mm256_add_ps(_mm256_loadu_ps(row.along + k), _mm256_set1_ps(row.sine_y));
  const __m256 down = _mm256_sub_ps(_mm256_set1_ps(row.cosine_y), _mm256_loadu_ps(row.against + k));
  return {truncated(across, row.half_width), truncated(down, row.half_height)};
}

[[gnu::target("avx2")]] std::size_t first(__m256i v) {
  return static_cast<std::size_t>(_mm_cvtsi128_si32(_mm256_castsi256_si128(v)));
}
[[gnu::target("avx2")]] std::size_t last(__m256i v) {
  return static_cast<std::size_t>(_mm256_extract_epi32(v, kBlock - 1));
}

// All numbers, which are at most 127, as bytes in the low half.
[[gnu::target("avx2")]] __m128i narrowed(__m256i v) {
  const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
  return _mm_packs_epi16(words, words);
}

// A block that comes from no more than two rows and eight neighbouring columns, as most do when the angle is small:
// eight bytes of the first pixel's row and eight of the last one's, of which a shuffle picks. Returns whether it was
// one.
[[gnu::target("avx2")]] bool copy_from_two_rows(ConstView src, const Sources& from, std::uint8_t* to) {
  const std::size_t column = std::min(first(from.column), last(from.column));
  if (src.width() - column < kBlock) return false;
  const __m256i place = _mm256_sub_epi32(from.column, _mm256_set1_epi32(static_cast<int>(column)));
  const __m256i is_first = _mm256_cmpeq_epi32(from.row, _mm256_set1_epi32(static_cast<int>(first(from.row))));
  const __m256i is_last = _mm256_cmpeq_epi32(from.row, _mm256_set1_epi32(static_cast<int>(last(from.row))));
  const __m256i within = _mm256_cmpeq_epi32(_mm256_and_si256(place, _mm256_set1_epi32(~7)), _mm256_setzero_si256());
  if (_mm256_movemask_epi8(_mm256_and_si256(within, _mm256_or_si256(is_first, is_last))) != -1) return false;

  // 0 to 7: bytes of the first pixel's row, 8 to 15: of the last one's.
  const __m256i pick = _mm256_add_epi32(place, _mm256_andnot_si256(is_first, _mm256_set1_epi32(kBlock)));
  const auto eight = [&](std::size_t r) { return reinterpret_cast<const __m128i*>(src.row_ptr(r) + column); };
  const __m128i rows =
      _mm_unpacklo_epi64(_mm_loadl_epi64(eight(first(from.row))), _mm_loadl_epi64(eight(last(from.row))));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(rows, narrowed(pick)));
  return true;
}

[[gnu::target("avx2")]] void copy_one_by_one(ConstView src, const Sources& from, std::uint8_t* to) {
  alignas(32) std::int32_t column[kBlock], row[kBlock];
  _mm256_store_si256(reinterpret_cast<__m256i*>(column), from.column);
  _mm256_store_si256(reinterpret_cast<__m256i*>(row), from.row);
  for (std::size_t k = 0; k < kBlock; ++k) to[k] = src.row_ptr(static_cast<std::size_t>(row[k]))[column[k]];
}

[[gnu::target("avx2")]] std::size_t copy(ConstView src, const RotatedRow& row, std::uint8_t* to) {
  std::size_t k = 0;
  for (; k + kBlock <= row.count; k += kBlock) {
    const Sources from = look_up(row, k);
    if (!copy_from_two_rows(src, from, to + k)) copy_one_by_one(src, from, to + k);
  }
  return k;
}

}  // namespace

void rotate_nearest_avx2(ConstView src, MutableView dst, std::size_t samples, float cosine, float sine) {
  rotate_nearest_by(copy, src, dst, samples, cosine, sine);
}

}  // namespace zel::kern
