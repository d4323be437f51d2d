// Brightness and unrest of columns of an 8-bit image.
//
//   src      at least one row, any stride
//   level    room for src.width() sums: each column's samples without those of row 0
//   change   room for src.width() sums: of each column, |difference| of every two samples one below the other
//
// Exact. Cost: one read per sample, row by row within blocks of kColumnBlock columns. Whoever looks for one column asks
// for a block at a time.
// Method: sums of 16 bits, carried over to the result before they can wrap.
#pragma once

#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

inline constexpr std::size_t kColumnBlock = 64;

void column_profile(ConstView src, std::span<std::uint64_t> level, std::span<std::uint64_t> change);

using ColumnProfileFn = decltype(column_profile);
ColumnProfileFn column_profile_scalar;

inline constexpr Variant<ColumnProfileFn> kColumnProfile[] = {{"scalar", Isa::none, column_profile_scalar}};

}  // namespace zel::kern
