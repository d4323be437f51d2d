// Which columns, and which rows, of an 8-bit image have ink: more than one sample below a threshold.
//
// ink_columns: for each column
//   src         any number of rows, any stride
//   threshold   any; below 1 nothing is ink, above 255 everything
//   inked       room for src.width() flags; gets 1 or 0
// ink_row: for one row, true or false
//
// Exact. Cost: one read per sample; a row is left at the first block of 64 samples that settles it. Whoever looks for
// one column asks for a block of kInkBlock columns at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

inline constexpr std::size_t kInkBlock = 64;

void ink_columns(ConstView src, int threshold, std::span<std::uint8_t> inked);
bool ink_row(std::span<const std::uint8_t> row, int threshold);

using InkColumnsFn = decltype(ink_columns);
using InkRowFn = decltype(ink_row);
InkColumnsFn ink_columns_scalar;
InkRowFn ink_row_scalar;

inline constexpr Variant<InkColumnsFn> kInkColumns[] = {{"scalar", Isa::none, ink_columns_scalar}};
inline constexpr Variant<InkRowFn> kInkRow[] = {{"scalar", Isa::none, ink_row_scalar}};

}  // namespace zel::kern
