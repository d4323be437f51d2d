// Positions where the bytes of a row change.
//
//   row      the pixels; the one before the first counts as 255
//   changes  room for row.size() + kSentinels positions; gets, in ascending order, every c with row[c] != row[c - 1],
//            then kSentinels times row.size(); what is left of the room has no meaning
//   returns  the number of changes, without the sentinels
//
// Exact. Cost: at most four reads per pixel, a machine word or a vector at a time, and one write per
// change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/variant.hpp"

namespace zel::kern {

// A coder looks this far past the last change it has used.
inline constexpr std::size_t kSentinels = 4;

std::size_t run_scan(std::span<const std::uint8_t> row, std::span<std::int32_t> changes);

using RunScanFn = decltype(run_scan);
RunScanFn run_scan_scalar, run_scan_sse2, run_scan_avx2;

inline constexpr Variant<RunScanFn> kRunScan[] = {
    {"scalar", Isa::none, run_scan_scalar}, {"sse2", Isa::sse2, run_scan_sse2}, {"avx2", Isa::avx2, run_scan_avx2}};

// For the variants: the changes from column c on (at least 1), which go to next, and the sentinels. Returns what the
// variant has to return.
std::size_t run_scan_end(std::span<const std::uint8_t> row, std::span<std::int32_t> changes, std::size_t c,
                         std::int32_t* next);

}  // namespace zel::kern
