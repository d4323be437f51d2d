#include <emmintrin.h>

#include "base/bytes.hpp"
#include "kernels/bit_pack.hpp"

namespace zel::kern {
namespace {

// p[7], p[6], ..., p[0], p[15], p[14], ..., p[8]: movemask puts the first byte's top bit lowest, here it is to be the
// top bit.
__m128i eights_turned(const std::uint8_t* p) {
  const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  const __m128i pairs_turned = _mm_or_si128(_mm_slli_epi16(pixels, 8), _mm_srli_epi16(pixels, 8));
  constexpr int kTurned = _MM_SHUFFLE(0, 1, 2, 3);
  return _mm_shufflehi_epi16(_mm_shufflelo_epi16(pairs_turned, kTurned), kTurned);
}

}  // namespace

void bit_pack_sse2(ConstView src, MutableView dst) {
  const std::size_t whole = src.width() / 16 * 16;  // pixels that fill vectors
  for (std::size_t r = 0; r < src.height(); ++r) {
    const std::uint8_t* const from = src.row_ptr(r);
    std::uint8_t* const to = dst.row_ptr(r);
    for (std::size_t c = 0; c < whole; c += 16) {
      store_u16(to + c / 8, static_cast<std::uint16_t>(_mm_movemask_epi8(eights_turned(from + c))));
    }
  }
  const std::size_t rest = src.width() - whole;
  if (rest != 0) {
    bit_pack_scalar(src.part(0, whole, src.height(), rest), dst.part(0, whole / 8, src.height(), (rest + 7) / 8));
  }
}

}  // namespace zel::kern
