// Module HRFF: mirroring, combining and dumping of whole images.

#include <ZelIMP/HRFF.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "FontAPI.hpp"
#include "HRFF.hpp"
#include "base/allocated.hpp"
#include "base/bytes.hpp"
#include "kernels/half_turn.hpp"

namespace zel {
namespace {

std::span<std::uint8_t> padded_row(const MutableView& rows, std::size_t r) { return {rows.row_ptr(r), rows.stride()}; }

// KEPT: a row comes to lie one byte further right than its mirror image, so that its first pixel becomes the first byte
// of the next row, that of the last row is lost, and the first byte is 0, test mirror_one_byte_off.
void mirror_rows(const MutableView& rows) {
  std::uint8_t carried = 0;
  for (std::size_t r = 0; r < rows.height(); ++r) {
    const std::span<std::uint8_t> row = padded_row(rows, r), turned = row.subspan(1);
    const std::size_t half = turned.size() / 2;
    row[0] = std::exchange(carried, row[0]);
    kern::exchange_turned(turned.first(half), turned.last(half), 1);
    std::fill_n(turned.begin(), row.size() - rows.width(), std::uint8_t{0});  // the padding, which lies in front now
  }
}

void turn_upside_down(const MutableView& rows) {
  for (std::size_t r = 0; r < rows.height() / 2; ++r) {
    std::ranges::swap_ranges(padded_row(rows, r), padded_row(rows, rows.height() - 1 - r));
  }
}

// The images that are averaged: uncompressed, or none.
std::optional<GreyDib> plain_dib(char* dib) {
  auto image = grey_dib(dib);
  if (image && image->facts.compression != 0) image.reset();
  return image;
}

constexpr int kNone = -1;

// A byte of the pixels by its distance from the first; kNone where there is none.
int byte_at(const std::optional<GreyDib>& image, std::size_t offset) {
  if (!image || offset >= image->pixels.stride() * image->pixels.height()) return kNone;
  return image->pixels.row_ptr(0)[offset];
}

int pixel_at(const std::optional<GreyDib>& image, std::size_t r, std::size_t x) {
  if (!image || x >= image->pixels.width() || r >= image->pixels.height()) return kNone;
  return image->pixels.row_ptr(r)[x];
}

int or_white(int pixel) { return pixel == kNone ? 255 : pixel; }

// The size that covers two images.
struct Size {
  std::int32_t width, height;
};
Size larger(const GreyDib& a, const std::optional<GreyDib>& b) {
  const auto side = [&](auto get) { return static_cast<std::int32_t>(std::max(get(a), b ? get(*b) : 0)); };
  return {side([](const GreyDib& image) { return image.pixels.width(); }),
          side([](const GreyDib& image) { return image.pixels.height(); })};
}

// The sample's header with another size; all other fields, the stored image size among them, are the sample's.
void enter_header(unsigned char* dib, const GreyDib& sample, const Size& size) {
  std::memcpy(dib, sample.dib, sample.facts.header_bytes);
  if (sample.facts.header_bytes == kInfoHeader) {
    store_u32(dib + 4, static_cast<std::uint32_t>(size.width));
    store_u32(dib + 8, static_cast<std::uint32_t>(size.height));
  } else {
    store_u16(dib + 4, static_cast<std::uint16_t>(size.width));
    store_u16(dib + 6, static_cast<std::uint16_t>(size.height));
  }
}

// A new image of this size, colour table included all white.
Allocated new_white(const GreyDib& sample, const Size& size) {
  Allocated dib(new_grey_dib(sample, size.width, size.height));
  if (dib == nullptr) return dib;
  const std::size_t pixels = dib_stride(size.width) * static_cast<std::size_t>(size.height);
  std::memset(dib.get() + sample.facts.header_bytes, 255, sample.facts.palette_bytes + pixels);
  enter_header(dib.get(), sample, size);
  return dib;
}

// Calls put(offset, r, x) for every pixel of an image of this size; offset: its distance from the first.
void for_pixels(const Size& size, auto put) {
  const std::size_t width = static_cast<std::size_t>(size.width), stride = dib_stride(size.width);
  for (std::size_t r = 0; r < static_cast<std::size_t>(size.height); ++r) {
    for (std::size_t x = 0; x < width; ++x) put(r * stride + x, r, x);
  }
}

void enter_grey_ramp(const GreyDib& image) {
  const std::size_t entry = image.facts.entry_bytes;
  for (std::size_t i = 0; i < std::min<std::size_t>(image.palette_entries(), 256); ++i) {
    std::memset(image.palette() + i * entry, static_cast<int>(i), 3);
    if (entry == 4) image.palette()[i * entry + 3] = 0;
  }
}

void replace(char** image, Allocated by) {
  std::free(*image);
  *image = reinterpret_cast<char*>(by.release());
}

}  // namespace

void mirrored_row(const GreyDib& image, std::size_t r, std::size_t x, std::span<std::uint8_t> out) {
  const MutableView& rows = image.pixels;
  const std::size_t padding = rows.stride() - rows.width(), spilled = x == 0 ? 1 : 0;
  if (out.size() > spilled) {
    const std::uint8_t* const end = rows.row_ptr(r) + rows.stride() - x + 1 - spilled;
    const std::size_t count = out.size() - spilled;
    kern::half_turn({end - count, count}, out.last(count));
  }
  for (std::size_t column = std::max<std::size_t>(x, 1); column <= padding && column < x + out.size(); ++column) {
    out[column - x] = 0;
  }
  if (spilled != 0 && !out.empty()) out[0] = r == 0 ? 0 : rows.row_ptr(r - 1)[0];
}

}  // namespace zel

