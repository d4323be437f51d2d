#include <emmintrin.h>

#include "kernels/isolated_bits.hpp"
#include "kernels/isolated_pixels.hpp"

namespace zel::kern {
namespace {

// The bits of 16 pixels. all_ones stays so if they are 0 or 255: what is not black is then 255 itself.
BitWord sixteen(const std::uint8_t* p, __m128i& all_ones) {
  const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  const __m128i black = _mm_cmpeq_epi8(pixels, _mm_setzero_si128());
  all_ones = _mm_and_si128(all_ones, _mm_xor_si128(pixels, black));
  return static_cast<BitWord>(_mm_movemask_epi8(black));
}

bool to_bits(std::span<const std::uint8_t> row, BitWord* words) {
  const __m128i ones = _mm_set1_epi8(-1);
  __m128i all_ones = ones;
  std::size_t c = 0;
  for (; c + kWordPixels <= row.size(); c += kWordPixels) {
    BitWord word = 0;
    for (std::size_t k = 0; k < kWordPixels; k += 16) word |= sixteen(row.data() + c + k, all_ones) << k;
    *words++ = word;
  }
  if (c < row.size()) {
    std::size_t k = 0;
    *words = 0;
    for (; c + k + 16 <= row.size(); k += 16) *words |= sixteen(row.data() + c + k, all_ones) << k;
    if (!add_bits(row.subspan(c + k), k, *words)) return false;
  }
  return _mm_movemask_epi8(_mm_cmpeq_epi8(all_ones, ones)) == 0xFFFF;
}

}  // namespace

void isolated_pixels_sse2(MutableView image, int min_count) { isolated_pixels_by(to_bits, image, min_count); }

}  // namespace zel::kern
