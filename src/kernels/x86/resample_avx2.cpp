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

constexpr std::size_t kVector = 16;   // bytes
constexpr std::size_t kGathered = 4;  // bytes that are read to have one

constexpr std::size_t kMostWeights = 1024;  // of a position in a group: the sums of more are left to the scalar step

[[gnu::target("avx2")]] __m128i load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }

[[gnu::target("avx2")]] __m256d four_doubles(const std::uint8_t* samples) {
  return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_loadu_si32(samples)));
}

// Sixteen samples: quotients toward zero, limited.
[[gnu::target("avx2")]] __m128i quotients(const __m256d (&sums)[4], __m256d weight_sums) {
  const bool divide = _mm256_movemask_pd(_mm256_cmp_pd(weight_sums, _mm256_set1_pd(1.0), _CMP_NEQ_UQ)) != 0;
  __m128i numbers[4];
#pragma GCC unroll 4
  for (std::size_t i = 0; i < 4; ++i) {
    numbers[i] = _mm256_cvttpd_epi32(divide ? _mm256_div_pd(sums[i], weight_sums) : sums[i]);
  }
  return _mm_packus_epi16(_mm_packs_epi32(numbers[0], numbers[1]), _mm_packs_epi32(numbers[2], numbers[3]));
}

// What kLanes samples of the destination side by side are made of.
struct Group {
  std::size_t first;             // source sample from which the offsets count
  std::size_t count;             // weights of the lane that has most
  std::int32_t offsets[kLanes];  // of the sample under the first weight of each lane
  double sums[kLanes];           // of the weights of each lane
};

// The leading positions of a piece, as many as have groups.
struct Groups {
  std::vector<Group> groups;
  std::vector<double> weights;  // kLanes side by side, for each group in turn; 0 where a lane has less than others
  bool near = true;             // all offsets lie inside a vector
};

// Whether positions have groups: all have weights, and whatever is loaded lies inside the row.
bool fits(std::span<const ResampleTaps> taps, std::size_t samples, std::size_t width) {
  std::size_t first = 0, count = 0;
  for (const ResampleTaps& t : taps) {
    if (t.count == 0 || t.count > kMostWeights) return false;
    first = std::max(first, t.first);
    count = std::max(count, t.count);
  }
  return (first + count) * samples + kGathered <= width && count * samples + kVector <= width && width <= INT32_MAX;
}

// The group of the samples from `begin` on, counted from the first of taps.
void append(Groups& all, std::span<const ResampleTaps> taps, std::size_t samples, std::size_t begin,
            std::size_t width) {
  const auto position = [&](std::size_t lane) { return taps[(begin + lane) / samples]; };
  const auto first = [&](std::size_t lane) { return position(lane).first * samples + (begin + lane) % samples; };
  Group group{SIZE_MAX, 0, {}, {}};
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    group.first = std::min(group.first, first(lane));
    group.count = std::max(group.count, position(lane).count);
    group.sums[lane] = position(lane).sum;
  }
  group.first = std::min(group.first, width - kVector - (group.count - 1) * samples);

  const std::size_t at = all.weights.size();
  all.weights.resize(at + group.count * kLanes);
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    const std::size_t offset = first(lane) - group.first;
    group.offsets[lane] = static_cast<std::int32_t>(offset);
    all.near = all.near && offset < kVector;
    for (std::size_t k = 0; k < position(lane).count; ++k) {
      all.weights[at + k * kLanes + lane] = position(lane).weights[k];
    }
  }
  all.groups.push_back(group);
}

// Samples of a row, by their offsets.
template <bool near>
[[gnu::target("avx2")]] __m256d four_doubles(const std::uint8_t* row, __m128i offsets) {
  if (near) {
    const __m128i bytes = _mm_or_si128(offsets, _mm_set1_epi32(-0x7F7F8000));  // a0 a1 .. -> a(offset) 0 0 0 ..
    return _mm256_cvtepi32_pd(_mm_shuffle_epi8(load(row), bytes));
  }
  const __m128i gathered = _mm_i32gather_epi32(reinterpret_cast<const int*>(row), offsets, 1);
  return _mm256_cvtepi32_pd(_mm_and_si128(gathered, _mm_set1_epi32(0xFF)));
}

