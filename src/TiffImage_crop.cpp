// TiffImage: where the document lies in one half of a two-faced image, and the split that keeps only that.

#include <ZelIMP/TiffImage.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "TiffImage.hpp"
#include "TiffImage_geometry.hpp"
#include "base/maths.hpp"
#include "kernels/column_profile.hpp"
#include "kernels/edge_profile.hpp"

namespace {

using zel::ConstView;

// Columns of one half, first and last; on the way here anything that a caller may have said.
struct Columns {
  std::int64_t left;
  std::int64_t right;
};

// The rows that begin at img, up to their ends. Beyond the first row nothing lies inside: the last row would be
// missing.
ConstView rows_from(const TiffImage& image, const unsigned char* img, std::size_t samples) {
  const std::size_t pitch = std::size_t{image.width} * samples;
  const auto begin = reinterpret_cast<std::uintptr_t>(image.image), at = reinterpret_cast<std::uintptr_t>(img);
  std::uint64_t offset = at - begin;
  if (at < begin || offset >= std::uint64_t{pitch} * image.height) offset = 0;  // pixels of the caller's own
  const std::size_t inside = offset < pitch ? pitch - static_cast<std::size_t>(offset) : 0;
  return {img, inside, image.height, pitch};
}

// Up to kColumnBlock columns and which of them belong to the document.
class ColumnBlock {
 public:
  ColumnBlock(ConstView half, std::int64_t first, std::int64_t count) : height_(half.height()) {
    const auto columns = half.part(0, static_cast<std::size_t>(first), half.height(), static_cast<std::size_t>(count));
    zel::kern::column_profile(columns, level_, change_);
  }
  bool is_document(std::int64_t k) const {
    // KEPT: row 0 is left out of the sum but counted in the divisor, which makes short columns seem darker: test
    // crop_brightness_without_first_row.
    return level_[k] / height_ > 128 || change_[k] / height_ > 5;
  }

