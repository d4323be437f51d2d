// Grey levels of colour pixels: first * 30 / 100 + second * 59 / 100 + third * 11 / 100, each quotient toward zero.
//
//   rgb   three bytes a pixel, 3 * grey.size() bytes
//   grey  one byte a pixel, must not overlap rgb
//
// Exact. Cost: three multiplications by constants per pixel.
#pragma once

#include <cstdint>
#include <span>

#include "base/variant.hpp"

namespace zel::kern {

void rgb_to_grey(std::span<const std::uint8_t> rgb, std::span<std::uint8_t> grey);

using RgbToGreyFn = decltype(rgb_to_grey);
RgbToGreyFn rgb_to_grey_scalar;

inline constexpr Variant<RgbToGreyFn> kRgbToGrey[] = {{"scalar", Isa::none, rgb_to_grey_scalar}};

}  // namespace zel::kern
