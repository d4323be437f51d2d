// Group 4 coding (ITU-T T.6) of an image with one byte a pixel.
//
//   src      any stride; white is 255, black 0, at most 2^31 - 5 pixels wide. With other values every change of the
//            byte value ends a run, and a run that does not begin with 255 counts as black, but the second run of a
//            horizontal mode has the colour opposite to the first
//   dst      at least 2 * width * height + height / 8 + 8 bytes, must not overlap src; only the bytes returned are
//   written returns  coded bytes: the rows back to back, EOFB, zero bits up to a whole byte
//
// Exact. Cost: one read per pixel, the rest per colour change; two rows of change positions are allocated.
// Method: the positions where a row's bytes change are listed once; a list serves as coding line, then as reference
// line of the next row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

std::size_t g4_encode(ConstView src, std::span<std::uint8_t> dst);

using G4EncodeFn = decltype(g4_encode);
G4EncodeFn g4_encode_scalar, g4_encode_sse2, g4_encode_avx2;  // with the variants of run_scan

inline constexpr Variant<G4EncodeFn> kG4Encode[] = {
    {"scalar", Isa::none, g4_encode_scalar}, {"sse2", Isa::sse2, g4_encode_sse2}, {"avx2", Isa::avx2, g4_encode_avx2}};

}  // namespace zel::kern
