// Module ImagBox: parts of images, and images turned.

#include <ZelIMP/ImagBox.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "ImagBox.hpp"
#include "base/bytes.hpp"
#include "kernels/half_turn.hpp"

namespace zel {
namespace {

constexpr std::size_t kHeightField = 8;  // of a 40-byte header, which every image with rows top to bottom has

// The zone's rows as they lie in the image: the one that becomes row 0, and the step to the next.
struct Rows {
  std::int64_t first;
  int step;
};

std::optional<Rows> rows_of(const Zone& zone, const GreyDib& image) {
  const auto width = static_cast<std::int64_t>(image.pixels.width());
  if (zone.x < 0 || zone.y < 0 || zone.width < 0 || zone.height < 0 || zone.x + zone.width > width) return {};
  const auto height = static_cast<std::int64_t>(image.pixels.height());
  if (!image.top_down) {
    if (zone.y + zone.height > height) return {};
    return Rows{zone.y, 1};
  }
  // KEPT: rows top to bottom are taken one row lower than y says, and only zones of a line's height: test
  // extract_image_top_down.
  constexpr int kLeastHeight = 3, kMostHeight = 128;
  if (zone.height < kLeastHeight || zone.height > kMostHeight || zone.y < zone.height) return {};
  if (zone.y > height || zone.y + zone.height > height + 1) return {};
  return Rows{height - zone.y, -1};
}

void mirror(std::span<std::uint8_t> row) {
  kern::exchange_turned(row.first(row.size() / 2), row.last(row.size() / 2), 1);
}

}  // namespace

bool has_zone(const GreyDib& image, const Zone& zone) { return rows_of(zone, image).has_value(); }

unsigned char* cut_zone(const GreyDib& image, const Zone& zone) {
  const std::optional<Rows> rows = rows_of(zone, image);
  if (!rows) return nullptr;
  unsigned char* const dib =
      new_grey_dib(image, static_cast<std::int32_t>(zone.width), static_cast<std::int32_t>(zone.height));
  if (dib == nullptr) return nullptr;
  // KEPT: a row is padded with what follows it in the source: test extract_image_padding.
  const std::size_t stride = dib_stride(static_cast<std::int32_t>(zone.width));
  const std::size_t size = image.pixels.stride() * image.pixels.height();
  for (std::int64_t i = 0; i < zone.height; ++i) {
    const auto row = static_cast<std::size_t>(rows->first + i * rows->step);
    const std::size_t from = row * image.pixels.stride() + static_cast<std::size_t>(zone.x);
    std::copy_n(image.pixels.row_ptr(0) + from, std::min(stride, size - from),
                dib + image.facts.pixels_at() + static_cast<std::size_t>(i) * stride);
  }
  return dib;
}

}  // namespace zel

using namespace zel;

unsigned char* Extract_image(unsigned char* dib, int x, int y, int w, int h) {
  const auto image = grey_dib(dib);
  if (!image) return nullptr;
  const Zone zone = {x, y, w == 0 ? image->facts.width : w,
                     h == 0 ? static_cast<std::int64_t>(image->pixels.height()) : h};
  // KEPT: of an image with rows top to bottom that gives no zone the height stays positive: test
  // extract_image_top_down.
  if (image->top_down) store_u32(dib + kHeightField, static_cast<std::uint32_t>(image->pixels.height()));
  unsigned char* const part = cut_zone(*image, zone);
  if (image->top_down && part != nullptr) {
    store_u32(dib + kHeightField, static_cast<std::uint32_t>(image->facts.height));
  }
  return part;
}

int ImageBox_Rotate180(char* dib) {
  const auto image = grey_dib(dib);
  if (!image) return 0;
  const MutableView& pixels = image->pixels;
  const std::size_t rows = pixels.height();
  if (image->top_down) {
    // KEPT: rows top to bottom keep their order: test rotate180.
    for (std::size_t r = 0; r < rows; ++r) mirror(pixels.row(r));
  } else {
    for (std::size_t r = 0; r < rows / 2; ++r) kern::exchange_turned(pixels.row(r), pixels.row(rows - 1 - r), 1);
    if (rows % 2 == 1) mirror(pixels.row(rows / 2));
  }
  for (std::size_t r = 0; r < rows; ++r) {
    std::fill(pixels.row_ptr(r) + pixels.width(), pixels.row_ptr(r) + pixels.stride(), std::uint8_t{0});
  }
  return 1;
}
