#include "kernels/isolated_pixels.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "base/checked.hpp"

namespace zel::kern {
namespace {

// Whether any of the word's bytes is 0: only such a byte borrows into its top bit without having had it set.
bool has_zero_byte(std::size_t word) {
  constexpr std::size_t kOnes = ~std::size_t{0} / 255;
  return ((word - kOnes) & ~word & kOnes << 7) != 0;
}

std::int32_t limit(int pixels, int min_count) { return wrap_mul(wrap_sub(pixels, min_count), 255); }

// A row and its neighbours, at a column that has one on either side.
struct Place {
  const std::uint8_t* above;
  std::uint8_t* row;
  const std::uint8_t* below;

  // Sum of the eight pixels around column c.
  int around(std::size_t c) const {
    return above[c - 1] + above[c] + above[c + 1] + row[c - 1] + row[c + 1] + below[c - 1] + below[c] + below[c + 1];
  }
};

constexpr std::size_t kBlock = 32;

bool has_black(const std::uint8_t* block) {
  bool found = false;
  for (std::size_t k = 0; k < kBlock; k += sizeof(std::size_t)) {
    std::size_t word;
    std::memcpy(&word, block + k, sizeof word);
    found |= has_zero_byte(word);
  }
  return found;
}

// Whether a pixel of the block from column c on is to be whitened as long as nothing left of it in the block has been.
// Without branches, so that the compiler can take all pixels at once.
bool has_isolated(const Place& at, std::size_t c, std::int16_t limit9) {
  std::uint8_t isolated = 0;
  for (std::size_t k = c; k < c + kBlock; ++k) {
    isolated |= static_cast<std::uint8_t>((at.row[k] == 0) & (static_cast<std::int16_t>(at.around(k)) >= limit9));
  }
  return isolated != 0;
}

// The row's pixels that have a row above, a row below and a pixel on either side.
void filter_inner(MutableView image, std::size_t r, std::int32_t limit9) {
  const Place at = {image.row_ptr(r - 1), image.row_ptr(r), image.row_ptr(r + 1)};
  const auto filter = [&](std::size_t c) {
    if (at.row[c] == 0 && at.around(c) >= limit9) at.row[c] = 255;
  };
  // No sum is below 0 or above 8 * 255.
  const auto narrow_limit = static_cast<std::int16_t>(std::clamp(limit9, 0, 8 * 255 + 1));
  const std::size_t end = image.width() - 1;
  std::size_t c = 1;
  for (; c + kBlock <= end; c += kBlock) {
    // The first pixel that goes sees the block as it is: when there is none, all stay.
    if (!has_black(at.row + c) || !has_isolated(at, c, narrow_limit)) continue;
    for (std::size_t k = 0; k < kBlock; ++k) filter(c + k);
  }
  for (; c < end; ++c) filter(c);
}

}  // namespace

bool has_neighbours(ConstView image, int min_count, std::size_t row, std::size_t col) {
  if (image.row_ptr(row)[col] != 0) return true;
  const std::size_t r_begin = row == 0 ? 0 : row - 1;
  const std::size_t r_end = std::min(row + 2, image.height());
  const std::size_t c_begin = col == 0 ? 0 : col - 1;
  const std::size_t c_end = std::min(col + 2, image.width());
  int sum = 0;
  for (std::size_t r = r_begin; r < r_end; ++r) {
    for (std::size_t c = c_begin; c < c_end; ++c) sum += image.row_ptr(r)[c];
  }
  return limit(static_cast<int>((r_end - r_begin) * (c_end - c_begin)), min_count) > sum;
}

void isolated_pixels_from(MutableView image, int min_count, std::size_t first_row) {
  if (image.empty()) return;
  const std::size_t last_row = image.height() - 1;
  const std::size_t last_col = image.width() - 1;
  const auto filter_edge = [&](std::size_t r, std::size_t c) {
    if (!has_neighbours(image, min_count, r, c)) image.row_ptr(r)[c] = 255;
  };
  for (std::size_t r = first_row; r <= last_row; ++r) {
    if (r == 0 || r == last_row) {
      for (std::size_t c = 0; c <= last_col; ++c) filter_edge(r, c);
      continue;
    }
    filter_edge(r, 0);
    if (last_col > 1) filter_inner(image, r, limit(9, min_count));
    if (last_col > 0) filter_edge(r, last_col);
  }
}

void isolated_pixels_scalar(MutableView image, int min_count) { isolated_pixels_from(image, min_count, 0); }

void isolated_pixels(MutableView image, int min_count) {
  static const auto run = best(kIsolatedPixels);
  run(image, min_count);
}

}  // namespace zel::kern
