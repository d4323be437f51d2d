// Bitmap writing without a copy of the image object.
#pragma once

#include <ZelIMP/TiffImage.h>

#include <cstdint>

namespace zel {

// Bytes of the bitmap file image of an 8-bit image.
std::uint64_t bitmap_bytes(const TiffImage& image);

// Writes it: ProcessTIFF_to_BMP of <ZelIMP/ManageTIFF.h>.
void write_bitmap(const TiffImage& image, unsigned char* output);

}  // namespace zel
