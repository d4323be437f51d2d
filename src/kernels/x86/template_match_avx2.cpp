#include <immintrin.h>

#include "kernels/template_match.hpp"

namespace zel::kern {
namespace {

constexpr std::size_t kStep = 32;
constexpr int kMostSteps = 255;  // that a byte counts

// Adds the sum of all bytes to a count.
[[gnu::target("avx2")]] void add(std::uint32_t& count, __m256i bytes) {
  const __m256i fours = _mm256_sad_epu8(bytes, _mm256_setzero_si256());
  const __m128i twos = _mm_add_epi32(_mm256_castsi256_si128(fours), _mm256_extracti128_si256(fours, 1));
  count += static_cast<std::uint32_t>(_mm_cvtsi128_si32(twos) + _mm_extract_epi16(twos, 4));
}

// So many places side by side, which share their loads of the bounds.
template <int places>
[[gnu::target("avx2")]] void count(ConstView image, ConstView bounds, std::size_t first, std::uint32_t* counts) {
  const std::size_t width = bounds.width() / 2;
  __m256i sums[places] = {};
  int steps = 0;
  for (std::size_t r = 0; r < bounds.height(); ++r) {
    const std::uint8_t* const pixels = image.row_ptr(r) + first;
    const std::uint8_t* const row = bounds.row_ptr(r);
    for (std::size_t c = 0; c < width; c += kStep) {
      const __m256i flip = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + c));
      const __m256i bound = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + width + c));
      for (int k = 0; k < places; ++k) {
        const __m256i level = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels + c + k));
        sums[k] = _mm256_sub_epi8(sums[k], _mm256_cmpgt_epi8(bound, _mm256_xor_si256(level, flip)));
      }
      if (++steps < kMostSteps) continue;
      for (int k = 0; k < places; ++k) add(counts[k], sums[k]), sums[k] = _mm256_setzero_si256();
      steps = 0;
    }
  }
  for (int k = 0; k < places; ++k) add(counts[k], sums[k]);
}

}  // namespace

[[gnu::target("avx2")]] void template_match_avx2(ConstView image, ConstView bounds, std::span<std::uint32_t> counts) {
  std::size_t k = 0;
  for (; k + 4 <= counts.size(); k += 4) count<4>(image, bounds, k, &counts[k]);
  for (; k + 2 <= counts.size(); k += 2) count<2>(image, bounds, k, &counts[k]);
  if (k < counts.size()) count<1>(image, bounds, k, &counts[k]);
}

}  // namespace zel::kern
