// A model of the scanner: what its two-channel sensor reads from a sheet that passes it.
//
// The sensor sees both faces side by side, the front face in the left half of a row. Which channel reads which part of
// a row, how far channel B lags, in what order the planes come and which reference levels belong to a sample is what
// <ZelIMP/descramble.h> says of the calibrated routines; the model is their inverse.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "bedding.hpp"
#include "picture.hpp"

namespace tool {

struct DeviceSettings {
  double skew_deg = 0;        // by which the sheet is turned clockwise as seen from the front
  std::uint32_t margin = 24;  // bed on every side of a face, pixels; where one of the next two is given, it decides
  std::optional<std::uint32_t> half_width;
  std::optional<std::uint32_t> rows;  // of the page
  std::int32_t shift_x = 0;  // pixels the sheet lies right of the middle of the front half; mirrored on the rear
  std::int32_t shift_y = 0;  // pixels it lies below the middle
  std::uint8_t bed = 12;     // grey level of the bed
  double bed_noise = 0;      // standard deviation of the bed's grain; it also varies slowly by twice as much
  std::uint32_t lag = 0;     // lines by which channel B lags
  bool swap_sides = true;    // SWAP_SIDES of the layout
  bool model_7200 = true;    // Tarsis_7200 of the layout
  bool calibrated = false;   // the sensor has reference levels; without, samples are the levels of the page
  double gain_percent = 0;   // white levels vary by this much
  std::uint32_t offset = 0;  // black levels vary by this much
  double noise = 0;          // standard deviation, grey levels of a raw sample
  std::uint32_t seed = 1;    // of the reference levels, the noise and the bed, which do not influence each other
};

// The two settings above are limited so that black lies in 8 to 24 and white in 191 to 249.
constexpr double kMaxGainPercent = 13;
constexpr std::uint32_t kMaxOffset = 8;

struct ReadOut {
  std::uint32_t width = 0;  // even
  std::uint32_t rows = 0;   // raw lines: page rows + lag
  std::uint32_t planes = 1;
  std::vector<std::uint8_t> raw;     // rows * planes * width
  std::vector<std::uint16_t> white;  // planes * width, empty unless calibrated
  std::vector<std::uint16_t> black;  // width, likewise
};

// Throws Failure when a sheet does not lie on the bed with all of it.
Bedding bedding_of(const Picture& front, const Picture& rear, const DeviceSettings& settings);

// Both faces must have the same number of planes. Throws Failure as bedding_of does, and
// when the read-out is larger than the library accepts.
ReadOut read_out(const Picture& front, const Picture& rear, const DeviceSettings& settings);

}  // namespace tool
