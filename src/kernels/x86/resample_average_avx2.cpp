#include <immintrin.h>

#include <algorithm>
#include <vector>

#include "kernels/resample_average.hpp"

namespace zel::kern {
namespace {

constexpr std::size_t kBytes = 16;  // of a vector

// The pixels that one vector of the source makes: each sample is the average of two, or of one and itself.
struct Gathered {
  std::size_t from;
  std::size_t to;
  std::uint8_t first[kBytes];  // by their place in the vector
  std::uint8_t last[kBytes];
};

[[gnu::target("avx2")]] __m128i load(const std::uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// As many positions from taps[begin] on as one vector holds; their number.
std::size_t gather(std::span<const ResampleTaps> taps, std::size_t begin, std::size_t samples, std::size_t width,
                   Gathered& all) {
  all = {std::min(taps[begin].first * samples, width - kBytes), begin * samples, {}, {}};
  std::size_t n = 0;
  for (; begin + n < taps.size() && (n + 1) * samples <= kBytes; ++n) {
    const ResampleTaps& t = taps[begin + n];
    if (t.count == 0 || t.count > 2 || t.first * samples < all.from) break;
    const std::size_t first = t.first * samples - all.from, last = first + (t.count - 1) * samples;
    if (last + samples > kBytes) break;
    for (std::size_t s = 0; s < samples; ++s) {
      all.first[n * samples + s] = static_cast<std::uint8_t>(first + s);
      all.last[n * samples + s] = static_cast<std::uint8_t>(last + s);
    }
  }
  return n;
}

// fetched: a row whose turn will come, and which is fetched meanwhile.
[[gnu::target("avx2")]] void average_row(const std::vector<Gathered>& pieces, const std::uint8_t* row,
                                         const std::uint8_t* fetched, std::uint8_t* dst) {
  const Gathered* const all = pieces.data();
  const std::size_t n = pieces.size();
  for (std::size_t i = 0; i < n; ++i) {
    _mm_prefetch(fetched + all[i].from, _MM_HINT_T0);
    const __m128i samples = load(row + all[i].from);
    const __m128i a = _mm_shuffle_epi8(samples, load(all[i].first));
    const __m128i b = _mm_shuffle_epi8(samples, load(all[i].last));
    const __m128i odd = _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1));
    // What is behind the pixels is overwritten by the next ones.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + all[i].to), _mm_sub_epi8(_mm_avg_epu8(a, b), odd));
  }
}

}  // namespace

void average_across_avx2(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps) {
  std::vector<Gathered> pieces;
  std::size_t done = 0;
  while (src.width() >= kBytes && done * samples + kBytes <= dst.width()) {
    Gathered next;
    const std::size_t n = gather(taps, done, samples, src.width(), next);
    if (n == 0) break;
    pieces.push_back(next);
    done += n;
  }
  for (std::size_t r = 0; r < src.height(); ++r) {
    average_row(pieces, src.row_ptr(r), src.row_ptr(std::min(r + 2, src.height() - 1)), dst.row_ptr(r));
  }
  const std::size_t left = done * samples;
  if (done < taps.size()) {
    average_across(src, dst.part(0, left, dst.height(), dst.width() - left), samples, taps.subspan(done));
  }
}

}  // namespace zel::kern
