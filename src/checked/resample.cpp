// The checked interface: resampling.

#include <ZelIMP.hpp>
#include <array>
#include <cmath>

#include "ResampleBitmap.hpp"
#include "checked/scan_input.hpp"

namespace zelimp {

using namespace detail;

namespace {

constexpr std::array<std::string_view, zel::kFilters> kNames = {
    "bell",     "box",      "catmull-rom", "cosine",    "cubic-convolution", "cubic-spline", "hermite",
    "lanczos3", "lanczos8", "mitchell",    "quadratic", "quadratic-bspline", "triangle"};

unsigned number_of(Filter filter) {
  const auto number = static_cast<unsigned>(filter);
  if (number >= zel::kFilters) bad_argument("there is no filter with the number " + std::to_string(number));
  return number;
}

std::string size_text(double width, double height) {
  return std::to_string(static_cast<std::uint64_t>(width)) + " x " + std::to_string(static_cast<std::uint64_t>(height));
}

void check_source(const PixelView& view, unsigned bits, const Limits& limits) {
  if (bits != 8 && bits != 24 && bits != 32) bad_argument("pixels have neither 8 nor 24 nor 32 bits");
  const std::uint64_t pixels = std::uint64_t{view.width} * view.height;
  if (pixels == 0) bad_argument("the image has no width or no height");
  if (pixels > limits.max_pixels || view.pixels.size() > limits.max_bytes) {
    throw Error(Status::over_limit,
                "the image of " + size_text(view.width, view.height) + " pixels is larger than the limits");
  }
  if (view.pixels.size() / (bits / 8) != pixels || view.pixels.size() % (bits / 8) != 0) {
    bad_argument(std::to_string(view.pixels.size()) + " bytes of pixels are given, " +
                 size_text(view.width, view.height) + " pixels have " + std::to_string(pixels) + " times " +
                 std::to_string(bits / 8));
  }
}

void check_result(double width, double height, const Limits& limits) {
  if (width < 1 || height < 1) bad_argument("the result would have no width or no height");
  if (!(width < 0x1p32 && height < 0x1p32) || width * height > static_cast<double>(limits.max_pixels)) {
    throw Error(Status::over_limit, "the result would be larger than the limits");
  }
}

}  // namespace

FilterFacts facts(Filter filter) {
  const unsigned number = number_of(filter);
  return {kNames[number], zel::resample_filter(number).radius};
}

double filter_weight(Filter filter, double x) { return zel::resample_filter(number_of(filter)).weight(x); }

Pixels resample(const PixelView& view, unsigned bits, double from_dpi, double to_dpi, std::optional<Filter> filter,
                const Limits& limits) {
  check_source(view, bits, limits);
  if (!(from_dpi > 0 && to_dpi > 0 && std::isfinite(from_dpi) && std::isfinite(to_dpi))) {
    bad_argument("the resolutions are not numbers above 0");
  }
  const unsigned number = filter ? number_of(*filter) : bits == 8 ? zel::kTriangleFilter : zel::kBoxFilter;
  const double ratio = to_dpi / from_dpi;
  const double width = std::trunc(view.width * ratio), height = std::trunc(view.height * ratio);
  check_result(width, height, limits);

  const std::size_t samples = bits / 8;
  Pixels result{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), {}};
  result.pixels = room_for(std::uint64_t{result.width} * result.height * samples);
  zel::kern::resample({file_of(view.pixels), view.width * samples, view.height},
                      {bytes_of(result.pixels), result.width * samples, result.height}, samples,
                      zel::resample_filter(number));
  return result;
}

}  // namespace zelimp
