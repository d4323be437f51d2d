// How many pixels of an image disagree with a template, at places side by side.
//
// Where the mask has m, the template wants a light pixel if it is above m + 147 itself: one below 107 - m disagrees. If
// it is below 107 - m it wants a dark one: one above m + 147 disagrees. With anything else, which is also all with an m
// of 108 or more, no pixel disagrees.
//
// template_bounds: prepares a template
//   templ, mask  same size
//   bounds       twice as wide as bounds_width(templ.width()), same height; must not overlap them
// template_match: counts
//   bounds  as prepared, or some of its rows
//   counts  gets added to: [k] the pixels that disagree where column 0 of the template lies on column k of the image
//   image   a row for each of bounds, bounds.width() / 2 + counts.size() - 1 columns
//
// Exact, modulo 2^32. Cost: three instructions for each 16 or 32 pixels of the template and place.
// Method: a row of bounds has two bytes for each column, side by side in its two halves. An image's pixel that is
// exclusive-ored with the first disagrees if, as a signed byte, it is below the second. That turns dark into light, so
// that one comparison serves both. No byte is below -128, with which rows are filled up to whole vectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

constexpr std::size_t bounds_width(std::size_t template_width) { return (template_width + 31) / 32 * 32; }

void template_bounds(ConstView templ, ConstView mask, MutableView bounds);
void template_match(ConstView image, ConstView bounds, std::span<std::uint32_t> counts);

using TemplateBoundsFn = decltype(template_bounds);
using TemplateMatchFn = decltype(template_match);
TemplateBoundsFn template_bounds_scalar;
TemplateMatchFn template_match_scalar, template_match_sse2, template_match_avx2;

inline constexpr Variant<TemplateBoundsFn> kTemplateBounds[] = {{"scalar", Isa::none, template_bounds_scalar}};
inline constexpr Variant<TemplateMatchFn> kTemplateMatch[] = {{"scalar", Isa::none, template_match_scalar},
                                                              {"sse2", Isa::sse2, template_match_sse2},
                                                              {"avx2", Isa::avx2, template_match_avx2}};

}  // namespace zel::kern
