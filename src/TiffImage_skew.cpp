// TiffImage: the skew of a document, and two ways to straighten it: a true rotation, and a pair of shears for both
// faces at once.

#include <ZelIMP/TiffImage.h>

#include <algorithm>
#include <limits>
#include <new>

#include "TiffImage.hpp"
#include "TiffImage_geometry.hpp"
#include "base/maths.hpp"
#include "kernels/border_trace.hpp"
#include "kernels/rotate_nearest.hpp"
#include "kernels/shear.hpp"

namespace {

using zel::BorderTrace;
using zel::ConstView;

// Border columns of the first and last row traced, and the outermost ones.
struct Border {
  std::size_t top, bottom, least, greatest;
};

// Nothing when the border jumps. columns, unless null, gets that of every row.
std::optional<Border> follow_border(ConstView rows, bool left, int threshold, std::vector<std::uint32_t>* columns) {
  constexpr std::size_t kLargestStep = 3;
  Border border = {};
  if (columns != nullptr) columns->clear();
  for (std::size_t r = 0; r < rows.height(); ++r) {
    const std::size_t x = zel::kern::border_trace(rows.row(r), threshold, left);
    if (r == 0) border = {x, x, x, x};
    if (std::max(x, border.bottom) - std::min(x, border.bottom) > kLargestStep) return {};
    border = {border.top, x, std::min(border.least, x), std::max(border.greatest, x)};
    if (columns != nullptr) columns->push_back(static_cast<std::uint32_t>(x));
  }
  return border;
}

// The angle of a border in an image of that many rows, unless it is too small, too large or leans the wrong way.
std::optional<double> accepted_angle(const Border& border, bool left, std::size_t height) {
  // KEPT: pi with seven decimals; it decides at the very limits: test skew_limits.
  constexpr double kPi = 3.1415926;
  const double ratio = static_cast<double>(border.greatest - border.least) / (static_cast<double>(height) * 0.5);
  if (ratio > 1.0) return {};
  // KEPT: the lean of the border is taken for the sine of its angle, though it is the tangent, so that 9.85 degrees
  // count as 10: test skew_limits.
  const double angle = zel::maths::asin(ratio), degrees = angle * 180 / kPi;
  const bool wrong_way = left ? border.bottom > border.top : border.top > border.bottom;
  if (degrees < 1.0 || degrees > 10.0 || wrong_way) return {};
  return angle;
}

// trace, unless null, gets the details when there is an angle; else only its columns may have changed.
std::optional<double> trace_border(const TiffImage& image, bool left, BorderTrace* trace) {
  constexpr int kFirstThreshold = 128, kLastThreshold = 4;
  const std::size_t quarter = image.height / 4;
  if (image.width == 0 || quarter == 0 || image.height > std::size_t{std::numeric_limits<int>::max()}) return {};
  const ConstView rows = zel::view_of(image, 1).part(quarter, 0, 2 * quarter, image.width);
  for (int threshold = kFirstThreshold; threshold >= kLastThreshold; threshold /= 2) {
    const auto border = follow_border(rows, left, threshold, trace != nullptr ? &trace->columns : nullptr);
    if (!border) continue;
    const auto angle = accepted_angle(*border, left, image.height);
    if (angle && trace != nullptr) *trace = {*angle, left, threshold, quarter, std::move(trace->columns)};
    return angle;
  }
  return {};
}

// trunc(k * tangent) for k from first on upwards or downwards. What exceeds limit lies outside the image anyway.
std::vector<std::uint32_t> shifts(std::size_t count, std::size_t first, int step, double tangent, std::size_t limit) {
  std::vector<std::uint32_t> table(count);
  double k = static_cast<double>(first);
  for (std::uint32_t& shift : table) {
    shift = static_cast<std::uint32_t>(std::min(k * tangent, static_cast<double>(limit)));
    k += step;
  }
  return table;
}

// Sizes of the result are stored first; a null dst asks for them alone.
void rotate(TiffImage& image, unsigned char* dst, double angle, std::size_t samples, int* new_width, int* new_height) {
  // KEPT: the bounds are those of the page before the turn, so the size stays and corners are lost: test
  // skew_rotation_keeps_size.
  *new_width = static_cast<int>(image.width);
  *new_height = static_cast<int>(image.height);
  if (dst == nullptr) return;
  const auto cosine = static_cast<float>(zel::maths::cos(angle)), sine = static_cast<float>(zel::maths::sin(angle));
  const ConstView src = zel::view_of(image, samples);
  zel::kern::rotate_nearest(src, {dst, src.width(), src.height()}, samples, cosine, sine);
  zel::set_size(image, image.width, image.height);
}

}  // namespace

