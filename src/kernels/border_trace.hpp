// Where a document begins or ends in a row on a dark background.
//
//   row        the pixels
//   threshold  0 to 255; a pixel above it belongs to the document
//   left       whether the document's first column is sought, else its last one
//   returns    the column; without any document row.size() at the left, 0 at the right
//
// Exact. Cost: one read per pixel of the margin, a block at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/variant.hpp"

namespace zel::kern {

std::size_t border_trace(std::span<const std::uint8_t> row, int threshold, bool left);

using BorderTraceFn = decltype(border_trace);
BorderTraceFn border_trace_scalar;

inline constexpr Variant<BorderTraceFn> kBorderTrace[] = {{"scalar", Isa::none, border_trace_scalar}};

}  // namespace zel::kern
