#include <immintrin.h>

#include "kernels/half_turn.hpp"

namespace zel::kern {
namespace {

constexpr std::size_t kBlock = 32;

// A block of bytes in reverse order: within each half, then the halves.
[[gnu::target("avx2")]] __m256i load_turned(const std::uint8_t* from) {
  const __m256i backward = _mm256_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11,
                                            10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
  return _mm256_permute4x64_epi64(_mm256_shuffle_epi8(block, backward), 0x4E);
}

[[gnu::target("avx2")]] void store(std::uint8_t* to, __m256i block) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), block);
}

}  // namespace

[[gnu::target("avx2")]] void exchange_turned_avx2(std::span<std::uint8_t> first, std::span<std::uint8_t> last,
                                                  std::size_t samples) {
  const std::size_t blocks = samples == 1 ? first.size() / kBlock : 0;
  std::uint8_t* p = first.data();
  std::uint8_t* q = last.data() + last.size();
  for (std::size_t i = 0; i < blocks; ++i, p += kBlock) {
    q -= kBlock;
    const __m256i before = load_turned(p);
    store(p, load_turned(q));
    store(q, before);
  }
  const std::size_t done = blocks * kBlock;
  exchange_turned_scalar(first.subspan(done), last.first(last.size() - done), samples);
}

}  // namespace zel::kern
