#include "kernels/quarter_turn.hpp"

#include <algorithm>
#include <cstring>

namespace zel::kern {
namespace {

// Pixel by pixel. dst is the part of the result that src turns into, here and in turn_block.
template <std::size_t kSamples>
void turn_pixels(ConstView src, MutableView dst, Turn turn) {
  const std::size_t rows = src.width() / kSamples;  // of dst
  const bool clockwise = turn == Turn::clockwise;
  // Walking along a destination row moves one source row up (clockwise) or down.
  const std::ptrdiff_t step = static_cast<std::ptrdiff_t>(src.stride()) * (clockwise ? -1 : 1);
  for (std::size_t r = 0; r < rows; ++r) {
    const std::uint8_t* from =
        src.row_ptr(clockwise ? src.height() - 1 : 0) + (clockwise ? r : rows - 1 - r) * kSamples;
    std::uint8_t* to = dst.row_ptr(r);
    for (std::size_t left = src.height();;) {
      std::memcpy(to, from, kSamples);
      if (--left == 0) break;
      from += step;
      to += kSamples;
    }
  }
}

constexpr std::size_t kBlock = 16;

// kBlock x kBlock bytes.
void turn_block(ConstView src, MutableView dst, Turn turn) {
  constexpr std::size_t kHalf = kBlock * kBlock / 2;
  const bool clockwise = turn == Turn::clockwise;
  std::uint8_t bytes[2 * kHalf];
  std::uint8_t shuffled[2 * kHalf];
  for (std::size_t r = 0; r < kBlock; ++r) {
    std::memcpy(bytes + r * kBlock, src.row_ptr(clockwise ? kBlock - 1 - r : r), kBlock);
  }
  // A perfect shuffle rotates the eight bits of a byte's position by one: four of them exchange row and column. The
  // compiler makes interleaving instructions of it.
  const auto shuffle = [](const std::uint8_t* from, std::uint8_t* to) {
    for (std::size_t i = 0; i < kHalf; ++i) {
      to[2 * i] = from[i];
      to[2 * i + 1] = from[i + kHalf];
    }
  };
  for (int twice = 0; twice < 2; ++twice) {
    shuffle(bytes, shuffled);
    shuffle(shuffled, bytes);
  }
  for (std::size_t r = 0; r < kBlock; ++r) {
    std::memcpy(dst.row_ptr(clockwise ? r : kBlock - 1 - r), bytes + r * kBlock, kBlock);
  }
}

// Source rows taken together: few enough for a cache line of each to stay in the first cache, enough to fill whole
// lines of dst.
constexpr std::size_t kStrip = 64;

template <std::size_t kSamples>
void turn_strips(ConstView src, MutableView dst, Turn turn) {
  const bool clockwise = turn == Turn::clockwise;
  // Where the part of w x h samples at (r, c) goes.
  const auto part = [&](std::size_t r, std::size_t c, std::size_t h, std::size_t w) {
    return dst.part((clockwise ? c : src.width() - c - w) / kSamples, (clockwise ? src.height() - r - h : r) * kSamples,
                    w / kSamples, h * kSamples);
  };
  for (std::size_t r = 0; r < src.height(); r += kStrip) {
    const std::size_t h = std::min(kStrip, src.height() - r);
    std::size_t c = 0;  // up to where the strip is done
    if (kSamples == 1 && h == kStrip) {
      for (; c + kBlock <= src.width(); c += kBlock) {
        for (std::size_t b = r; b < r + h; b += kBlock) {
          turn_block(src.part(b, c, kBlock, kBlock), part(b, c, kBlock, kBlock), turn);
        }
      }
    }
    if (c < src.width()) {
      turn_pixels<kSamples>(src.part(r, c, h, src.width() - c), part(r, c, h, src.width() - c), turn);
    }
  }
}

}  // namespace

void quarter_turn_scalar(ConstView src, MutableView dst, std::size_t samples, Turn turn) {
  if (samples == 1) {
    turn_strips<1>(src, dst, turn);
  } else {
    turn_strips<3>(src, dst, turn);
  }
}

void quarter_turn(ConstView src, MutableView dst, std::size_t samples, Turn turn) {
  static const auto run = best(kQuarterTurn);
  run(src, dst, samples, turn);
}

}  // namespace zel::kern
