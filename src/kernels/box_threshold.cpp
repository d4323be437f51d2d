#include "kernels/box_threshold.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <limits>

#include "base/checked.hpp"
#include "kernels/box_threshold_columns.hpp"

namespace zel::kern {
namespace {

// White when the sum is below a limit that depends on the grey level alone: for a sum S >= 0, a divisor D > 0 and
// percent > 0, p * 100 >= S / D * percent is S / D <= p * 100 / percent is S < (p * 100 / percent + 1) * D.
// Holds as long as neither a sum nor S / D * percent leaves 31 bits, see fits().
class LimitRule {
 public:
  LimitRule(int window, int percent) {
    const std::uint64_t divisor = static_cast<std::uint64_t>(window) * static_cast<std::uint64_t>(window);
    for (std::uint32_t p = 0; p < 256; ++p) {
      const std::uint64_t limit = (p * 100 / static_cast<std::uint32_t>(percent) + 1) * divisor;
      limits_[p] =
          static_cast<std::uint32_t>(std::min<std::uint64_t>(limit, std::numeric_limits<std::uint32_t>::max()));
    }
  }

  static bool fits(int window, int percent) {
    if (percent <= 0) return false;
    const std::int64_t side = 2 * std::int64_t{window / 2} + 1;
    const std::int64_t largest = 255 * side * side + 255 * side;  // with the excess of column 0
    constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
    return largest <= kMax && largest / (std::int64_t{window} * window) * percent <= kMax;
  }

  std::uint8_t operator()(std::uint8_t pixel, std::uint32_t sum) const { return sum < limits_[pixel] ? 255 : 0; }

 private:
  std::array<std::uint32_t, 256> limits_;
};

// The rule as it is defined, for windows and percentages where 32 bits wrap.
class LiteralRule {
 public:
  LiteralRule(int window, int percent) : divisor_(window * window), percent_(percent) {}
  std::uint8_t operator()(std::uint8_t pixel, std::uint32_t sum) const {
    const std::int32_t mean = static_cast<std::int32_t>(sum) / divisor_;
    return pixel * 100 >= wrap_mul(mean, percent_) ? 255 : 0;
  }