 private:
  std::uint64_t level_[zel::kern::kColumnBlock];
  std::uint64_t change_[zel::kern::kColumnBlock];
  std::uint64_t height_;
};

constexpr auto kBlock = std::int64_t{zel::kern::kColumnBlock};

// The first, or last, document column from begin to end - 1, none if there is none.
std::int64_t first_document_column(ConstView half, std::int64_t begin, std::int64_t end, std::int64_t none) {
  for (; begin < end; begin += kBlock) {
    const std::int64_t count = std::min(kBlock, end - begin);
    const ColumnBlock block(half, begin, count);
    for (std::int64_t k = 0; k < count; ++k) {
      if (block.is_document(k)) return begin + k;
    }
  }
  return none;
}

std::int64_t last_document_column(ConstView half, std::int64_t begin, std::int64_t end, std::int64_t none) {
  for (; begin < end; end -= kBlock) {
    const std::int64_t count = std::min(kBlock, end - begin);
    const ColumnBlock block(half, end - count, count);
    for (std::int64_t k = count; k-- > 0;) {
      if (block.is_document(k)) return end - count + k;
    }
  }
  return none;
}

int find_crop_columns(ConstView half, Columns& columns, bool scan_left, bool scan_right) {
  if (columns.left >= columns.right) return 1;
  const bool has_sums = half.height() > 1;  // without them nothing is document
  const auto width = has_sums ? static_cast<std::int64_t>(half.width()) : 0;
  if (scan_left) {
    columns.left = first_document_column(half, std::max<std::int64_t>(columns.left, 0), std::min(columns.right, width),
                                         columns.right);
  }
  if (!scan_right || columns.right <= columns.left) return 0;
  columns.right = last_document_column(half, std::max<std::int64_t>(columns.left + 1, 0),
                                       std::min(columns.right, width - 1) + 1, columns.left);
  return 0;
}

// The counting columns of the band of three rows from top on; without any, column 0 and the last one allowed.
Columns scan_band(ConstView half, std::size_t step, std::uint64_t top, const Columns& columns, int threshold) {
  const std::size_t block_bytes = (step == 1 ? 0 : 1) + 2 * step + 1;
  Columns found = {0, columns.right};
  if (half.height() < 3 || top > half.height() - 3 || half.width() < block_bytes) return found;
  const auto inside = static_cast<std::int64_t>((half.width() - block_bytes) / step + 1);
  const std::int64_t begin = std::max<std::int64_t>(columns.left, 0), end = std::min(columns.right - 2, inside);
  if (begin >= end) return found;
  const auto edges = zel::kern::edge_profile(half.part(static_cast<std::size_t>(top), 0, 3, half.width()), step,
                                             static_cast<std::size_t>(begin), static_cast<std::size_t>(end), threshold);
  if (edges) found = {static_cast<std::int64_t>(edges->first), static_cast<std::int64_t>(edges->last)};
  return found;
}

// half: rows of step bytes a pixel. Narrows columns to what the three bands show and returns the document's skew.
double find_edges(ConstView half, std::int64_t step, Columns& columns, std::int64_t threshold, std::int64_t distance) {
  const Columns all = columns;
  if (all.right <= all.left || static_cast<std::uint64_t>(all.right) - static_cast<std::uint64_t>(all.left) <= 2) {
    columns.left = 0;
    return 0.0;
  }
  if (step != 1 && step != 3) half = {};  // Unsupported: nothing is found
  // Rows outside the image, above it too, become numbers beyond its height.
  const auto margin = static_cast<std::uint64_t>(distance) + static_cast<std::uint64_t>(distance / 2);
  const std::uint64_t height = half.height();
  const auto level = static_cast<int>(std::clamp<std::int64_t>(threshold, -1, std::numeric_limits<int>::max()));
  const auto scan = [&](std::uint64_t top) { return scan_band(half, static_cast<std::size_t>(step), top, all, level); };
  const Columns middle = scan(height / 2), lower = scan(height - margin - 2), upper = scan(margin);
  columns = {std::min({middle.left, lower.left, upper.left}), std::max({middle.right, lower.right, upper.right})};
  // KEPT: rows that lie closer together than the bands do are a huge number here, not a negative one, so that the
  // angle is next to nothing: test crop_unsigned_band_distance.
  const std::uint64_t rows = height - 2 * margin;
  if (rows == 0) return 0.0;
  return zel::maths::atan(static_cast<double>(lower.right - upper.right) / static_cast<double>(rows));
}

Columns fixed_margins(std::int64_t half, int side, const CROP_PARAM& param) {
  const std::int64_t from_left = param.leftMargin, to_right = half - param.rightMargin, length = param.maxLength;
  if (side == 2) return {from_left, std::min(length, to_right)};
  // KEPT: the length is measured back from the end of the half, not from the margin there, so up to rightMargin columns
  // fewer are kept than on the left half: test crop_right_half_length.
  return {length < half - from_left ? half + 1 - length : from_left, to_right};
}

// Bounds that lie outside a half of at least one column end at its first or last one.
void clamp_to(std::int64_t half, Columns& columns) {
  columns.left = std::clamp<std::int64_t>(columns.left, 0, half - 1);
  columns.right = std::clamp<std::int64_t>(columns.right, 0, half - 1);
}

// Copies count columns of every row, from column first of the half on, and gives the image that width.
zel::KeptColumns keep(TiffImage& image, unsigned char* dst, int side, unsigned int samples, std::int64_t first,
                      std::int64_t count) {
  const std::size_t row_bytes = std::size_t{image.width} * samples;
  const zel::KeptColumns kept = {static_cast<std::size_t>(first) + (side == 1 ? image.width / 2 : 0),
                                 static_cast<std::size_t>(std::max<std::int64_t>(count, 0))};
  const std::size_t kept_bytes = kept.count * samples;
  // KEPT: the right half begins at half the bytes of a row. In colour and with an odd width that is one byte into a
  // pixel: test crop_colour_odd_width.
  const unsigned char* src = image.image + (side == 1 ? row_bytes / 2 : 0) + static_cast<std::size_t>(first) * samples;
  for (unsigned int r = 0; r < image.height && kept_bytes != 0; ++r, src += row_bytes, dst += kept_bytes) {
    std::memcpy(dst, src, kept_bytes);
  }
  image.width = static_cast<unsigned int>(kept.count);
  image.imageSize = image.height * samples * image.width;
  if (image.header != nullptr) image.header->setWidth(image.width);
  return kept;
}

constexpr int kAutomatic = 1;  // cropMode; all other values are fixed margins

}  // namespace

