#include <emmintrin.h>

#include "kernels/template_match.hpp"

namespace zel::kern {
namespace {

constexpr std::size_t kStep = 16;
constexpr int kMostSteps = 255;  // that a byte counts

// Adds the sum of all bytes to a count.
void add(std::uint32_t& count, __m128i bytes) {
  const __m128i halves = _mm_sad_epu8(bytes, _mm_setzero_si128());
  count += static_cast<std::uint32_t>(_mm_cvtsi128_si32(halves) + _mm_extract_epi16(halves, 4));
}

// So many places side by side, which share their loads of the bounds.
template <int places>
void count(ConstView image, ConstView bounds, std::size_t first, std::uint32_t* counts) {
  const std::size_t width = bounds.width() / 2;
  __m128i sums[places] = {};
  int steps = 0;
  for (std::size_t r = 0; r < bounds.height(); ++r) {
    const std::uint8_t* const pixels = image.row_ptr(r) + first;
    const std::uint8_t* const row = bounds.row_ptr(r);
    for (std::size_t c = 0; c < width; c += kStep) {
      const __m128i flip = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + c));
      const __m128i bound = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + width + c));
      for (int k = 0; k < places; ++k) {
        const __m128i level = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + c + k));
        sums[k] = _mm_sub_epi8(sums[k], _mm_cmpgt_epi8(bound, _mm_xor_si128(level, flip)));
      }
      if (++steps < kMostSteps) continue;
      for (int k = 0; k < places; ++k) add(counts[k], sums[k]), sums[k] = _mm_setzero_si128();
      steps = 0;
    }
  }
  for (int k = 0; k < places; ++k) add(counts[k], sums[k]);
}

}  // namespace

void template_match_sse2(ConstView image, ConstView bounds, std::span<std::uint32_t> counts) {
  std::size_t k = 0;
  for (; k + 4 <= counts.size(); k += 4) count<4>(image, bounds, k, &counts[k]);
  for (; k + 2 <= counts.size(); k += 2) count<2>(image, bounds, k, &counts[k]);
  if (k < counts.size()) count<1>(image, bounds, k, &counts[k]);
}

}  // namespace zel::kern
