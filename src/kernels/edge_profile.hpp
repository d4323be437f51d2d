// First and last column of a band of three rows where the picture is bright or changes.
//
//   band       three rows, any stride
//   step       bytes a pixel: 1, or 3 (only the middle byte of each pixel is looked at)
//   begin, end columns tried, begin <= end; a column's 3 x 3 block lies right of it, so end <= pixels of a row - 2
//   threshold  a column counts when max(|gx|, |gy|) > threshold; both are at most 1785. With the block a b c / d e f /
//              g h i: gx = a + 2d + g - c - 2f - i, gy = a + 2b + c - g + 2h + i
//   returns    the first and the last counting column, nothing when none counts
//
// Exact. Cost: nine reads per column up to the first and from the last counting one on, a block of columns at a time.
#pragma once

#include <cstddef>
#include <optional>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

struct EdgeColumns {
  std::size_t first;
  std::size_t last;
  friend bool operator==(const EdgeColumns&, const EdgeColumns&) = default;
};

std::optional<EdgeColumns> edge_profile(ConstView band, std::size_t step, std::size_t begin, std::size_t end,
                                        int threshold);

using EdgeProfileFn = decltype(edge_profile);
EdgeProfileFn edge_profile_scalar;

inline constexpr Variant<EdgeProfileFn> kEdgeProfile[] = {{"scalar", Isa::none, edge_profile_scalar}};

}  // namespace zel::kern
