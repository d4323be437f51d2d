// Between quarter_turn and its vector variants, which take blocks of pixels; the rest is the scalar code's.
#pragma once

#include <cstddef>

#include "kernels/quarter_turn.hpp"

namespace zel::kern {

inline constexpr std::size_t kTurnBlock = 16;

// A part of an image and the part of the result that it turns into.
template <std::size_t kSamples>
struct TurnPart {
  ConstView src;
  MutableView dst;
  Turn turn;

  // The part of h rows and w samples at row r and sample c of src.
  TurnPart part(std::size_t r, std::size_t c, std::size_t h, std::size_t w) const {
    const bool clockwise = turn == Turn::clockwise;
    const std::size_t to_row = (clockwise ? c : src.width() - c - w) / kSamples;
    const std::size_t to_pixel = clockwise ? src.height() - r - h : r;
    return {src.part(r, c, h, w), dst.part(to_row, to_pixel * kSamples, w / kSamples, h * kSamples), turn};
  }

  // The same with r in the order in which a row of dst has its pixels, so that strips fill dst from left to right.
  TurnPart next(std::size_t r, std::size_t c, std::size_t h, std::size_t w) const {
    return part(turn == Turn::clockwise ? src.height() - r - h : r, c, h, w);
  }

  // Row r of src in the order in which a row of dst has its pixels, and where pixel c of each row of src goes to.
  const std::uint8_t* from(std::size_t r) const {
    return src.row_ptr(turn == Turn::clockwise ? src.height() - 1 - r : r);
  }
  std::uint8_t* to(std::size_t c) const { return dst.row_ptr(turn == Turn::clockwise ? c : dst.height() - 1 - c); }
};

// Turns the columns of a strip, whose height is a multiple of kTurnBlock, from the left on as far as there are whole
// blocks. Returns the number of samples that are done.
template <std::size_t kSamples>
using TurnStrip = std::size_t(const TurnPart<kSamples>& strip);

// quarter_turn with functions for images of one and three samples a pixel, or null.
void quarter_turn_by(TurnStrip<1>* grey, TurnStrip<3>* colour, ConstView src, MutableView dst, std::size_t samples,
                     Turn turn);
TurnStrip<1> turn_grey_strip;  // the scalar one, of which the compiler makes vector code

}  // namespace zel::kern
