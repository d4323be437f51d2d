#include <immintrin.h>

#include <array>

#include "kernels/resample.hpp"
#include "kernels/resample_steps.hpp"

namespace zel::kern {
namespace {

[[gnu::target("avx2")]] __m256d four_doubles(const std::uint8_t* samples) {
  return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_loadu_si32(samples)));
}

[[gnu::target("avx2")]] __m128i load(const std::uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

[[gnu::target("avx2")]] void store(std::uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Sixteen samples from each of four rows, those of a column side by side:
// a0 a1 .. | b0 b1 .. | c0 c1 .. | d0 d1 .. -> a0 b0 c0 d0 a1 b1 ..
[[gnu::target("avx2")]] void interleave(BandSource rows, std::size_t at, std::uint8_t* columns) {
  const __m128i a = load(rows[0] + at), b = load(rows[1] + at), c = load(rows[2] + at), d = load(rows[3] + at);
  const __m128i ab_low = _mm_unpacklo_epi8(a, b), ab_high = _mm_unpackhi_epi8(a, b);
  const __m128i cd_low = _mm_unpacklo_epi8(c, d), cd_high = _mm_unpackhi_epi8(c, d);
  store(columns, _mm_unpacklo_epi16(ab_low, cd_low));
  store(columns + 16, _mm_unpackhi_epi16(ab_low, cd_low));
  store(columns + 32, _mm_unpacklo_epi16(ab_high, cd_high));
  store(columns + 48, _mm_unpackhi_epi16(ab_high, cd_high));
}

// The way back, for sixteen columns.
[[gnu::target("avx2")]] void separate(const std::uint8_t* columns, BandTarget rows, std::size_t at) {
  // Within four columns: a0 b0 c0 d0 a1 .. -> a0 a1 a2 a3 b0 ..
  const __m128i by_row = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  const __m128i v0 = _mm_shuffle_epi8(load(columns), by_row), v1 = _mm_shuffle_epi8(load(columns + 16), by_row);
  const __m128i v2 = _mm_shuffle_epi8(load(columns + 32), by_row), v3 = _mm_shuffle_epi8(load(columns + 48), by_row);
  const __m128i ab_low = _mm_unpacklo_epi32(v0, v1), cd_low = _mm_unpackhi_epi32(v0, v1);
  const __m128i ab_high = _mm_unpacklo_epi32(v2, v3), cd_high = _mm_unpackhi_epi32(v2, v3);
  store(rows[0] + at, _mm_unpacklo_epi64(ab_low, ab_high));
  store(rows[1] + at, _mm_unpackhi_epi64(ab_low, ab_high));
  store(rows[2] + at, _mm_unpacklo_epi64(cd_low, cd_high));
  store(rows[3] + at, _mm_unpackhi_epi64(cd_low, cd_high));
}

[[gnu::target("avx2")]] void widen(BandSource rows, std::size_t n, double* wide) {
  alignas(16) std::array<std::uint8_t, 64> columns;
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    interleave(rows, i, columns.data());
    for (std::size_t c = 0; c < 16; ++c) _mm256_storeu_pd(wide + kBand * (i + c), four_doubles(&columns[kBand * c]));
  }
  for (; i < n; ++i) {
    for (std::size_t r = 0; r < kBand; ++r) wide[kBand * i + r] = rows[r][i];
  }
}

// The samples of one column of the band, limited, in the low four bytes.
[[gnu::target("avx2")]] __m128i limited(__m128i numbers) {
  const __m128i words = _mm_packs_epi32(numbers, numbers);
  return _mm_packus_epi16(words, words);
}

[[gnu::target("avx2")]] void across(const double* wide, std::size_t origin, std::span<const ResampleTaps> taps,
                                    std::size_t samples, BandTarget rows) {
  alignas(16) std::array<std::uint8_t, kBand * kMostAcross> columns;
  std::uint8_t* to = columns.data();
  const std::size_t step = samples * kBand;
  for (const ResampleTaps& t : taps) {
    const __m256d weights_sum = _mm256_set1_pd(t.sum);
    for (std::size_t s = 0; s < samples; ++s, to += kBand) {
      __m256d sums = _mm256_setzero_pd();
      for (std::size_t k = 0; k < t.count; ++k) {
        const __m256d column = _mm256_loadu_pd(wide + (t.first - origin + k) * step + s * kBand);
        sums = _mm256_add_pd(sums, _mm256_mul_pd(column, _mm256_broadcast_sd(t.weights + k)));
      }
      _mm_storeu_si32(to, limited(_mm256_cvttpd_epi32(_mm256_div_pd(sums, weights_sum))));
    }
  }
  const std::size_t n = taps.size() * samples;
  std::size_t at = 0;
  for (; at + 16 <= n; at += 16) separate(&columns[kBand * at], rows, at);
  for (; at < n; ++at) {
    for (std::size_t r = 0; r < kBand; ++r) rows[r][at] = columns[kBand * at + r];
  }
}

[[gnu::target("avx2")]] void down(const std::uint8_t* first, std::size_t stride, const ResampleTaps& taps,
                                  std::uint8_t* dst, std::size_t n) {
  const __m256d weights_sum = _mm256_set1_pd(taps.sum);
  std::size_t at = 0;
  for (; at + 16 <= n; at += 16) {
    __m256d sums[4] = {_mm256_setzero_pd(), _mm256_setzero_pd(), _mm256_setzero_pd(), _mm256_setzero_pd()};
    const std::uint8_t* row = first + at;
    for (std::size_t k = 0; k < taps.count; ++k, row += stride) {
      const __m256d weight = _mm256_broadcast_sd(taps.weights + k);
#pragma GCC unroll 4
      for (std::size_t i = 0; i < 4; ++i) {
        sums[i] = _mm256_add_pd(sums[i], _mm256_mul_pd(four_doubles(row + 4 * i), weight));
      }
    }
    __m128i numbers[4];
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
      numbers[i] = _mm256_cvttpd_epi32(taps.sum == 1.0 ? sums[i] : _mm256_div_pd(sums[i], weights_sum));
    }
    store(dst + at, _mm_packus_epi16(_mm_packs_epi32(numbers[0], numbers[1]), _mm_packs_epi32(numbers[2], numbers[3])));
  }
  resample_down(first + at, stride, taps, dst + at, n - at);
}

}  // namespace

void resample_avx2(ConstView src, MutableView dst, std::size_t samples, const ResampleFilter& filter) {
  resample_by({widen, across, down}, src, dst, samples, filter);
}

}  // namespace zel::kern