using namespace zel;

int ImageBox_Mirror(char* dib) {
  const auto image = grey_dib(dib);
  if (!image) return 0;
  // KEPT: an image whose rows lie top to bottom is turned upside down, its rows keep their direction, test
  // mirror_top_down_turns_over.
  image->top_down ? turn_upside_down(image->pixels) : mirror_rows(image->pixels);
  return 1;
}

unsigned char* Convolute_images(char* a, char* b) {
  const auto first = grey_dib(a), second = grey_dib(b);
  if (!first || !second) return nullptr;
  const auto smaller = [](std::size_t x, std::size_t y) { return static_cast<std::int32_t>(std::min(x, y)); };
  const std::int32_t width = smaller(first->pixels.width(), second->pixels.width());
  const std::int32_t height = smaller(first->pixels.height(), second->pixels.height());
  unsigned char* const dib = new_grey_dib(*first, width, height);
  const auto result = grey_dib(dib);
  for (std::size_t r = 0; result && r < result->pixels.height(); ++r) {
    const auto mean = [](std::uint8_t p, std::uint8_t q) { return static_cast<std::uint8_t>(std::sqrt(p * q) + 0.5); };
    const std::span<std::uint8_t> out = result->pixels.row(r);
    std::ranges::transform(first->pixels.row(r).first(out.size()), second->pixels.row(r), out.begin(), mean);
  }
  return dib;
}

int ImageBox_Mix_Images(char* sample, int n, char** mean, char** fraction) {
  const auto added = plain_dib(sample), old_mean = plain_dib(*mean), old_fraction = plain_dib(*fraction);
  if (!added || n < 0) return 0;
  const Size size = larger(*added, old_mean);
  Allocated new_mean = new_white(*added, size), new_fraction = new_white(*added, size);
  const auto high = grey_dib(new_mean.get()), low = grey_dib(new_fraction.get());
  if (!high || !low) return 0;

  const auto weight = static_cast<std::uint32_t>(n);
  for_pixels(size, [&](std::size_t offset, std::size_t r, std::size_t x) {
    const int pixel = pixel_at(added, r, x);
    // KEPT: beyond the sample the old mean is read as if its rows lay as far apart as those of the new one, test
    // mix_images_of_unequal_size.
    const bool inside = pixel != kNone;
    const int whole = inside ? pixel_at(old_mean, r, x) : byte_at(old_mean, offset);
    const int part = inside ? pixel_at(old_fraction, r, x) : byte_at(old_fraction, offset);
    const int level = whole == kNone ? 255 * 256 : whole * 256 + or_white(part);
    const std::uint32_t sum =
        static_cast<std::uint32_t>(level) * weight + static_cast<std::uint32_t>(or_white(pixel)) * 256;
    const std::uint32_t mixed = sum / (weight + 1);
    high->pixels.row_ptr(0)[offset] = static_cast<std::uint8_t>(mixed >> 8);
    low->pixels.row_ptr(0)[offset] = static_cast<std::uint8_t>(mixed);
  });
  enter_grey_ramp(*high);
  replace(mean, std::move(new_mean));
  replace(fraction, std::move(new_fraction));
  return 0;
}

