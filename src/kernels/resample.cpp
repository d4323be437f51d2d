#include "kernels/resample.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "base/checked.hpp"
#include "kernels/resample_steps.hpp"

namespace zel::kern {
namespace {

// floor(sum / count) as a product: half of one part keeps it away from whole numbers further than it can be wrong.
struct Average {
  explicit Average(std::size_t count) : part(1.0 / static_cast<double>(count)) {}
  std::uint8_t operator()(std::int32_t sum) const {
    return static_cast<std::uint8_t>(static_cast<std::int32_t>((sum + 0.5) * part));
  }
  double part;
};

void widen(BandSource rows, std::size_t n, double* wide) {
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t r = 0; r < kBand; ++r) wide[kBand * i + r] = rows[r][i];
  }
}

template <std::size_t samples>
void average_across(const std::uint8_t* row, std::span<const ResampleTaps> taps, std::uint8_t* dst) {
  for (const ResampleTaps& t : taps) {
    const std::uint8_t* const first = row + t.first * samples;
    if (t.count == 0) {
      std::fill_n(dst, samples, std::uint8_t{0});
    } else if (t.count <= 2) {
      const std::uint8_t* const last = first + (t.count - 1) * samples;
      for (std::size_t s = 0; s < samples; ++s) dst[s] = static_cast<std::uint8_t>((first[s] + last[s]) / 2);
    } else {
      std::array<std::int32_t, samples> sums{};
      for (std::size_t k = 0; k < t.count; ++k) {
        for (std::size_t s = 0; s < samples; ++s) sums[s] += first[k * samples + s];
      }
      const Average average(t.count);
      for (std::size_t s = 0; s < samples; ++s) dst[s] = average(sums[s]);
    }
    dst += samples;
  }
}

void average_down(const std::uint8_t* first, std::size_t stride, std::size_t count, std::uint8_t* dst, std::size_t n) {
  constexpr std::size_t kBlock = 256;
  if (count == 1) {
    std::copy_n(first, n, dst);
  } else if (count == 2) {
    for (std::size_t i = 0; i < n; ++i) dst[i] = static_cast<std::uint8_t>((first[i] + first[stride + i]) / 2);
  } else {
    const Average average(count);
    for (std::size_t begin = 0; begin < n; begin += kBlock) {
      const std::size_t block = std::min(kBlock, n - begin);
      std::array<std::int32_t, kBlock> sums{};
      for (std::size_t k = 0; k < count; ++k) {
        const std::uint8_t* const row = first + k * stride + begin;
        for (std::size_t i = 0; i < block; ++i) sums[i] += row[i];
      }
      for (std::size_t i = 0; i < block; ++i) dst[begin + i] = average(sums[i]);
    }
  }
}

bool is_average(const ResampleTaps& taps) { return taps.average; }

// All rows of the destination positions from begin on.
void averages_across(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps) {
  const auto run = samples == 1 ? average_across<1> : samples == 3 ? average_across<3> : average_across<4>;
  for (std::size_t r = 0; r < src.height(); ++r) run(src.row_ptr(r), taps, dst.row_ptr(r));
}

void sums_across(const ResampleSteps& steps, ConstView src, MutableView dst, std::size_t samples,
                 std::span<const ResampleTaps> taps, std::vector<double>& wide) {
  std::size_t origin = src.width() / samples, end = 0;
  for (const ResampleTaps& t : taps) {
    if (t.count == 0) continue;
    origin = std::min(origin, t.first);
    end = std::max(end, t.first + t.count);
  }
  const std::size_t n = end > origin ? (end - origin) * samples : 0;
  if (n > wide.size() / kBand) wide.resize(checked_mul(n, kBand * sizeof(double)) / sizeof(double));
  for (std::size_t row = 0; row < src.height(); row += kBand) {
    const std::uint8_t* from[kBand];
    std::uint8_t* to[kBand];
    for (std::size_t r = 0; r < kBand; ++r) {
      const std::size_t y = std::min(row + r, src.height() - 1);  // the last row stands in for those that are missing
      from[r] = src.row_ptr(y) + origin * samples;
      to[r] = dst.row_ptr(y);
    }
    steps.widen(from, n, wide.data());
    steps.across(wide.data(), origin, taps, samples, to);
  }
}

void pass_across(const ResampleSteps& steps, ConstView src, MutableView dst, std::size_t samples,
                 const ResampleFilter& filter) {
  const std::size_t from = src.width() / samples, to = dst.width() / samples;
  const std::size_t piece = kMostAcross / samples;  // over all rows: what they are made of stays in the cache
  ResampleLine line(from, to, std::min(piece, to), filter);
  std::vector<double> wide;
  for (std::size_t begin = 0; begin < to; begin += piece) {
    const std::size_t end = std::min(begin + piece, to);
    const std::span taps = line.taps(begin, end);
    const MutableView part = dst.part(0, begin * samples, dst.height(), (end - begin) * samples);
    if (std::ranges::all_of(taps, is_average)) {
      averages_across(src, part, samples, taps);
    } else {
      sums_across(steps, src, part, samples, taps, wide);
    }
  }
}

void pass_down(const ResampleSteps& steps, ConstView src, MutableView dst, ResampleLine& line) {
  for (std::size_t r = 0; r < dst.height(); ++r) {
    const ResampleTaps& taps = line.taps(r, r + 1).front();
    const std::uint8_t* const first = src.row_ptr(taps.first);
    if (taps.count != 0 && taps.average) {
      average_down(first, src.stride(), taps.count, dst.row_ptr(r), dst.width());
    } else {
      steps.down(first, src.stride(), taps, dst.row_ptr(r), dst.width());
    }
  }
}

}  // namespace

void resample_across(const double* wide, std::size_t origin, std::span<const ResampleTaps> taps, std::size_t samples,
                     BandTarget rows) {
  std::size_t at = 0;
  for (const ResampleTaps& t : taps) {
    for (std::size_t s = 0; s < samples; ++s, ++at) {
      const double* column = wide + s * kBand + (t.count == 0 ? 0 : t.first - origin) * samples * kBand;
      std::array<double, kBand> sums{};
      for (std::size_t k = 0; k < t.count; ++k, column += samples * kBand) {
        for (std::size_t r = 0; r < kBand; ++r) sums[r] += column[r] * t.weights[k];
      }
      for (std::size_t r = 0; r < kBand; ++r) rows[r][at] = sample_of(sums[r] / t.sum);
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
  std::vector<std::uint8_t> between(checked_mul(dst.width(), src.height()));
  const MutableView across(between.data(), dst.width(), src.height());
  ResampleLine down(src.height(), dst.height(), 1, filter);
  pass_across(steps, src, across, samples, filter);
  pass_down(steps, across, dst, down);
}

void resample_scalar(ConstView src, MutableView dst, std::size_t samples, const ResampleFilter& filter) {
  resample_by({widen, resample_across, resample_down}, src, dst, samples, filter);
}

void resample(ConstView src, MutableView dst, std::size_t samples, const ResampleFilter& filter) {
  static const auto run = best(kResample);
  run(src, dst, samples, filter);
}

}  // namespace zel::kern
