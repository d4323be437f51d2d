#include <tmmintrin.h>

#include "kernels/quarter_turn_strip.hpp"

namespace zel::kern {
namespace {

[[gnu::target("ssse3")]] __m128i load(const std::uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

constexpr std::size_t kBlock = 4 * 3;  // samples of four pixels

// Begins to fetch what rows have soon after their first sample: they lie apart, which the processor does not foresee.
[[gnu::target("ssse3")]] void fetch_ahead(ConstView rows) {
  constexpr std::size_t kAhead = 256;
  if (kAhead >= rows.width()) return;
  for (std::size_t r = 0; r < rows.height(); ++r) {
    _mm_prefetch(reinterpret_cast<const char*>(rows.row_ptr(r) + kAhead), _MM_HINT_T0);
  }
}

// Four pixels as 32-bit numbers, from 16 bytes, of which the last four are not used, and back, then 0.
//
//   R0 G0 B0 R1 G1 B1 R2 G2 B2 R3 G3 B3 -- -- -- --  <->  R0 G0 B0 0 R1 G1 B1 0 R2 G2 B2 0 R3 G3 B3 0
[[gnu::target("ssse3")]] __m128i load_pixels(const std::uint8_t* p) {
  return _mm_shuffle_epi8(load(p), _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
}
[[gnu::target("ssse3")]] void store_pixels(std::uint8_t* p, __m128i pixels) {
  const __m128i bytes = _mm_shuffle_epi8(pixels, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), bytes);
  _mm_storeu_si32(p + 8, _mm_srli_si128(bytes, 8));
}

// 4 x 4 pixels.
[[gnu::target("ssse3")]] void turn_pixels(const TurnPart<3>& part) {
  const __m128i row0 = load_pixels(part.from(0)), row1 = load_pixels(part.from(1));
  const __m128i row2 = load_pixels(part.from(2)), row3 = load_pixels(part.from(3));
  const __m128i left01 = _mm_unpacklo_epi32(row0, row1), left23 = _mm_unpacklo_epi32(row2, row3);
  const __m128i right01 = _mm_unpackhi_epi32(row0, row1), right23 = _mm_unpackhi_epi32(row2, row3);
  store_pixels(part.to(0), _mm_unpacklo_epi64(left01, left23));
  store_pixels(part.to(1), _mm_unpackhi_epi64(left01, left23));
  store_pixels(part.to(2), _mm_unpacklo_epi64(right01, right23));
  store_pixels(part.to(3), _mm_unpackhi_epi64(right01, right23));
}

// kBlocks x 4 columns from sample c on: side by side, so that the memory page of a row is looked up once for all.
template <std::size_t kBlocks>
[[gnu::target("ssse3")]] void turn_columns(const TurnPart<3>& strip, std::size_t c) {
  for (std::size_t r = 0; r < strip.src.height(); r += 4) {
    const TurnPart<3> rows = strip.next(r, c, 4, strip.src.width() - c);
    fetch_ahead(rows.src);
    for (std::size_t k = 0; k < kBlocks; ++k) turn_pixels(rows.part(0, kBlock * k, 4, kBlock));
  }
}

[[gnu::target("ssse3")]] std::size_t turn_colour(const TurnPart<3>& strip) {
  constexpr std::size_t kBlocks = 3, kSurplus = 16 - kBlock;  // samples that the last block reads beyond its own
  const std::size_t width = strip.src.width();
  std::size_t c = 0;
  for (; c + kBlocks * kBlock + kSurplus <= width; c += kBlocks * kBlock) turn_columns<kBlocks>(strip, c);
  for (; c + kBlock + kSurplus <= width; c += kBlock) turn_columns<1>(strip, c);
  return c;
}

}  // namespace

void quarter_turn_ssse3(ConstView src, MutableView dst, std::size_t samples, Turn turn) {
  quarter_turn_by(turn_grey_strip, turn_colour, src, dst, samples, turn);
}

}  // namespace zel::kern