int ImageBox_Variance(char* sample, int n, char** mean, char** variance) {
  const auto added = plain_dib(sample), mean_image = plain_dib(*mean), old_variance = plain_dib(*variance);
  if (!added || n < 0) return 0;
  const Size size = larger(*added, mean_image);
  // Twice the room that the pixels take, as the images of a font's slots may have.
  Allocated dib(new_grey_dib(*added, size.width, 2 * size.height));
  if (dib == nullptr) return 0;
  enter_header(dib.get(), *added, size);
  std::uint8_t* const pixels = dib.get() + added->facts.pixels_at();

  const auto weight = static_cast<std::uint32_t>(n);
  for_pixels(size, [&](std::size_t offset, std::size_t r, std::size_t x) {
    const int pixel = pixel_at(added, r, x), level = pixel_at(mean_image, r, x);
    const auto deviation = static_cast<std::uint32_t>(std::abs(or_white(level) - or_white(pixel)));
    const auto old = static_cast<std::uint32_t>(or_white(pixel_at(old_variance, r, x)));
    // KEPT: where only the sample has a pixel, its level is taken from n times 255 and the quotient may wrap, test
    // variance_of_unequal_size.
    const std::uint32_t sum = pixel != kNone && level == kNone ? weight * 255 - static_cast<std::uint32_t>(pixel)
                                                               : deviation + old * weight + weight / 2;
    pixels[offset] = static_cast<std::uint8_t>(sum / (weight + 1));
  });
  enter_false_colours({dib.get() + added->facts.header_bytes, added->facts.palette_bytes}, added->facts.entry_bytes);
  replace(variance, std::move(dib));
  return 0;
}

int SplitBitmap(char* dib) {
  if (dib == nullptr) return 0;
  const auto* const source = reinterpret_cast<const unsigned char*>(dib);
  const DibFacts facts = dib_facts(source);
  if (facts.bits != 24) return 0;
  const auto rows = static_cast<std::uint64_t>(std::abs(std::int64_t{facts.height}));
  const std::uint64_t packed = rows * static_cast<std::uint64_t>(std::max(facts.width, 0)) * 3;
  const std::uint64_t room = facts.pixels_at() + rows * dib_stride(facts.width, facts.bits);
  if (room > std::numeric_limits<std::int32_t>::max()) return 0;
  const Allocated copy = allocate(room);
  if (copy == nullptr) return 0;

  // KEPT: rows count as lying back to back. With padding between them the last rows' ends are not copied and colours
  // are told apart out of step, test split_bitmap_files.
  const std::uint64_t bytes = std::min(facts.pixels_at() + packed, dib_bytes(facts));
  std::memcpy(copy.get(), source, static_cast<std::size_t>(bytes));
  if (facts.header_bytes == kInfoHeader) store_u32(copy.get() + 20, static_cast<std::uint32_t>(packed));
  char colour[] = "Color.bmp", bilevel[] = "BW.bmp";
  ImageBox_SaveDataToFile(colour, reinterpret_cast<char*>(copy.get()));
  std::uint8_t* const pixels = copy.get() + facts.pixels_at();
  for (std::size_t i = 0; i < packed; i += 3) {
    const bool light = std::max({pixels[i], pixels[i + 1], pixels[i + 2]}) > 10;
    std::memset(pixels + i, light ? 255 : 0, 3);
  }
  ImageBox_SaveDataToFile(bilevel, reinterpret_cast<char*>(copy.get()));
  return 0;
}

int Get_Size(char* dib, int* width, int* height) {
  *width = DIBWidth(dib);
  *height = DIBHeight(dib);
  return 1;
}

int Get_RowPos(char* dib, int* top, int* bottom) { return ImageBox_Rows(dib, top, bottom); }
