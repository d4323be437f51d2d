#include "kernels/template_match.hpp"

#include <algorithm>

namespace zel::kern {
namespace {

constexpr std::uint8_t kLight = 0x80, kDark = 0x7F;  // order as signed bytes, upright and turned over
constexpr std::uint8_t kNever = 0x80;                // -128

// One row. Without branches, so that the compiler can take all pixels at once.
void prepare(const std::uint8_t* templ, const std::uint8_t* mask, std::size_t width, std::uint8_t* flip,
             std::uint8_t* bound) {
  for (std::size_t c = 0; c < width; ++c) {
    const int high = std::min(mask[c] + 147, 255), low = std::max(107 - mask[c], 0);
    const bool light = templ[c] > high, dark = templ[c] < low;
    flip[c] = dark ? kDark : kLight;
    bound[c] = static_cast<std::uint8_t>(dark ? high ^ kDark : light ? low ^ kLight : kNever);
  }
}

}  // namespace

void template_bounds_scalar(ConstView templ, ConstView mask, MutableView bounds) {
  for (std::size_t r = 0; r < templ.height(); ++r) {
    std::fill_n(bounds.row_ptr(r), bounds.width(), kNever);
    prepare(templ.row_ptr(r), mask.row_ptr(r), templ.width(), bounds.row_ptr(r),
            bounds.row_ptr(r) + bounds.width() / 2);
  }
}

void template_match_scalar(ConstView image, ConstView bounds, std::span<std::uint32_t> counts) {
  const std::size_t width = bounds.width() / 2;
  for (std::size_t r = 0; r < bounds.height(); ++r) {
    const std::uint8_t* const flip = bounds.row_ptr(r);
    for (std::size_t k = 0; k < counts.size(); ++k) {
      const std::uint8_t* const pixels = image.row_ptr(r) + k;
      std::uint32_t count = 0;
      for (std::size_t c = 0; c < width; ++c) {
        const auto level = static_cast<std::int8_t>(pixels[c] ^ flip[c]);
        count += level < static_cast<std::int8_t>(flip[width + c]) ? 1 : 0;
      }
      counts[k] += count;
    }
  }
}

void template_bounds(ConstView templ, ConstView mask, MutableView bounds) {
  static const auto run = best(kTemplateBounds);
  run(templ, mask, bounds);
}

void template_match(ConstView image, ConstView bounds, std::span<std::uint32_t> counts) {
  static const auto run = best(kTemplateMatch);
  run(image, bounds, counts);
}

}  // namespace zel::kern
