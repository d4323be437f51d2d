#include <immintrin.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "kernels/resample.hpp"
#include "kernels/resample_average.hpp"
#include "kernels/resample_steps.hpp"

namespace zel::kern {
namespace {

constexpr std::size_t kLanes = 4;
constexpr std::size_t kRows = 4;  // that are resampled across together

[[gnu::target("avx2")]] __m128i load(const std::uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

[[gnu::target("avx2")]] __m256d four_doubles(const std::uint8_t* samples) {
  return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_loadu_si32(samples)));
}

// Quotients as samples: toward zero, limited.
[[gnu::target("avx2")]] __m128i limited(const __m256d (&quotients)[4]) {
  __m128i numbers[4];
#pragma GCC unroll 4
  for (std::size_t i = 0; i < 4; ++i) numbers[i] = _mm256_cvttpd_epi32(quotients[i]);
  return _mm_packus_epi16(_mm_packs_epi32(numbers[0], numbers[1]), _mm_packs_epi32(numbers[2], numbers[3]));
}

// kLanes samples of the destination side by side.
struct Group {
  std::size_t first;             // source sample under the first weight of some lane
  std::size_t count;             // weights of the lane that has most
  std::int32_t offsets[kLanes];  // from `first` to the first weight of each lane
  double sums[kLanes];           // of the weights of each lane
};

// The leading positions of a piece, as many as have groups.
struct Groups {
  std::vector<Group> groups;
  std::vector<double> weights;  // kLanes side by side, for each group in turn; 0 where a lane has less than others
  bool near = true;             // no offset is beyond 15
};

// Whether positions have groups: all have weights, and vectors end inside the row.
bool fits(std::span<const ResampleTaps> taps, std::size_t samples, std::size_t width) {
  std::size_t first = 0, count = 0;
  for (const ResampleTaps& t : taps) {
    if (t.count == 0) return false;
    first = std::max(first, t.first);
    count = std::max(count, t.count);
  }
  return (first + count) * samples + 4 <= width && count * samples + 16 <= width && width <= INT32_MAX;
}

void append(Groups& all, std::span<const ResampleTaps> taps, std::size_t samples, std::size_t begin,
            std::size_t width) {
  Group group{SIZE_MAX, 0, {}, {}};
  std::size_t first[kLanes];
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    const ResampleTaps& t = taps[(begin + lane) / samples];
    first[lane] = t.first * samples + (begin + lane) % samples;
    group.first = std::min(group.first, first[lane]);
    group.count = std::max(group.count, t.count);
    group.sums[lane] = t.sum;
  }
  group.first = std::min(group.first, width - 16 - (group.count - 1) * samples);
  const std::size_t at = all.weights.size();
  all.weights.resize(at + group.count * kLanes);
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    const ResampleTaps& t = taps[(begin + lane) / samples];
    group.offsets[lane] = static_cast<std::int32_t>(first[lane] - group.first);
    all.near = all.near && group.offsets[lane] < 16;
    for (std::size_t k = 0; k < t.count; ++k) all.weights[at + k * kLanes + lane] = t.weights[k];
  }
  all.groups.push_back(group);
}

// Four samples of a row as numbers.
template <bool near>
[[gnu::target("avx2")]] __m256d four_samples(const std::uint8_t* row, __m128i offsets) {
  if (near) {
    return _mm256_cvtepi32_pd(_mm_shuffle_epi8(load(row), _mm_or_si128(offsets, _mm_set1_epi32(-0x7F7F8000))));
  }
  return _mm256_cvtepi32_pd(
      _mm_and_si128(_mm_i32gather_epi32(reinterpret_cast<const int*>(row), offsets, 1), _mm_set1_epi32(0xFF)));
}

