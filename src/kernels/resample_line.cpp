#include "kernels/resample_line.hpp"

#include <algorithm>
#include <cstdint>

#include "base/checked.hpp"

namespace zel::kern {
namespace {

// Samples of 255 that a signed 32-bit sum can hold.
constexpr std::size_t kMostAveraged = 0x7FFFFFFF / 255;

}  // namespace

ResampleLine::ResampleLine(std::size_t from_length, std::size_t to_length, std::size_t piece,
                           const ResampleFilter& filter)
    : filter_(filter),
      from_length_(from_length),
      scale_(static_cast<double>(to_length) / static_cast<double>(from_length)),
      reach_(scale_ > 1 ? filter.radius : filter.radius / scale_),
      factor_(scale_ > 1 ? 1.0 : scale_) {
  // Toward zero; one more for a window whose rounded end is one further.
  const double most = std::min(2 * reach_ + 2, static_cast<double>(from_length));
  weights_.reserve(checked_mul(checked_mul(static_cast<std::size_t>(most), piece), sizeof(double)) / sizeof(double));
  taps_.reserve(piece);
}

const std::vector<ResampleTaps>& ResampleLine::taps(std::size_t begin, std::size_t end) {
  weights_.clear();
  taps_.clear();
  for (std::size_t i = begin; i < end; ++i) taps_.push_back(position(i));
  return taps_;
}

ResampleTaps ResampleLine::position(std::size_t i) {
  // KEPT: no half pixel of offset; a box enlarging beyond twice finds no pixel at the end: test resample_box_edge.
  const double centre = static_cast<double>(i) / scale_;
  // Both toward zero.
  const auto left = static_cast<std::int64_t>(centre + 0.5 - reach_);
  const auto right = static_cast<std::int64_t>(static_cast<double>(left) + 2 * reach_);
  const std::int64_t last = std::min(right, static_cast<std::int64_t>(from_length_) - 1);

  ResampleTaps taps{0, 0, weights_.data() + weights_.size(), 0.0, true};
  std::size_t used = 0;  // weights up to the last that is not 0
  for (std::int64_t j = std::max<std::int64_t>(left, 0); j <= last; ++j) {
    const double weight = filter_.weight((centre - static_cast<double>(j)) * factor_);
    if (weight == 0.0 && taps.count == 0) continue;
    if (taps.count == 0) taps.first = static_cast<std::size_t>(j);
    ++taps.count;
    weights_.push_back(weight);
    if (weight == 0.0) continue;
    used = taps.count;
    taps.sum += weight;
  }
  weights_.resize(weights_.size() - (taps.count - used));
  taps.count = used;
  taps.average =
      used <= kMostAveraged && std::all_of(taps.weights, taps.weights + used, [](double w) { return w == 1.0; });
  return taps;
}

}  // namespace zel::kern
