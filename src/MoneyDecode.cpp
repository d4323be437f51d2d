// Module MoneyDecode: the contrast stretch.

#include <ZelIMP/MoneyDecode.h>

#include <array>

#include "MoneyDecode.hpp"
#include "kernels/histogram.hpp"

namespace zel {
namespace {

using Counts = std::array<std::uint32_t, 256>;

// The first level from `from` to `to`, either way, up to which more than limit pixels were counted, beginning at from.
int level_beyond(const Counts& counts, std::uint32_t limit, int from, int to) {
  const int step = from < to ? 1 : -1;
  std::uint32_t sum = 0;
  for (int level = from; level != to; level += step) {
    sum += counts[static_cast<std::size_t>(level)];
    if (sum > limit) return level;
  }
  return to;
}

// What becomes of every pixel value. A single level makes both ends: black has it.
Levels stretched(int low, int high) {
  Levels to{};
  for (int value = 0; value < 256; ++value) {
    const int level = value <= low ? 0 : value < high ? (value - low) * 255 / (high - low) : 255;
    to[static_cast<std::size_t>(value)] = static_cast<std::uint8_t>(level);
  }
  return to;
}

}  // namespace

int equalize(const GreyDib& image) {
  const Levels levels = levels_of(image);
  Counts values, counts{};
  kern::histogram(image.pixels, values);
  for (std::size_t value = 0; value < 256; ++value) counts[levels[value]] += values[value];

  const auto pixels = static_cast<std::uint32_t>(image.pixels.width() * image.pixels.height());
  const int low = level_beyond(counts, pixels / 50, 0, 255), high = level_beyond(counts, pixels / 50, 255, 0);
  // KEPT: the limits are grey levels, what is stretched between them are the pixel values: with a colour table that is
  // no grey ramp neither end need be reached: test equalize_stretches_stored_values.
  const Levels to = stretched(low, high);
  for (std::size_t r = 0; r < image.pixels.height(); ++r) {
    for (std::uint8_t& value : image.pixels.row(r)) value = to[value];
  }
  std::uint64_t sum = 0;
  for (std::size_t value = 0; value < 256; ++value) sum += std::uint64_t{values[value]} * levels[to[value]];
  return static_cast<int>(sum / pixels);
}

}  // namespace zel

int Image_Equalize(unsigned char* dib) {
  const auto image = zel::grey_dib(dib);
  return image ? zel::equalize(*image) : 0;
}