 private:
  std::int32_t divisor_;
  std::int32_t percent_;
};

// Sums of columns over the first rows rows. src has more than one row: to is free until row 1 is summed.
void sum_columns(ConstView src, std::size_t rows, std::span<std::int32_t> to) {
  std::fill_n(to.begin(), src.width(), 0);
  for (std::size_t r = 0; r < rows; ++r) {
    const std::uint8_t* const row = src.row_ptr(r);
    for (std::size_t c = 0; c < src.width(); ++c) to[c] = wrap_add(to[c], row[c]);
  }
}

// Sums of row 0, and the decisions they make.
template <class Rule>
void first_row(ConstView src, MutableView dst, RowSums sums, std::size_t half, const Rule& rule) {
  const std::size_t width = src.width();
  const std::size_t rows = std::min(half + 1, src.height());
  if (src.height() > 1) sum_columns(src, rows, sums.odd);
  const std::uint8_t* const row = src.row_ptr(0);
  const auto column = [&](std::size_t c) {
    return src.height() > 1 ? static_cast<std::uint32_t>(sums.odd[c]) : std::uint32_t{row[c]};
  };

  std::uint32_t sum = 0;
  for (std::size_t c = 0; c < std::min(half + 1, width); ++c) sum += column(c);
  sums.even[0] = static_cast<std::int32_t>(sum);
  dst.row_ptr(0)[0] = rule(row[0], sum);
  for (std::size_t c = 1; c < width; ++c) {
    if (static_cast<std::int32_t>(sum) < 0) {
      // A sum that has left 31 bits is not carried on: the next one is counted anew.
      sum = 0;
      for (std::size_t k = c - std::min(c, half); k < std::min(c + half + 1, width); ++k) sum += column(k);
    } else {
      if (half < width - c) sum += column(c + half);
      // KEPT: column 0 is never subtracted here, so from column half + 1 on every sum carries the sum of column 0. The
      // row step below passes the excess on to all rows: test mono_first_column_excess.
      if (c > half + 1) sum -= column(c - half - 1);
    }
    sums.even[c] = static_cast<std::int32_t>(sum);
    // KEPT: a sum decides the pixel before its own in raster order, here and in next_row. The last pixel of the image
    // is therefore never written and keeps what dst held: test mono_one_pixel_lag.
    dst.row_ptr(0)[c - 1] = rule(row[c - 1], sum);
  }
}

// The factors for windows that vector variants serve. With 2^k = 256 << shift and the multiplier 100 * 2^k / percent
// rounded up by less than 1, the product exceeds pixel * 100 / percent by less than 255 / 2^k, which is at most
// 1 / percent: not enough to reach the next integer. 2^k is less than 2 * 255 * percent, so that the multiplier fits.
LimitFactors factors(int window, int percent) {
  const std::uint64_t divisor = static_cast<std::uint64_t>(percent);
  const int shift = std::max(static_cast<int>(std::bit_width(255 * divisor - 1)) - 8, 0);
  const std::uint64_t multiplier = ((std::uint64_t{25600} << shift) + divisor - 1) / divisor;
  return {static_cast<std::uint16_t>(multiplier), shift, static_cast<std::int16_t>(window * window)};
}

// What a variant does ahead of the scalar code, if anything.
struct Ahead {
  ColumnStep* step;
  LimitFactors limit;
};

// One row of sums from the row above. enters, leaves: the rows that come into the window and drop out of it.
template <bool kEnters, bool kLeaves, class Rule>
void next_row(ConstView src, MutableView dst, std::size_t r, std::size_t half, std::span<const std::int32_t> above,
              std::span<std::int32_t> sums, const Rule& rule, const Ahead& ahead) {
  const std::size_t width = src.width();
  const std::uint8_t* const enters = kEnters ? src.row_ptr(r + half) : nullptr;
  const std::uint8_t* const leaves = kLeaves ? src.row_ptr(r - half - 1) : nullptr;
  const auto change = [&](std::size_t c) { return (kEnters ? enters[c] : 0) - (kLeaves ? leaves[c] : 0); };

  std::uint32_t run = 0;  // this row's sum minus that of the row above
  for (std::size_t c = 0; c < std::min(half + 1, width); ++c) run += static_cast<std::uint32_t>(change(c));
  const std::uint32_t first = static_cast<std::uint32_t>(above[0]) + run;
  sums[0] = static_cast<std::int32_t>(first);
  dst.row_ptr(r - 1)[width - 1] = rule(src.row_ptr(r - 1)[width - 1], first);

  const std::uint8_t* const from = src.row_ptr(r);
  std::uint8_t* const to = dst.row_ptr(r);
  const auto step = [&](std::size_t c) {
    const std::uint32_t sum = static_cast<std::uint32_t>(above[c]) + run;
    sums[c] = static_cast<std::int32_t>(sum);
    to[c - 1] = rule(from[c - 1], sum);
  };
  // Columns come into the window up to in_end and drop out of it from out_begin on; a window wider than the image has
  // columns where neither happens.
  const std::size_t in_end = std::max<std::size_t>(width > half ? width - half : 1, 1);
  const std::size_t out_begin = std::min(half + 1, width);
  std::size_t c = 1;
  for (; c < std::min(in_end, out_begin); ++c) {
    run += static_cast<std::uint32_t>(change(c + half));
    step(c);
  }
  for (; c < out_begin; ++c) step(c);
  if (kEnters && kLeaves && ahead.step != nullptr && c < in_end) {
    auto change16 = static_cast<std::int16_t>(run);
    c += ahead.step({enters + c, leaves + c, from + c, to + c, &above[c], &sums[c]}, in_end - c, half, ahead.limit,
                    change16);
    run = static_cast<std::uint32_t>(change16);
  }
  // Ahead of the running sum, so that the compiler can take many columns at once.
  std::array<std::int16_t, 256> turnover;
  while (c < in_end) {
    const std::size_t n = std::min(turnover.size(), in_end - c);
    for (std::size_t i = 0; i < n; ++i) {
      turnover[i] = static_cast<std::int16_t>(change(c + i + half) - change(c + i - half - 1));
    }
    for (std::size_t i = 0; i < n; ++i, ++c) {
      run += static_cast<std::uint32_t>(turnover[i]);
      step(c);
    }
  }
  for (; c < width; ++c) {
    run -= static_cast<std::uint32_t>(change(c - half - 1));
    step(c);
  }
}

template <class Rule>
void threshold(ConstView src, MutableView dst, RowSums sums, std::size_t half, const Rule& rule, const Ahead& ahead) {
  first_row(src, dst, sums, half, rule);
  // The last two rows leave their sums; the ones before them are summed in one buffer, which stays in the first cache.
  const auto sums_of = [&](std::size_t r) {
    const bool is_last = r + 1 == src.height();
    return r != 0 && (is_last ? r : src.height()) % 2 != 0 ? sums.odd : sums.even;
  };
  for (std::size_t r = 1; r < src.height(); ++r) {
    const std::span<const std::int32_t> above = sums_of(r - 1);
    const std::span<std::int32_t> current = sums_of(r);
    const bool enters = half < src.height() - r;
    const bool leaves = r > half;
    if (enters && leaves) {
      next_row<true, true>(src, dst, r, half, above, current, rule, ahead);
    } else if (enters) {
      next_row<true, false>(src, dst, r, half, above, current, rule, ahead);
    } else if (leaves) {
      next_row<false, true>(src, dst, r, half, above, current, rule, ahead);
    } else {
      next_row<false, false>(src, dst, r, half, above, current, rule, ahead);
    }
  }
}

}  // namespace

void box_threshold_by(ColumnStep* step, ConstView src, MutableView dst, RowSums sums, int window, int percent) {
  if (src.empty()) return;
  const std::size_t half = static_cast<std::size_t>(window / 2);
  if (!LimitRule::fits(window, percent)) {
    threshold(src, dst, sums, half, LiteralRule(window, percent), {});
  } else {
    const bool has_step = step != nullptr && half <= kWidestHalf;
    threshold(src, dst, sums, half, LimitRule(window, percent),
              has_step ? Ahead{step, factors(window, percent)} : Ahead{});
  }
}

void box_threshold_scalar(ConstView src, MutableView dst, RowSums sums, int window, int percent) {
  box_threshold_by(nullptr, src, dst, sums, window, percent);
}

void box_threshold(ConstView src, MutableView dst, RowSums sums, int window, int percent) {
  static const auto run = best(kBoxThreshold);
  run(src, dst, sums, window, percent);
}

}  // namespace zel::kern
