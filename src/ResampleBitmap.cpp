#include <ZelIMP/ResampleBitmap.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <numbers>
#include <vector>

#include "ResampleBitmap.hpp"
#include "base/checked.hpp"
#include "base/maths.hpp"

namespace {

constexpr double kPi = std::numbers::pi;
constexpr std::size_t kWordBytes = 4;

// Reconstruction filters: weight of a sample at distance x, 0 beyond the radius. Whether a piece includes its ends
// matters, because distances are often whole or half pixels. Polynomials are evaluated as they stand.

double _Bell(double x) {  // the quadratic B-spline in its other form
  const double a = std::fabs(x);
  if (a < 0.5) return 0.75 - a * a;
  if (a < 1.5) return 0.5 * ((a - 1.5) * (a - 1.5));
  return 0.0;
}

double _Box(double x) { return std::fabs(x) <= 0.5 ? 1.0 : 0.0; }

// Catmull and Rom 1974; Keys 1981 with a = -1/2.
double _CatmullRom(double x) {
  const double a = std::fabs(x);
  const double a2 = a * a;
  const double a3 = a2 * a;
  if (a <= 1.0) return 1.5 * a3 - 2.5 * a2 + 1.0;
  if (a <= 2.0) return -0.5 * a3 + 2.5 * a2 - 4.0 * a + 2.0;
  return 0.0;
}

double _Cosine(double x) {  // raised cosine
  if (x >= -1.0 && x <= 1.0) return (zel::maths::cos(kPi * x) + 1.0) * 0.5;
  return 0.0;
}

// Keys 1981: the cubic convolution over six points.
double _CubicConvolution(double x) {
  const double a = std::fabs(x);
  const double a2 = a * a;
  const double a3 = a2 * a;
  if (a <= 1.0) return (4.0 / 3.0) * a3 - (7.0 / 3.0) * a2 + 1.0;
  if (a <= 2.0) return -(7.0 / 12.0) * a3 + 3.0 * a2 - (59.0 / 12.0) * a + 2.5;
  if (a <= 3.0) return (1.0 / 12.0) * a3 - (2.0 / 3.0) * a2 + 1.75 * a - 1.5;
  return 0.0;
}

double _CubicSpline(double x) {  // cubic B-spline
  const double a = std::fabs(x);
  if (a < 1.0) return 0.5 * a * a * a - a * a + 2.0 / 3.0;
  if (a < 2.0) return zel::maths::pow(2.0 - a, 3.0) / 6.0;
  return 0.0;
}

double _Hermite(double x) {
  const double a = std::fabs(x);
  return a < 1.0 ? (2.0 * a - 3.0) * (a * a) + 1.0 : 0.0;
}

// sinc(a) windowed by sinc(a / lobes).
double lanczos(double x, double lobes) {
  const double a = std::fabs(x);
  if (a == 0.0) return 1.0;
  if (a >= lobes) return 0.0;
  const double phase = kPi * a;
  return lobes * zel::maths::sin(phase) * zel::maths::sin(phase / lobes) / (phase * phase);
}

double _Lanczos3(double x) { return lanczos(x, 3.0); }
double _Lanczos8(double x) { return lanczos(x, 8.0); }

// Mitchell and Netravali 1988 with B = C = 1/3.
double _Mitchell(double x) {
  const double a = std::fabs(x);
  const double a2 = a * a;
  const double a3 = a2 * a;
  if (a < 1.0) return (7.0 * a3 - 12.0 * a2 + 16.0 / 3.0) / 6.0;
  if (a < 2.0) return (-(7.0 / 3.0) * a3 + 12.0 * a2 - 20.0 * a + 32.0 / 3.0) / 6.0;
  return 0.0;
}

double _Quadratic(double x) {  // Dodgson 1997, interpolating
  const double a = std::fabs(x);
  if (a <= 0.5) return -2.0 * a * a + 1.0;
  if (a <= 1.5) return a * a - 2.5 * a + 1.5;
  return 0.0;
}

double _QuadraticBSpline(double x) {
  const double a = std::fabs(x);
  if (a <= 0.5) return 0.75 - a * a;
  if (a <= 1.5) return 0.5 * a * a - 1.5 * a + 1.125;
  return 0.0;
}

double _Triangle(double x) {
  const double a = std::fabs(x);
  return a < 1.0 ? 1.0 - a : 0.0;
}

constexpr zel::kern::ResampleFilter kFilterTable[zel::kFilters] = {{_Bell, 1.5},
                                                                   {_Box, 0.5},
                                                                   {_CatmullRom, 2.0},
                                                                   {_Cosine, 1.0},
                                                                   {_CubicConvolution, 3.0},
                                                                   {_CubicSpline, 2.0},
                                                                   {_Hermite, 1.0},
                                                                   {_Lanczos3, 3.0},
                                                                   {_Lanczos8, 8.0},
                                                                   {_Mitchell, 2.0},
                                                                   {_Quadratic, 1.5},
                                                                   {_QuadraticBSpline, 1.5},
                                                                   {_Triangle, 1.0}};

// The channels of words alone, and back again.
std::vector<std::uint8_t> channels_of(const unsigned char* words, std::size_t pixels, std::size_t channels) {
  std::vector<std::uint8_t> samples(zel::checked_mul(pixels, channels));
  for (std::size_t i = 0; i < pixels; ++i) std::copy_n(words + kWordBytes * i, channels, &samples[channels * i]);
  return samples;
}

void store_words(const std::vector<std::uint8_t>& samples, std::size_t channels, unsigned char* words) {
  for (std::size_t i = 0; i < samples.size(); i += channels, words += kWordBytes) {
    std::copy_n(&samples[i], channels, words);
    std::fill(words + channels, words + kWordBytes, std::uint8_t{0});
  }
}

}  // namespace

