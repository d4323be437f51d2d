#include "kernels/bit_pack.hpp"

#include <cstring>

namespace zel::kern {
namespace {

// The top bits of eight bytes as one byte, first byte in the top bit. The multiplication moves the bit of byte i, which
// stands at 8 * i after the shift, to bit 63 - i; no two of its products meet in one bit, so nothing carries.
std::uint8_t pack8(const std::uint8_t* p) {
  std::uint64_t pixels;
  std::memcpy(&pixels, p, sizeof pixels);
  const std::uint64_t top = pixels >> 7 & 0x0101010101010101u;
  return static_cast<std::uint8_t>(top * 0x8040201008040201u >> 56);
}

}  // namespace

void bit_pack_scalar(ConstView src, MutableView dst) {
  const std::size_t whole = src.width() / 8;
  const std::size_t rest = src.width() % 8;
  for (std::size_t r = 0; r < src.height(); ++r) {
    const std::uint8_t* const from = src.row_ptr(r);
    std::uint8_t* const to = dst.row_ptr(r);
    for (std::size_t k = 0; k < whole; ++k) to[k] = pack8(from + 8 * k);
    if (rest != 0) {
      std::uint8_t tail[8] = {};
      std::memcpy(tail, from + 8 * whole, rest);
      to[whole] = pack8(tail);
    }
  }
}

void bit_pack(ConstView src, MutableView dst) {
  static const auto run = best(kBitPack);
  run(src, dst);
}

}  // namespace zel::kern
