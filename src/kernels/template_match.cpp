#include "kernels/template_match.hpp"

#include <algorithm>

namespace zel::kern {
namespace {

constexpr std::uint8_t kUpright = 0x80, kTurned = 0x7F;  // bytes then order as signed ones, dark or light first
constexpr std::uint8_t kNever = 0x80;                    // -128

// One row. In bytes and without branches, so that the compiler can take many pixels at once.
void prepare(const std::uint8_t* __restrict templ, const std::uint8_t* __restrict mask, std::size_t width,
             std::uint8_t* __restrict flip, std::uint8_t* __restrict bound) {
  for (std::size_t c = 0; c < width; ++c) {
    const std::uint8_t trust = std::min<std::uint8_t>(mask[c], 108);
    const auto high = static_cast<std::uint8_t>(trust + 147);
    const auto low = static_cast<std::uint8_t>(std::max<std::uint8_t>(107, trust) - trust);
    const auto dark = static_cast<std::uint8_t>(-(templ[c] < low)),
               light = static_cast<std::uint8_t>(-(templ[c] > high));
    flip[c] = dark ^ kUpright;
    // An exclusive or with kNever is one with kUpright, which the byte of a light pixel has to be given anyway.
    bound[c] = static_cast<std::uint8_t>((((high ^ 255) & dark) | (low & light)) ^ kNever);
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
