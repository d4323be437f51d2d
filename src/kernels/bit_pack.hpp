// One byte a pixel to one bit a pixel: 1 for a byte of 128 or more, first pixel in the top bit.
//
//   src  any stride
//   dst  (src.width() + 7) / 8 bytes wide, same height, must not overlap src; the bits beyond a row's end become 0
//
// Exact. Cost: one read per pixel.
#pragma once

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

void bit_pack(ConstView src, MutableView dst);

using BitPackFn = decltype(bit_pack);
BitPackFn bit_pack_scalar, bit_pack_sse2, bit_pack_avx2;

inline constexpr Variant<BitPackFn> kBitPack[] = {
    {"scalar", Isa::none, bit_pack_scalar}, {"sse2", Isa::sse2, bit_pack_sse2}, {"avx2", Isa::avx2, bit_pack_avx2}};

}  // namespace zel::kern
