#include <immintrin.h>

#include <algorithm>

#include "kernels/rotate_nearest_row.hpp"

namespace zel::kern {
namespace {

constexpr int kBlock = 8;

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

[[gnu::target("avx2")]] std::int32_t first(__m256i v) { return _mm_cvtsi128_si32(_mm256_castsi256_si128(v)); }
[[gnu::target("avx2")]] std::int32_t last(__m256i v) { return _mm256_extract_epi32(v, kBlock - 1); }

// Eight numbers, which are at most 127, as bytes in the low half.
[[gnu::target("avx2")]] __m128i narrowed(__m256i v) {
  const __m128i words = _mm_packs_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
  return _mm_packs_epi16(words, words);
}

[[gnu::target("avx2")]] __m128i load_block(ConstView src, std::int32_t row, std::int32_t column) {
  return _mm_loadl_epi64(
      reinterpret_cast<const __m128i*>(src.row_ptr(static_cast<std::size_t>(row)) + static_cast<std::size_t>(column)));
}

// A block that comes from one row or two neighbouring ones and from eight neighbouring columns, as most do when the
// angle is small: eight bytes of the first pixel's row and eight of the last one's, of which a shuffle picks. Returns
// whether it was one. Rounding keeps order, so the first and the last pixel tell what the others can be.
[[gnu::target("avx2")]] bool copy_from_two_rows(ConstView src, const Sources& from, std::uint8_t* to) {
  const std::int32_t top = first(from.row), bottom = last(from.row);
  const std::int32_t left = std::min(first(from.column), last(from.column));
  const std::int32_t right = std::max(first(from.column), last(from.column));
  if (top - bottom > 1 || bottom - top > 1 || right - left >= kBlock) return false;
  if (src.width() - static_cast<std::size_t>(left) < kBlock) return false;

  // Top, then bottom: bytes 0 to 7, and 8 to 15.
  const __m128i rows = _mm_unpacklo_epi64(load_block(src, top, left), load_block(src, bottom, left));
  const __m256i is_top = _mm256_cmpeq_epi32(from.row, _mm256_set1_epi32(top));
  const __m256i place = _mm256_sub_epi32(from.column, _mm256_set1_epi32(left));
  const __m256i pick = _mm256_add_epi32(place, _mm256_andnot_si256(is_top, _mm256_set1_epi32(kBlock)));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(rows, narrowed(pick)));
  return true;
}

[[gnu::target("avx2")]] void copy_one_by_one(ConstView src, const Sources& from, std::uint8_t* to) {
  alignas(32) std::int32_t column[kBlock], row[kBlock];
  _mm256_store_si256(reinterpret_cast<__m256i*>(column), from.column);
  _mm256_store_si256(reinterpret_cast<__m256i*>(row), from.row);
  for (int k = 0; k < kBlock; ++k) to[k] = src.row_ptr(static_cast<std::size_t>(row[k]))[column[k]];
}

[[gnu::target("avx2")]] std::size_t copy(ConstView src, const RotatedRow& all, std::uint8_t* to) {
  const RotatedRow row = all;  // which no byte that is written can be part of
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
