#include <immintrin.h>

#include "base/bytes.hpp"
#include "kernels/bit_pack.hpp"

namespace zel::kern {
namespace {

// The bits of 32 pixels as four bytes, the first one lowest.
[[gnu::target("avx2")]] std::uint32_t packed(const std::uint8_t* p) {
  const __m256i pixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  // Bytes 0..7 | 8..15 of each half -> 7..0 | 15..8: movemask puts the first byte's top bit lowest, here it is to be
  // the top bit.
  const __m256i eights_turned =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(pixels, eights_turned)));
}

}  // namespace

[[gnu::target("avx2")]] void bit_pack_avx2(ConstView src, MutableView dst) {
  const std::size_t whole = src.width() / 32 * 32;  // pixels that fill vectors
  for (std::size_t r = 0; r < src.height(); ++r) {
    const std::uint8_t* const from = src.row_ptr(r);
    std::uint8_t* const to = dst.row_ptr(r);
    for (std::size_t c = 0; c < whole; c += 32) store_u32(to + c / 8, packed(from + c));
  }
  const std::size_t rest = src.width() - whole;
  if (rest != 0) {
    bit_pack_scalar(src.part(0, whole, src.height(), rest), dst.part(0, whole / 8, src.height(), (rest + 7) / 8));
  }
}

}  // namespace zel::kern
