// Bitmap writing without a copy of the image object, and packed bitmaps.
#pragma once

#include <ZelIMP/TiffImage.h>

#include <cstddef>
#include <cstdint>

namespace zel {

// Bytes of the packed bitmap of an image that ZelIMPLoadTIFF of <ZelIMP/ZelIMP_raw.h> makes: header, palette, rows.
std::uint64_t packed_dib_bytes(const TiffImage& image);

// Writes it. What the image does not have of its rows and their padding is 0: image.image points to
// image_bytes_available bytes.
void write_packed_dib(const TiffImage& image, std::size_t image_bytes_available, unsigned char* dib);

// Bytes of the bitmap file image of an 8-bit image.
std::uint64_t bitmap_bytes(const TiffImage& image);

// Writes it: ProcessTIFF_to_BMP of <ZelIMP/ManageTIFF.h>.
void write_bitmap(const TiffImage& image, unsigned char* output);

}  // namespace zel