// All groups, in kRows rows. rows: behind these, the next ones, which are fetched meanwhile.
template <bool near>
[[gnu::target("avx2")]] void across_rows(const Groups& all, std::size_t samples, const std::uint8_t* const* rows,
                                         std::uint8_t* const* to) {
  const double* weights = all.weights.data();
  const Group* const groups = all.groups.data();
  const std::size_t n = all.groups.size();
  for (std::size_t g = 0; g < n; ++g) {
    const Group& group = groups[g];
    const __m128i offsets = load(group.offsets);
#pragma GCC unroll 4
    for (std::size_t r = kRows; r < 2 * kRows; ++r) _mm_prefetch(rows[r] + group.first, _MM_HINT_T0);
    std::size_t at = group.first;
    __m256d sums[kRows];
#pragma GCC unroll 4
    for (std::size_t r = 0; r < kRows; ++r) {
      sums[r] = _mm256_mul_pd(four_doubles<near>(rows[r] + at, offsets), _mm256_loadu_pd(weights));
    }
    weights += kLanes;
    for (std::size_t k = 1; k < group.count; ++k, weights += kLanes) {
      at += samples;
#pragma GCC unroll 4
      for (std::size_t r = 0; r < kRows; ++r) {
        const __m256d four = four_doubles<near>(rows[r] + at, offsets);
        sums[r] = _mm256_add_pd(sums[r], _mm256_mul_pd(four, _mm256_loadu_pd(weights)));
      }
    }
    const __m128i done = quotients(sums, _mm256_loadu_pd(group.sums));
    _mm_storeu_si32(to[0] + g * kLanes, done);
    _mm_storeu_si32(to[1] + g * kLanes, _mm_srli_si128(done, 4));
    _mm_storeu_si32(to[2] + g * kLanes, _mm_srli_si128(done, 8));
    _mm_storeu_si32(to[3] + g * kLanes, _mm_srli_si128(done, 12));
  }
}

void across(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps) {
  Groups groups;
  std::size_t done = 0;
  for (; done + kLanes <= taps.size() && fits(taps.subspan(done, kLanes), samples, src.width()); done += kLanes) {
    for (std::size_t i = 0; i < samples; ++i) append(groups, taps, samples, done * samples + i * kLanes, src.width());
  }
  const auto run = groups.near ? across_rows<true> : across_rows<false>;
  for (std::size_t r = 0; r < src.height(); r += kRows) {
    const std::uint8_t* from[2 * kRows];
    std::uint8_t* to[2 * kRows];
    for (std::size_t i = 0; i < 2 * kRows; ++i) {
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
  if (n < kVector) return resample_down(first, stride, taps, dst, n);
  for (std::size_t begin = 0; begin < n; begin += kVector) {
    const std::size_t at = std::min(begin, n - kVector);
    const std::uint8_t* row = first + at;
    __m256d sums[4];
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; ++i) {
      sums[i] = _mm256_mul_pd(four_doubles(row + 4 * i), _mm256_broadcast_sd(taps.weights));
    }
    for (std::size_t k = 1; k < taps.count; ++k) {
      row += stride;
#pragma GCC unroll 4
      for (std::size_t i = 0; i < 4; ++i) {
        const __m256d weight = _mm256_broadcast_sd(taps.weights + k);
        sums[i] = _mm256_add_pd(sums[i], _mm256_mul_pd(four_doubles(row + 4 * i), weight));
      }
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + at), quotients(sums, _mm256_set1_pd(taps.sum)));
  }
}

}  // namespace

void resample_avx2(ConstView src, MutableView dst, std::size_t samples, const ResampleFilter& filter) {
  resample_by({across, average_across_avx2, down}, src, dst, samples, filter);
}

}  // namespace zel::kern