namespace zel {

const kern::ResampleFilter& resample_filter(unsigned number) { return kFilterTable[number % kFilters]; }

std::uint32_t engine_side(std::uint32_t asked) { return std::clamp(asked, 1u, kMostResampled); }

bool fits_words(std::uint64_t width, std::uint64_t height) {
  return width == 0 || height <= 0xFFFFFFFF / kWordBytes / width;
}

}  // namespace zel

int CreateResampledBitmap(unsigned char* src, unsigned int srcWidth, unsigned int srcHeight, unsigned char* dst,
                          unsigned int dstWidth, unsigned int dstHeight, unsigned char bitDepth,
                          unsigned int filter) try {
  if (src == nullptr || dst == nullptr) return 1;
  if (srcWidth == 0 || srcHeight == 0 || !zel::fits_words(srcWidth, srcHeight)) return 1;
  if (bitDepth != 8 && bitDepth != 24 && bitDepth != 32) return 1;
  const std::size_t columns = zel::engine_side(dstWidth), rows = zel::engine_side(dstHeight);
  const std::size_t src_pixels = std::size_t{srcWidth} * srcHeight;
  if (columns == srcWidth && rows == srcHeight) {
    std::memmove(dst, src, src_pixels * kWordBytes);
    return 0;
  }

  const std::size_t channels = bitDepth / 8u;
  const zel::kern::ResampleFilter& kernel = zel::resample_filter(filter);
  if (channels == kWordBytes) {
    zel::kern::resample({src, srcWidth * kWordBytes, srcHeight}, {dst, columns * kWordBytes, rows}, channels, kernel);
    return 0;
  }
  const std::vector<std::uint8_t> from = channels_of(src, src_pixels, channels);
  std::vector<std::uint8_t> to(columns * rows * channels);
  zel::kern::resample({from.data(), srcWidth * channels, srcHeight}, {to.data(), columns * channels, rows}, channels,
                      kernel);
  store_words(to, channels, dst);
  return 0;
} catch (const std::bad_alloc&) {
  return 1;
}
