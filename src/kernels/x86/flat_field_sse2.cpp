#include <emmintrin.h>

#include "kernels/flat_field.hpp"
#include "kernels/flat_field_row.hpp"

namespace zel::kern {
namespace {

// Four samples, as 32-bit numbers before and after, not yet limited to 255.
__m128i four(__m128i samples, const float* black, const float* gain) {
  const __m128 above = _mm_max_ps(_mm_sub_ps(_mm_cvtepi32_ps(samples), _mm_loadu_ps(black)), _mm_setzero_ps());
  return _mm_cvttps_epi32(_mm_mul_ps(above, _mm_loadu_ps(gain)));
}

// Eight samples, as 16-bit numbers. Packing saturates: what exceeds 255 still does.
__m128i eight(__m128i samples, const float* black, const float* gain) {
  const __m128i zero = _mm_setzero_si128();
  return _mm_packs_epi32(four(_mm_unpacklo_epi16(samples, zero), black, gain),
                         four(_mm_unpackhi_epi16(samples, zero), black + 4, gain + 4));
}

void correct(std::uint8_t* row, std::size_t n, const float* black, const float* gain) {
  const __m128i zero = _mm_setzero_si128();
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    auto* const place = reinterpret_cast<__m128i*>(row + i);
    const __m128i samples = _mm_loadu_si128(place);
    const __m128i low = eight(_mm_unpacklo_epi8(samples, zero), black + i, gain + i);
    const __m128i high = eight(_mm_unpackhi_epi8(samples, zero), black + i + 8, gain + i + 8);
    _mm_storeu_si128(place, _mm_packus_epi16(low, high));
  }
  flat_field_row(row + i, n - i, black + i, gain + i);
}

}  // namespace

void flat_field_sse2(MutableView image, std::span<const std::uint16_t> white, std::span<const std::uint16_t> black) {
  flat_field_by(correct, image, white, black);
}

}  // namespace zel::kern
