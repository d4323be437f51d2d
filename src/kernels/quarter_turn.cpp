#include "kernels/quarter_turn.hpp"

#include <algorithm>
#include <cstring>

#include "kernels/quarter_turn_strip.hpp"

namespace zel::kern {
namespace {

// Pixel by pixel.
template <std::size_t kSamples>
void turn_pixels(const TurnPart<kSamples>& part) {
  const std::size_t rows = part.src.width() / kSamples;  // of dst
  // Walking along a destination row moves one source row up (clockwise) or down.
  const std::ptrdiff_t step = static_cast<std::ptrdiff_t>(part.src.stride()) * (part.turn == Turn::clockwise ? -1 : 1);
  for (std::size_t r = 0; r < rows; ++r) {
    const std::uint8_t* from = part.from(0) + r * kSamples;
    std::uint8_t* to = part.to(r);
    for (std::size_t left = part.src.height();;) {
      std::memcpy(to, from, kSamples);
      if (--left == 0) break;
      from += step;
      to += kSamples;
    }
  }
}

// kTurnBlock x kTurnBlock bytes.
void turn_block(const TurnPart<1>& part) {
  constexpr std::size_t kHalf = kTurnBlock * kTurnBlock / 2;
  std::uint8_t bytes[2 * kHalf];
  std::uint8_t shuffled[2 * kHalf];
  for (std::size_t r = 0; r < kTurnBlock; ++r) std::memcpy(bytes + r * kTurnBlock, part.from(r), kTurnBlock);
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
  for (std::size_t r = 0; r < kTurnBlock; ++r) std::memcpy(part.to(r), bytes + r * kTurnBlock, kTurnBlock);
}

// Source rows taken together: few enough for a cache line of each to stay in the first cache, enough to fill whole
// lines of dst. Of a colour page each row of dst is on a memory page of its own: more rows, fewer returns to it.
template <std::size_t kSamples>
constexpr std::size_t kStrip = kSamples == 1 ? 128 : 256;

template <std::size_t kSamples>
std::size_t strip_height(std::size_t rows_left) {
  const std::size_t blocks = std::min(kStrip<kSamples>, rows_left) / kTurnBlock;
  return blocks != 0 ? blocks * kTurnBlock : rows_left;
}

template <std::size_t kSamples>
void turn_strips(TurnStrip<kSamples>* turn_strip, ConstView src, MutableView dst, Turn turn) {
  const TurnPart<kSamples> image = {src, dst, turn};
  const std::size_t width = src.width();
  for (std::size_t r = 0, h = 0; r < src.height(); r += h) {
    h = strip_height<kSamples>(src.height() - r);
    const bool has_blocks = turn_strip != nullptr && h % kTurnBlock == 0;
    // Colour is faster when dst is filled from left to right, grey when src is read from top to bottom.
    const TurnPart<kSamples> strip = kSamples == 1 ? image.part(r, 0, h, width) : image.next(r, 0, h, width);
    const std::size_t done = has_blocks ? turn_strip(strip) : 0;
    if (done < width) turn_pixels(strip.part(0, done, h, width - done));
  }
}

}  // namespace

std::size_t turn_grey_strip(const TurnPart<1>& strip) {
  std::size_t c = 0;
  for (; c + kTurnBlock <= strip.src.width(); c += kTurnBlock) {
    for (std::size_t r = 0; r < strip.src.height(); r += kTurnBlock) {
      turn_block(strip.part(r, c, kTurnBlock, kTurnBlock));
    }
  }
  return c;
}

void quarter_turn_by(TurnStrip<1>* grey, TurnStrip<3>* colour, ConstView src, MutableView dst, std::size_t samples,
                     Turn turn) {
  if (samples == 1) {
    turn_strips(grey, src, dst, turn);
  } else {
    turn_strips(colour, src, dst, turn);
  }
}

void quarter_turn_scalar(ConstView src, MutableView dst, std::size_t samples, Turn turn) {
  quarter_turn_by(turn_grey_strip, nullptr, src, dst, samples, turn);
}

void quarter_turn(ConstView src, MutableView dst, std::size_t samples, Turn turn) {
  static const auto run = best(kQuarterTurn);
  run(src, dst, samples, turn);
}

}  // namespace zel::kern
