#include "kernels/border_trace.hpp"

#include <algorithm>

namespace zel::kern {
namespace {

constexpr std::size_t kBlock = 64;

std::uint8_t brightest(const std::uint8_t* pixels) {
  std::uint8_t most = 0;
  for (std::size_t k = 0; k < kBlock; ++k) most = std::max(most, pixels[k]);
  return most;
}

std::size_t first_above(std::span<const std::uint8_t> row, int threshold) {
  std::size_t x = 0;
  while (x + kBlock <= row.size() && brightest(&row[x]) <= threshold) x += kBlock;
  while (x < row.size() && row[x] <= threshold) ++x;
  return x;
}

std::size_t last_above(std::span<const std::uint8_t> row, int threshold) {
  std::size_t end = row.size();
  while (end >= kBlock && brightest(&row[end - kBlock]) <= threshold) end -= kBlock;
  while (end > 1 && row[end - 1] <= threshold) --end;
  return end - std::min<std::size_t>(end, 1);
}

}  // namespace

std::size_t border_trace_scalar(std::span<const std::uint8_t> row, int threshold, bool left) {
  return left ? first_above(row, threshold) : last_above(row, threshold);
}

std::size_t border_trace(std::span<const std::uint8_t> row, int threshold, bool left) {
  static const auto run = best(kBorderTrace);
  return run(row, threshold, left);
}

}  // namespace zel::kern
