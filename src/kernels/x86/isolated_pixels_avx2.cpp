#include <immintrin.h>

#include "kernels/isolated_bits.hpp"
#include "kernels/isolated_pixels.hpp"

namespace zel::kern {
namespace {

// The bits of 32 pixels. all_ones stays so if they are 0 or 255: what is not black is then 255 itself.
[[gnu::target("avx2")]] BitWord thirty_two(const std::uint8_t* p, __m256i& all_ones) {
  const __m256i pixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  const __m256i black = _mm256_cmpeq_epi8(pixels, _mm256_setzero_si256());
  all_ones = _mm256_and_si256(all_ones, _mm256_xor_si256(pixels, black));
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(black));
}

[[gnu::target("avx2")]] bool to_bits(std::span<const std::uint8_t> row, BitWord* words) {
  const __m256i ones = _mm256_set1_epi8(-1);
  __m256i all_ones = ones;
  std::size_t c = 0;
  for (; c + kWordPixels <= row.size(); c += kWordPixels) {
    BitWord word = 0;
    for (std::size_t k = 0; k < kWordPixels; k += 32) word |= thirty_two(row.data() + c + k, all_ones) << k;
    *words++ = word;
  }
  if (c < row.size()) {
    std::size_t k = 0;
    *words = 0;
    for (; c + k + 32 <= row.size(); k += 32) *words |= thirty_two(row.data() + c + k, all_ones) << k;
    if (!add_bits(row.subspan(c + k), k, *words)) return false;
  }
  return _mm256_movemask_epi8(_mm256_cmpeq_epi8(all_ones, ones)) == -1;
}

}  // namespace

void isolated_pixels_avx2(MutableView image, int min_count) { isolated_pixels_by(to_bits, image, min_count); }

}  // namespace zel::kern
