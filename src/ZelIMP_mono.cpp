// Module ZelIMP: thresholds, noise filter, window sums, colour to grey.

#include <ZelIMP/ZelIMP_mono.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "ZelIMP_mono.hpp"
#include "base/checked.hpp"
#include "kernels/isolated_pixels.hpp"
#include "kernels/rgb_to_grey.hpp"

int m_squareValue[ZELIMP_ROW_SUMS];
int m_prevSquareValue[ZELIMP_ROW_SUMS];

namespace {

// Beyond it the window's area leaves 31 bits.
constexpr int kLargestWindow = 46340;

struct Range {
  int begin;
  int end;
};

Range clipped(int centre, int half, int size) {
  return {std::max(centre - half, 0), std::min(centre + half, size - 1) + 1};
}

const unsigned char* pixel(const unsigned char* image, int width, int row, int col) {
  return image + static_cast<std::ptrdiff_t>(row) * width + col;
}

int column_sum(const unsigned char* image, int width, Range rows, int col) {
  int sum = 0;
  for (int r = rows.begin; r < rows.end; ++r) sum = zel::wrap_add(sum, *pixel(image, width, r, col));
  return sum;
}

int row_sum(const unsigned char* image, int width, int row, Range cols) {
  int sum = 0;
  for (int c = cols.begin; c < cols.end; ++c) sum = zel::wrap_add(sum, *pixel(image, width, row, c));
  return sum;
}

}  // namespace

zel::kern::RowSums zel::exported_row_sums() { return {m_prevSquareValue, m_squareValue}; }

void zel::adaptive_threshold(ConstView src, MutableView dst, kern::RowSums sums, int window, int percent) {
  if (src.empty() || window < 1 || window > kLargestWindow) return;
  const std::size_t half = static_cast<std::size_t>(window / 2);
  if (src.width() > half && src.width() <= sums.even.size()) {
    return kern::box_threshold(src, dst, sums, window, percent);
  }
  // Wider than the buffers, or narrower than half a window: the same sums, kept elsewhere.
  std::vector<std::int32_t> own(checked_mul(src.width(), 2));
  const std::span<std::int32_t> all = own;
  kern::box_threshold(src, dst, {all.first(src.width()), all.last(src.width())}, window, percent);
}

int convertToMono2(unsigned char* src, unsigned char* dst, int width, int height, int window, int percent) {
  if (width <= 0 || height <= 0) return 0;
  const auto w = static_cast<std::size_t>(width);
  const auto h = static_cast<std::size_t>(height);
  zel::adaptive_threshold(zel::ConstView(src, w, h), zel::MutableView(dst, w, h), zel::exported_row_sums(), window,
                          percent);
  return 0;
}

int convertToMonoThreshold(unsigned char* src, unsigned char* dst, int width, int height, int threshold) {
  if (width <= 0 || height <= 0) return 0;
  const std::size_t n = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  std::transform(src, src + n, dst, [threshold](unsigned char p) -> unsigned char { return p < threshold ? 0 : 255; });
  return 0;
}

int removeImageNoise(unsigned char* image, int width, int height, int minCount) {
  if (width <= 0 || height <= 0) return 0;
  zel::kern::isolated_pixels({image, static_cast<std::size_t>(width), static_cast<std::size_t>(height)}, minCount);
  return 0;
}

bool hasNeighbors(unsigned char* image, int width, int height, int minCount, int row, int col) {
  if (row < 0 || row >= height || col < 0 || col >= width) return true;
  return zel::kern::has_neighbours(
      zel::ConstView(image, static_cast<std::size_t>(width), static_cast<std::size_t>(height)), minCount,
      static_cast<std::size_t>(row), static_cast<std::size_t>(col));
}

int getSquareValue(unsigned char* image, int width, int height, int row, int col, int half) {
  const Range rows = clipped(row, half, height);
  const Range cols = clipped(col, half, width);
  int sum = 0;
  for (int r = rows.begin; r < rows.end; ++r) sum = zel::wrap_add(sum, row_sum(image, width, r, cols));
  return sum;
}

int getSquareValue(unsigned char* image, int width, int height, int row, int col, int half, int previous) {
  if (previous < 0) return getSquareValue(image, width, height, row, col, half);
  const Range rows = clipped(row, half, height);
  int sum = previous;
  if (col + half < width) sum = zel::wrap_add(sum, column_sum(image, width, rows, col + half));
  if (col - half - 1 >= 1) sum = zel::wrap_sub(sum, column_sum(image, width, rows, col - half - 1));
  return sum;
}

int getSquareValueNewLine(unsigned char* image, int width, int height, int row, int half, int previous) {
  const Range cols = {0, std::min(half + 1, width)};
  int sum = previous;
  if (row + half < height) sum = zel::wrap_add(sum, row_sum(image, width, row + half, cols));
  if (row - half - 1 >= 0) sum = zel::wrap_sub(sum, row_sum(image, width, row - half - 1, cols));
  return sum;
}

int getSquareValueFast(unsigned char* image, int width, int height, int row, int col, int half, int* previousRow,
                       int* currentRow) {
  const bool right = col + half < width;
  const bool left = col > half;
  int sum = zel::wrap_sub(zel::wrap_add(currentRow[col - 1], previousRow[col]), previousRow[col - 1]);
  if (row + half < height) {
    if (right) sum = zel::wrap_add(sum, *pixel(image, width, row + half, col + half));
    if (left) sum = zel::wrap_sub(sum, *pixel(image, width, row + half, col - half - 1));
  }
  if (row > half) {
    if (right) sum = zel::wrap_sub(sum, *pixel(image, width, row - half - 1, col + half));
    if (left) sum = zel::wrap_add(sum, *pixel(image, width, row - half - 1, col - half - 1));
  }
  return sum;
}

unsigned int ZelIMPColorToGray(unsigned char* rgb, unsigned int width, unsigned int height, unsigned char* grey) {
  const std::uint64_t pixels = std::uint64_t{width} * height;
  // No buffer is larger than half the address space.
  if (pixels > std::numeric_limits<std::size_t>::max() / 6) return 0;
  const auto n = static_cast<std::size_t>(pixels);
  zel::kern::rgb_to_grey({rgb, 3 * n}, {grey, n});
  return 0;
}