std::optional<double> zel::find_page_skew(const TiffImage& image, BorderTrace* trace) {
  BorderTrace found;
  BorderTrace* const details = trace != nullptr ? &found : nullptr;
  std::optional<double> angle = trace_border(image, true, details);
  if (!angle) angle = trace_border(image, false, details);
  if (angle && trace != nullptr) *trace = std::move(found);
  return angle;
}

bool zel::shear_page(TiffImage& image, unsigned char* dst, double angle_rad) {
  const std::size_t width = image.width, height = image.height, half = width / 2;
  const double tangent = maths::tan(angle_rad);
  if (width == 0 || height == 0 || !(tangent >= 0)) return false;
  const double row_shift = static_cast<double>(height - 1) * tangent;
  const double column_shift = static_cast<double>(half - std::min<std::size_t>(half, 1)) * tangent;
  if (row_shift >= static_cast<double>(width) || column_shift >= static_cast<double>(height)) return false;
  const auto most = static_cast<std::size_t>(row_shift);  // columns that each face loses
  if (2 * most >= width) return false;
  const std::size_t new_width = width - 2 * most, new_height = height - static_cast<std::size_t>(column_shift);

  const std::size_t left = half - most, right = new_width - left;
  // KEPT: row and column shifts of a face grow in opposite directions, and those of the other face the other way round:
  // the faces are mirror images of each other, and so is their skew: test skew_shears_are_mirrored.
  const auto left_columns = shifts(left, 0, 1, tangent, height);
  const auto left_rows = shifts(new_height, height - 1, -1, tangent, width);
  const auto right_columns = shifts(right, width - 1 - half, -1, tangent, height);
  const auto right_rows = shifts(new_height, 0, 1, tangent, width);
  const ConstView src = view_of(image, 1);
  const MutableView result(dst, new_width, new_height);
  kern::shear(src.part(0, 0, height, half), result.part(0, 0, new_height, left), left_columns, left_rows);
  kern::shear(src.part(0, half, height, width - half), result.part(0, left, new_height, right), right_columns,
              right_rows);

  set_size(image, static_cast<unsigned int>(new_width), static_cast<unsigned int>(new_height));
  image.imageSize = image.width * image.height;
  return true;
}

double TiffImage::FindSkewAngle() {
  long left = 0, right = static_cast<long>(width);
  return FindEdgeWithSkewAngle(image, &left, &right, 700, 150, 1);
}

void TiffImage::DeskewTiff(unsigned char* dst, double angle, int* newWidth, int* newHeight) {
  rotate(*this, dst, angle, 1, newWidth, newHeight);
}

void TiffImage::DeskewTiffColor(unsigned char* dst, double angle, int* newWidth, int* newHeight) {
  rotate(*this, dst, angle, 3, newWidth, newHeight);
}

int TiffImage::get_skew_angle(double* angle, int fromLeft) {
  const auto found = trace_border(*this, fromLeft != 0, nullptr);
  if (found) *angle = *found;
  return found ? 0 : 1;
}

int TiffImage::DeskewTiffCombo(unsigned char* dst, double*) {
  if (dst == nullptr) return 1;
  try {
    const auto angle = zel::find_page_skew(*this, nullptr);
    return angle && zel::shear_page(*this, dst, *angle) ? 0 : 1;
  } catch (const std::bad_alloc&) {
    return 1;
  }
}
