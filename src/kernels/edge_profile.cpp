#include "kernels/edge_profile.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace zel::kern {
namespace {

// The blocks of three rows, kStep bytes a pixel; rows begin at the byte that is looked at of pixel 0.
template <std::size_t kStep>
struct Band {
  const std::uint8_t* top;
  const std::uint8_t* middle;
  const std::uint8_t* bottom;

  int score(std::size_t x) const {
    constexpr std::size_t k1 = kStep, k2 = 2 * kStep;
    const std::uint8_t *a = top + x * kStep, *d = middle + x * kStep, *g = bottom + x * kStep;
    const int gx = a[0] + 2 * d[0] + g[0] - a[k2] - 2 * d[k2] - g[k2];
    // KEPT: the bottom row's middle and right pixel count upwards, so that even, bright paper scores six times its
    // level and is found without an edge: test crop_bright_area_is_edge.
    const int gy = a[0] + 2 * a[k1] + a[k2] - g[0] + 2 * g[k1] + g[k2];
    return std::max(std::abs(gx), std::abs(gy));
  }

  int best(std::size_t x, std::size_t count) const {
    int highest = 0;
    for (std::size_t k = 0; k < count; ++k) highest = std::max(highest, score(x + k));
    return highest;
  }
};

constexpr std::size_t kBlock = 32;

template <std::size_t kStep>
std::optional<EdgeColumns> profile(const Band<kStep>& band, std::size_t begin, std::size_t end, int threshold) {
  while (begin + kBlock <= end && band.best(begin, kBlock) <= threshold) begin += kBlock;
  while (begin < end && band.score(begin) <= threshold) ++begin;
  if (begin == end) return {};
  while (begin + kBlock <= end && band.best(end - kBlock, kBlock) <= threshold) end -= kBlock;
  while (band.score(end - 1) <= threshold) --end;
  return EdgeColumns{begin, end - 1};
}

}  // namespace

std::optional<EdgeColumns> edge_profile_scalar(ConstView band, std::size_t step, std::size_t begin, std::size_t end,
                                               int threshold) {
  const std::size_t byte = step == 1 ? 0 : 1;
  const std::uint8_t* const top = band.row_ptr(0) + byte;
  const std::uint8_t* const middle = band.row_ptr(1) + byte;
  const std::uint8_t* const bottom = band.row_ptr(2) + byte;
  return step == 1 ? profile(Band<1>{top, middle, bottom}, begin, end, threshold)
                   : profile(Band<3>{top, middle, bottom}, begin, end, threshold);
}

std::optional<EdgeColumns> edge_profile(ConstView band, std::size_t step, std::size_t begin, std::size_t end,
                                        int threshold) {
  static const auto run = best(kEdgeProfile);
  return run(band, step, begin, end, threshold);
}

}  // namespace zel::kern
