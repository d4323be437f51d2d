#include "kernels/resample.hpp"

#include <algorithm>
#include <array>
#include <memory>

#include "base/checked.hpp"
#include "kernels/resample_average.hpp"
#include "kernels/resample_steps.hpp"

namespace zel::kern {
namespace {

bool is_average(const ResampleTaps& taps) { return taps.average; }

void pass_across(const ResampleSteps& steps, ConstView src, MutableView dst, std::size_t samples,
                 const ResampleFilter& filter) {
  const std::size_t from = src.width() / samples, to = dst.width() / samples;
  const std::size_t piece = kMostAcross / samples;  // over all rows: what they are made of stays in the cache
  ResampleLine line(from, to, std::min(piece, to), filter);
  for (std::size_t begin = 0; begin < to; begin += piece) {
    const std::size_t end = std::min(begin + piece, to);
    const std::span taps = line.taps(begin, end);
    const auto run = std::ranges::all_of(taps, is_average) ? steps.average_across : steps.across;
    run(src, dst.part(0, begin * samples, dst.height(), (end - begin) * samples), samples, taps);
  }
}

void pass_down(const ResampleSteps& steps, ConstView src, MutableView dst, ResampleLine& line) {
  for (std::size_t r = 0; r < dst.height(); ++r) {
    const ResampleTaps& taps = line.taps(r, r + 1).front();
    const std::uint8_t* const first = src.row_ptr(taps.first);
    if (taps.count == 0) {
      std::ranges::fill(dst.row(r), std::uint8_t{0});
    } else if (taps.average) {
      average_down(first, src.stride(), taps.count, dst.row_ptr(r), dst.width());
    } else {
      steps.down(first, src.stride(), taps, dst.row_ptr(r), dst.width());
    }
  }
}

}  // namespace

void resample_across(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps) {
  for (std::size_t r = 0; r < src.height(); ++r) {
    std::uint8_t* to = dst.row_ptr(r);
    for (const ResampleTaps& t : taps) {
      for (std::size_t s = 0; s < samples; ++s, ++to) {
        const std::uint8_t* const first = src.row_ptr(r) + t.first * samples + s;
        double sum = 0;
        for (std::size_t k = 0; k < t.count; ++k) sum += first[k * samples] * t.weights[k];
        *to = sample_of(sum / t.sum);
      }
    }
  }
}

void resample_down(const std::uint8_t* first, std::size_t stride, const ResampleTaps& taps, std::uint8_t* dst,
                   std::size_t n) {
  constexpr std::size_t kBlock = 128;
  for (std::size_t begin = 0; begin < n; begin += kBlock) {
    const std::size_t block = std::min(kBlock, n - begin);
    std::array<double, kBlock> sums{};
    for (std::size_t k = 0; k < taps.count; ++k) {
      const std::uint8_t* const row = first + k * stride + begin;
      for (std::size_t i = 0; i < block; ++i) sums[i] += row[i] * taps.weights[k];
    }
    for (std::size_t i = 0; i < block; ++i) dst[begin + i] = sample_of(sums[i] / taps.sum);
  }
}

void resample_by(const ResampleSteps& steps, ConstView src, MutableView dst, std::size_t samples,
                 const ResampleFilter& filter) {
  if (src.width() == dst.width() && src.height() == dst.height()) {
    for (std::size_t r = 0; r < src.height(); ++r) std::ranges::copy(src.row(r), dst.row_ptr(r));
    return;
  }
  const auto between = std::make_unique_for_overwrite<std::uint8_t[]>(checked_mul(dst.width(), src.height()));
  const MutableView across(between.get(), dst.width(), src.height());
  ResampleLine down(src.height(), dst.height(), 1, filter);
  pass_across(steps, src, across, samples, filter);
  pass_down(steps, across, dst, down);
}

void resample_scalar(ConstView src, MutableView dst, std::size_t samples, const ResampleFilter& filter) {
  resample_by({resample_across, average_across, resample_down}, src, dst, samples, filter);
}

void resample(ConstView src, MutableView dst, std::size_t samples, const ResampleFilter& filter) {
  static const auto run = best(kResample);
  run(src, dst, samples, filter);
}

}  // namespace zel::kern
