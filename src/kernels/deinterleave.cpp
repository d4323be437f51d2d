#include "kernels/deinterleave.hpp"

#include <algorithm>
#include <array>

#include "kernels/deinterleave_rows.hpp"
#include "kernels/half_turn.hpp"

namespace zel::kern {
namespace {

Planes planes(const std::uint8_t* line, std::size_t width, std::size_t channel, PlaneOrder order) {
  const std::uint8_t* const p = line + channel;
  if (order == PlaneOrder::forward) return {p, p + width, p + 2 * width};
  return {p + 2 * width, p + width, p};
}

}  // namespace

void pick_grey(const std::uint8_t* line, std::span<std::uint8_t> dst) {
  for (std::size_t i = 0; i < dst.size(); ++i) dst[i] = line[2 * i];
}

// Block by block in order, then turned, both of which go many samples at a time.
void pick_grey_mirrored(const std::uint8_t* line, std::span<std::uint8_t> dst) {
  std::array<std::uint8_t, 512> block;
  for (std::size_t left = dst.size(); left != 0;) {
    const std::span<std::uint8_t> picked(block.data(), std::min(left, block.size()));
    pick_grey(line, picked);
    line += 2 * picked.size();
    left -= picked.size();
    half_turn_scalar(picked, dst.subspan(left, picked.size()));
  }
}

void pick_colour(const Planes& from, std::span<std::uint8_t> dst, bool mirror) {
  const std::size_t n = dst.size() / 3;
  for (std::size_t i = 0; i < n; ++i) {
    std::uint8_t* const pixel = dst.data() + 3 * (mirror ? n - 1 - i : i);
    pixel[0] = from.first[2 * i];
    pixel[1] = from.second[2 * i];
    pixel[2] = from.third[2 * i];
  }
}

void deinterleave_grey_by(PickGrey* pick, PickGrey* pick_mirrored, ConstView raw, MutableView a, MutableView b,
                          std::size_t lag, bool mirror_a) {
  for (std::size_t r = 0; r < a.height(); ++r) {
    (mirror_a ? pick_mirrored : pick)(raw.row_ptr(r), a.row(r));
    if (r < b.height()) pick(raw.row_ptr(r + lag) + 1, b.row(r));
  }
  for (std::size_t r = a.height(); r < b.height(); ++r) pick(raw.row_ptr(r + lag) + 1, b.row(r));
}

void deinterleave_colour_by(PickColour* pick, ConstView raw, MutableView a, MutableView b, std::size_t lag,
                            bool mirror_a, PlaneOrder order_a) {
  const std::size_t width = raw.width() / 3;
  for (std::size_t r = 0; r < a.height(); ++r) {
    pick(planes(raw.row_ptr(r), width, 0, order_a), a.row(r), mirror_a);
    if (r < b.height()) pick(planes(raw.row_ptr(r + lag), width, 1, PlaneOrder::forward), b.row(r), false);
  }
  for (std::size_t r = a.height(); r < b.height(); ++r) {
    pick(planes(raw.row_ptr(r + lag), width, 1, PlaneOrder::forward), b.row(r), false);
  }
}

void deinterleave_grey_scalar(ConstView raw, MutableView a, MutableView b, std::size_t lag, bool mirror_a) {
  deinterleave_grey_by(pick_grey, pick_grey_mirrored, raw, a, b, lag, mirror_a);
}

void deinterleave_colour_scalar(ConstView raw, MutableView a, MutableView b, std::size_t lag, bool mirror_a,
                                PlaneOrder order_a) {
  deinterleave_colour_by(pick_colour, raw, a, b, lag, mirror_a, order_a);
}

void deinterleave_grey(ConstView raw, MutableView a, MutableView b, std::size_t lag, bool mirror_a) {
  static const auto run = best(kDeinterleaveGrey);
  run(raw, a, b, lag, mirror_a);
}

void deinterleave_colour(ConstView raw, MutableView a, MutableView b, std::size_t lag, bool mirror_a,
                         PlaneOrder order_a) {
  static const auto run = best(kDeinterleaveColour);
  run(raw, a, b, lag, mirror_a, order_a);
}

}  // namespace zel::kern
