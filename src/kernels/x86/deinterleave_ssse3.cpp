#include <tmmintrin.h>

#include <array>

#include "kernels/deinterleave_rows.hpp"

namespace zel::kern {
namespace {

constexpr std::size_t kBlock = 16;  // samples of the channel

[[gnu::target("ssse3")]] __m128i load(const std::uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

[[gnu::target("ssse3")]] void store(std::uint8_t* p, __m128i bytes) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), bytes);
}

// Every second one of 32 samples. The last one that is read belongs to the other channel.
[[gnu::target("ssse3")]] __m128i block(const std::uint8_t* line) {
  const __m128i even = _mm_set1_epi16(0x00FF);
  return _mm_packus_epi16(_mm_and_si128(load(line), even), _mm_and_si128(load(line + kBlock), even));
}

[[gnu::target("ssse3")]] __m128i mirrored(__m128i v) {
  return _mm_shuffle_epi8(v, _mm_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0));
}

// One sample of the channel at least is left to the scalar code, which does not read the one behind it.
std::size_t in_blocks(std::size_t samples) { return samples == 0 ? 0 : (samples - 1) / kBlock * kBlock; }

[[gnu::target("ssse3")]] void pick(const std::uint8_t* line, std::span<std::uint8_t> dst) {
  const std::size_t done = in_blocks(dst.size());
  for (std::size_t i = 0; i < done; i += kBlock) store(dst.data() + i, block(line + 2 * i));
  pick_grey(line + 2 * done, dst.subspan(done));
}

[[gnu::target("ssse3")]] void pick_mirrored(const std::uint8_t* line, std::span<std::uint8_t> dst) {
  const std::size_t done = in_blocks(dst.size());
  std::uint8_t* to = dst.data() + dst.size();
  for (std::size_t i = 0; i < done; i += kBlock) store(to -= kBlock, mirrored(block(line + 2 * i)));
  pick_grey_mirrored(line + 2 * done, dst.first(dst.size() - done));
}

// places[k][p]: where vector k of 16 pixels in three vectors takes its samples of plane p from, 0x80 (a 0) where it
// takes them from another plane. For k = 0:
//
//   plane 0    0  -  -  1  -  -  2  -  -  3  -  -  4  -  -  5
//   plane 1    -  0  -  -  1  -  -  2  -  -  3  -  -  4  -  -
//   plane 2    -  -  0  -  -  1  -  -  2  -  -  3  -  -  4  -
struct Places {
  alignas(16) std::uint8_t at[3][3][kBlock];
};
consteval Places places() {
  Places result = {};
  for (std::size_t i = 0; i < 3 * kBlock; ++i) {
    for (std::size_t plane = 0; plane < 3; ++plane) {
      result.at[i / kBlock][plane][i % kBlock] = i % 3 == plane ? static_cast<std::uint8_t>(i / 3) : 0x80;
    }
  }
  return result;
}
constexpr Places kPlaces = places();

[[gnu::target("ssse3")]] void store_pixels(std::uint8_t* to, __m128i first, __m128i second, __m128i third) {
  for (std::size_t k = 0; k < 3; ++k) {
    const __m128i one = _mm_shuffle_epi8(first, load(kPlaces.at[k][0]));
    const __m128i two = _mm_shuffle_epi8(second, load(kPlaces.at[k][1]));
    const __m128i three = _mm_shuffle_epi8(third, load(kPlaces.at[k][2]));
    store(to + k * kBlock, _mm_or_si128(_mm_or_si128(one, two), three));
  }
}

[[gnu::target("ssse3")]] void pick_pixels(const Planes& from, std::span<std::uint8_t> dst, bool mirror) {
  const std::size_t n = dst.size() / 3;
  const std::size_t done = in_blocks(n);
  for (std::size_t i = 0; i < done; i += kBlock) {
    const __m128i first = block(from.first + 2 * i);
    const __m128i second = block(from.second + 2 * i);
    const __m128i third = block(from.third + 2 * i);
    if (mirror) {
      store_pixels(dst.data() + 3 * (n - i - kBlock), mirrored(first), mirrored(second), mirrored(third));
    } else {
      store_pixels(dst.data() + 3 * i, first, second, third);
    }
  }
  const Planes rest = {from.first + 2 * done, from.second + 2 * done, from.third + 2 * done};
  pick_colour(rest, mirror ? dst.first(3 * (n - done)) : dst.subspan(3 * done), mirror);
}

}  // namespace

void deinterleave_grey_ssse3(ConstView raw, MutableView a, MutableView b, std::size_t lag, bool mirror_a) {
  deinterleave_grey_by(pick, pick_mirrored, raw, a, b, lag, mirror_a);
}

void deinterleave_colour_ssse3(ConstView raw, MutableView a, MutableView b, std::size_t lag, bool mirror_a,
                               PlaneOrder order_a) {
  deinterleave_colour_by(pick_pixels, raw, a, b, lag, mirror_a, order_a);
}

}  // namespace zel::kern