zel::KeptColumns zel::split_and_crop_grey(TiffImage& image, unsigned char* dst, int side, const CROP_PARAM& param) {
  constexpr std::int64_t kMargin = 38;
  if (side != 1 && side != 2) return {};
  const std::int64_t half = image.width / 2;
  if (half == 0) return keep(image, dst, side, 1, 0, 0);
  Columns columns = {kMargin, half - kMargin};
  if (param.cropMode != kAutomatic) columns = fixed_margins(half, side, param);
  const bool from_first = columns.left == 0;
  clamp_to(half, columns);
  if (param.cropMode == kAutomatic) {
    const ConstView pixels = view_of(image, 1).part(0, side == 1 ? image.width / 2 : 0, image.height, image.width / 2);
    find_crop_columns(pixels, columns, side == 2, side == 1);
  }
  // KEPT: a left half that is kept from its first column on loses its last one: test crop_left_half_from_first_column.
  const bool one_less = side == 2 && from_first;
  return keep(image, dst, side, 1, columns.left, columns.right - columns.left + (one_less ? 0 : 1));
}

zel::KeptColumns zel::split_and_crop_colour(TiffImage& image, unsigned char* dst, int side, const CROP_PARAM& param,
                                            double* angle) {
  if (side != 1 && side != 2) return {};
  const std::int64_t half = image.width / 2;
  const bool automatic = param.cropMode == kAutomatic;
  Columns columns = {param.leftMargin, half - param.rightMargin};
  if (!automatic) columns = fixed_margins(half, side, param);
  if (half != 0) clamp_to(half, columns);
  if (automatic) {
    const std::size_t row_bytes = std::size_t{image.width} * 3, begin = side == 1 ? row_bytes / 2 : 0;
    const ConstView pixels = view_of(image, 3).part(0, begin, image.height, row_bytes - begin);
    const double skew = find_edges(pixels, 3, columns, param.edgeThreshold, param.edgeRowDistance);
    if (angle != nullptr) *angle = skew;
  }
  if (half == 0) return keep(image, dst, side, 3, 0, 0);
  return keep(image, dst, side, 3, columns.left, columns.right - columns.left + 1);
}

int TiffImage::FindCropPoints(unsigned char* img, long* left, long* right, long, int scanLeft, int scanRight) {
  Columns columns = {*left, *right};
  const int status = find_crop_columns(rows_from(*this, img, 1), columns, scanLeft != 0, scanRight != 0);
  *left = static_cast<long>(columns.left);
  *right = static_cast<long>(columns.right);
  return status;
}

double TiffImage::FindEdgeWithSkewAngle(unsigned char* img, long* left, long* right, long threshold, long distance,
                                        long step) {
  Columns columns = {*left, *right};
  const ConstView rows = rows_from(*this, img, step == 3 ? 3 : 1);
  const double angle = find_edges(rows, step, columns, threshold, distance);
  *left = static_cast<long>(columns.left);
  *right = static_cast<long>(columns.right);
  return angle;
}

void TiffImage::splitNcrop(unsigned char* dst, int side, CROP_PARAM* param, double*) {
  zel::split_and_crop_grey(*this, dst, side, *param);
}

void TiffImage::splitNcropColor(unsigned char* dst, int side, CROP_PARAM* param, double* angle) {
  zel::split_and_crop_colour(*this, dst, side, *param, angle);
}