template <bool near>
[[gnu::target("avx2")]] void sums_of_rows(const Groups& groups, std::size_t samples, const std::uint8_t* const* rows,
                                          std::uint8_t* const* dst) {
  const double* weights = groups.weights.data();
  const __m256d ones = _mm256_set1_pd(1.0);
  const Group* const all = groups.groups.data();
  const std::size_t n = groups.groups.size();
  for (std::size_t g = 0; g < n; ++g) {
    const Group& group = all[g];
    const __m128i offsets = _mm_loadu_si128(reinterpret_cast<const __m128i*>(group.offsets));
    __m256d sums[kRows] = {_mm256_setzero_pd(), _mm256_setzero_pd(), _mm256_setzero_pd(), _mm256_setzero_pd()};
    std::size_t at = group.first;
    for (std::size_t k = 0; k < group.count; ++k, at += samples, weights += kLanes) {
      const __m256d weight = _mm256_loadu_pd(weights);
#pragma GCC unroll 4
      for (std::size_t r = 0; r < kRows; ++r) {
        sums[r] = _mm256_add_pd(sums[r], _mm256_mul_pd(four_samples<near>(rows[r] + at, offsets), weight));
      }
    }
    const __m256d weight_sums = _mm256_loadu_pd(group.sums);
    if (_mm256_movemask_pd(_mm256_cmp_pd(weight_sums, ones, _CMP_NEQ_UQ)) != 0) {
#pragma GCC unroll 4
      for (std::size_t r = 0; r < kRows; ++r) sums[r] = _mm256_div_pd(sums[r], weight_sums);
    }
    const __m128i v = limited(sums);
    _mm_storeu_si32(dst[0] + g * kLanes, v);
    _mm_storeu_si32(dst[1] + g * kLanes, _mm_srli_si128(v, 4));
    _mm_storeu_si32(dst[2] + g * kLanes, _mm_srli_si128(v, 8));
    _mm_storeu_si32(dst[3] + g * kLanes, _mm_srli_si128(v, 12));
  }
}

void across(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps) {
  Groups groups;
  std::size_t done = 0;
  for (; done + kLanes <= taps.size() && fits(taps.subspan(done, kLanes), samples, src.width()); done += kLanes) {
    for (std::size_t i = 0; i < samples; ++i) append(groups, taps, samples, done * samples + i * kLanes, src.width());
  }
  const auto run = groups.near ? sums_of_rows<true> : sums_of_rows<false>;
  for (std::size_t r = 0; r < src.height(); r += kRows) {
    const std::uint8_t* from[kRows];
    std::uint8_t* to[kRows];
    for (std::size_t i = 0; i < kRows; ++i) {
      const std::size_t row = std::min(r + i, src.height() - 1);  // the last row stands in for those that are missing
      from[i] = src.row_ptr(row);
      to[i] = dst.row_ptr(row);
    }
    run(groups, samples, from, to);
  }
  const std::size_t left = done * samples;
  resample_across(src, dst.part(0, left, dst.height(), dst.width() - left), samples, taps.subspan(done));
}

[[gnu::target("avx2")]] void down(const std::uint8_t* first, std::size_t stride, const ResampleTaps& taps,
                                  std::uint8_t* dst, std::size_t n) {
  const __m256d weights_sum = _mm256_set1_pd(taps.sum);
  if (n < 16) return resample_down(first, stride, taps, dst, n);
  for (std::size_t begin = 0; begin < n; begin += 16) {
    const std::size_t at = std::min(begin, n - 16);
    __m256d sums[4] = {_mm256_setzero_pd(), _mm256_setzero_pd(), _mm256_setzero_pd(), _mm256_setzero_pd()};
    const std::uint8_t* row = first + at;
    for (std::size_t k = 0; k < taps.count; ++k, row += stride) {
      const __m256d weight = _mm256_broadcast_sd(taps.weights + k);
#pragma GCC unroll 4
      for (std::size_t i = 0; i < 4; ++i) {
        sums[i] = _mm256_add_pd(sums[i], _mm256_mul_pd(four_doubles(row + 4 * i), weight));
      }
    }
    if (taps.sum != 1.0) {
#pragma GCC unroll 4
      for (std::size_t i = 0; i < 4; ++i) sums[i] = _mm256_div_pd(sums[i], weights_sum);
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + at), limited(sums));
  }
}

}  // namespace

void resample_avx2(ConstView src, MutableView dst, std::size_t samples, const ResampleFilter& filter) {
  resample_by({across, average_across_avx2, down}, src, dst, samples, filter);
}

}  // namespace zel::kern
