#include <ZelIMP/ManageTIFF.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "ManageTIFF.hpp"
#include "base/bytes.hpp"

TiffImage TI;

namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;
constexpr std::uint32_t kInfoHeaderBytes = 40;
constexpr std::uint32_t kGreyLevels = 256;
constexpr std::uint32_t kPixelsOffset = kFileHeaderBytes + kInfoHeaderBytes + 4 * kGreyLevels;

std::uint32_t row_bytes(const TiffImage& image) { return (image.width + 3) & ~3u; }

// BITMAPFILEHEADER and BITMAPINFOHEADER of an 8-bit bitmap; pixel_bytes: all rows with their padding.
void write_headers(const TiffImage& image, std::uint32_t pixel_bytes, unsigned char* output) {
  std::memset(output, 0, kFileHeaderBytes + kInfoHeaderBytes);
  output[0] = 'B';
  output[1] = 'M';
  zel::store_u32(output + 2, kPixelsOffset + pixel_bytes);
  zel::store_u32(output + 10, kPixelsOffset);
  zel::store_u32(output + 14, kInfoHeaderBytes);
  zel::store_u32(output + 18, image.width);
  zel::store_u32(output + 22, image.height);  // positive: bottom-up
  zel::store_u16(output + 26, 1);             // planes
  zel::store_u16(output + 28, 8);             // bits a pixel
  zel::store_u32(output + 34, pixel_bytes);
  zel::store_u32(output + 46, kGreyLevels);  // colours used
  zel::store_u32(output + 50, kGreyLevels);  // colours important
}

}  // namespace

std::uint64_t zel::bitmap_bytes(const TiffImage& image) {
  return kPixelsOffset + std::uint64_t{row_bytes(image)} * image.height;
}

void zel::write_bitmap(const TiffImage& image, unsigned char* output) {
  const std::uint32_t stride = row_bytes(image);
  write_headers(image, stride * image.height, output);
  unsigned char* to = output + kFileHeaderBytes + kInfoHeaderBytes;
  // KEPT: the reserved byte of a palette entry is the level too, not 0: test bitmap_palette_and_padding.
  for (std::uint32_t level = 0; level < kGreyLevels; ++level, to += 4) std::memset(to, static_cast<int>(level), 4);
  for (std::uint32_t r = image.height; r-- > 0; to += stride) {
    // KEPT: padding is whatever follows the row in the image, the beginning of the next row, and 0 past the image's
    // end: test bitmap_palette_and_padding.
    const std::uint64_t offset = std::uint64_t{r} * image.width;
    const auto there = static_cast<std::uint32_t>(
        std::min<std::uint64_t>(stride, image.imageSize > offset ? image.imageSize - offset : 0));
    if (there != 0) std::memcpy(to, image.image + offset, there);
    std::memset(to + there, 0, stride - there);
  }
}

unsigned int ProcessTIFF_to_BMP(TiffImage image, unsigned char* output, unsigned int* outputSize,
                                unsigned int /*level*/) {
  // This copy goes when the call ends and must not take the caller's bitmap with it.
  image.dib = nullptr;
  zel::write_bitmap(image, output);
  *outputSize = static_cast<unsigned int>(zel::bitmap_bytes(image));
  return 0;
}
