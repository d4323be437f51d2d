// Between deinterleave and its vector variants: what is done of a row.
//
// line points to the channel's first sample; the last one that is read is the channel's last, so that the line may end
// right behind it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "kernels/deinterleave.hpp"

namespace zel::kern {

// Every second sample of line, beginning with the first one, from left to right or from right to left.
using PickGrey = void(const std::uint8_t* line, std::span<std::uint8_t> dst);
PickGrey pick_grey, pick_grey_mirrored;

// The first samples of a channel in three planes, in the order in which the samples of a pixel have them.
struct Planes {
  const std::uint8_t* first;
  const std::uint8_t* second;
  const std::uint8_t* third;
};

// The same in colour; a mirrored pixel keeps the order of its samples.
using PickColour = void(const Planes& from, std::span<std::uint8_t> dst, bool mirror);
PickColour pick_colour;

// The kernels with functions for their rows.
void deinterleave_grey_by(PickGrey* pick, PickGrey* pick_mirrored, ConstView raw, MutableView a, MutableView b,
                          std::size_t lag, bool mirror_a);
void deinterleave_colour_by(PickColour* pick, ConstView raw, MutableView a, MutableView b, std::size_t lag,
                            bool mirror_a, PlaneOrder order_a);

}  // namespace zel::kern
