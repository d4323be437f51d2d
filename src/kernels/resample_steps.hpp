// Between resample and its vector variants: the steps of both passes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "kernels/resample_line.hpp"

namespace zel::kern {

inline constexpr std::size_t kBand = 4;          // rows that are resampled across together
inline constexpr std::size_t kMostAcross = 512;  // samples of a row that are

// Rows of one band, or of its part that a piece of the destination is made of.
using BandSource = const std::uint8_t* const (&)[kBand];
using BandTarget = std::uint8_t* const (&)[kBand];

struct ResampleSteps {
  // wide[kBand * i + r] = rows[r][i], n samples of each row.
  void (*widen)(BandSource rows, std::size_t n, double* wide);
  // Positions side by side from rows[r][0] on. wide begins with source position `origin`.
  void (*across)(const double* wide, std::size_t origin, std::span<const ResampleTaps> taps, std::size_t samples,
                 BandTarget rows);
  // One row of n samples; row of taps.first, the next ones stride further on each.
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
void resample_across(const double* wide, std::size_t origin, std::span<const ResampleTaps> taps, std::size_t samples,
                     BandTarget rows);
void resample_down(const std::uint8_t* first, std::size_t stride, const ResampleTaps& taps, std::uint8_t* dst,
                   std::size_t n);

}  // namespace zel::kern
