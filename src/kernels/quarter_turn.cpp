#include "kernels/quarter_turn.hpp"

#include <algorithm>
#include <cstring>

namespace zel::kern {
namespace {

// Pixels of a tile's side: 32 source rows and 32 destination rows of one cache line each fit the first cache, also
// where their addresses collide.
constexpr std::size_t kTile = 32;

template <std::size_t kSamples>
void turn_tiles(ConstView src, MutableView dst, Turn turn) {
  const std::size_t rows = src.width() / kSamples;  // of dst
  const std::size_t cols = src.height();
  // Walking along a destination row moves one source row up (clockwise) or down.
  const bool clockwise = turn == Turn::clockwise;
  const std::ptrdiff_t step = static_cast<std::ptrdiff_t>(src.stride()) * (clockwise ? -1 : 1);
  for (std::size_t tile_c = 0; tile_c < cols; tile_c += kTile) {
    const std::size_t n = std::min(kTile, cols - tile_c);
    for (std::size_t r = 0; r < rows; ++r) {
      const std::size_t src_row = clockwise ? cols - 1 - tile_c : tile_c;
      const std::size_t src_col = clockwise ? r : rows - 1 - r;
      const std::uint8_t* from = src.row_ptr(src_row) + src_col * kSamples;
      std::uint8_t* to = dst.row_ptr(r) + tile_c * kSamples;
      for (std::size_t i = 0;;) {
        std::memcpy(to, from, kSamples);
        if (++i == n) break;
        from += step;
        to += kSamples;
      }
    }
  }
}

}  // namespace

void quarter_turn_scalar(ConstView src, MutableView dst, std::size_t samples, Turn turn) {
  if (samples == 1) {
    turn_tiles<1>(src, dst, turn);
  } else {
    turn_tiles<3>(src, dst, turn);
  }
}

void quarter_turn(ConstView src, MutableView dst, std::size_t samples, Turn turn) {
  quarter_turn_scalar(src, dst, samples, turn);
}

}  // namespace zel::kern
