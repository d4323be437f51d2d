#include <immintrin.h>

#include "kernels/flat_field.hpp"
#include "kernels/flat_field_row.hpp"

namespace zel::kern {
namespace {

// Eight samples as 32-bit numbers, not yet limited to 255.
[[gnu::target("avx2")]] __m256i eight(const std::uint8_t* row, const float* black, const float* gain) {
  const __m256i samples = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row)));
  const __m256 above =
      _mm256_max_ps(_mm256_sub_ps(_mm256_cvtepi32_ps(samples), _mm256_loadu_ps(black)), _mm256_setzero_ps());
  return _mm256_cvttps_epi32(_mm256_mul_ps(above, _mm256_loadu_ps(gain)));
}

[[gnu::target("avx2")]] __m256i sixteen(const std::uint8_t* row, const float* black, const float* gain) {
  return _mm256_packs_epi32(eight(row, black, gain), eight(row + 8, black + 8, gain + 8));
}

[[gnu::target("avx2")]] void correct(std::uint8_t* row, std::size_t n, const float* black, const float* gain) {
  // Packing saturates and works within halves. In groups of four samples:
  // 0 2 4 6 | 1 3 5 7 -> 0 1 2 3 | 4 5 6 7
  const __m256i in_order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  std::size_t i = 0;
  for (; i + 32 <= n; i += 32) {
    const __m256i levels = _mm256_packus_epi16(sixteen(row + i, black + i, gain + i),
                                               sixteen(row + i + 16, black + i + 16, gain + i + 16));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(row + i), _mm256_permutevar8x32_epi32(levels, in_order));
  }
  flat_field_row(row + i, n - i, black + i, gain + i);
}

}  // namespace

void flat_field_avx2(MutableView image, std::span<const std::uint16_t> white, std::span<const std::uint16_t> black) {
  flat_field_by(correct, image, white, black);
}

}  // namespace zel::kern
