// Between resample and its vector variants: the steps of both passes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "kernels/resample_line.hpp"

namespace zel::kern {

inline constexpr std::size_t kMostAcross = 4096;  // samples of a row that are made together

struct ResampleSteps {
  // All rows of positions side by side, from dst's first column on; kMostAcross samples of each row at most.
  void (*across)(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps);
  // The same, all weights being 1.
  void (*average_across)(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps);
  // One row of n samples, with a weight at least. first: row of taps.first; the next ones lie stride further each.
  void (*down)(const std::uint8_t* first, std::size_t stride, const ResampleTaps& taps, std::uint8_t* dst,
               std::size_t n);
};

// A quotient of sums as a sample: toward zero, limited. Not a number, and what leaves 32 bits as the quotient of a sum
// of weights that nearly cancel, is 0: the conversion of vectors gives that.
// KEPT: toward zero after each pass, so white may come out as 254 or 253: test resample_white_page.
inline std::uint8_t sample_of(double quotient) {
  if (!(quotient >= 1 && quotient < 0x1p31)) return 0;
  return quotient < 256 ? static_cast<std::uint8_t>(quotient) : 255;
}

// resample with these steps.
void resample_by(const ResampleSteps& steps, ConstView src, MutableView dst, std::size_t samples,
                 const ResampleFilter& filter);

// The scalar steps, for what is left beside whole vectors.
void resample_across(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps);
void resample_down(const std::uint8_t* first, std::size_t stride, const ResampleTaps& taps, std::uint8_t* dst,
                   std::size_t n);

}  // namespace zel::kern
