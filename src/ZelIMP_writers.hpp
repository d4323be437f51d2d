// Writers on top of libtiff and libjpeg. The functions in memory share no state and may run in any number of threads.
#pragma once

#include <ZelIMP/TiffImage.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace zel {

// What ProcessTIFF_JPG and ProcessJFIF_JPG of <ZelIMP/ZelIMP_writers.h> write, made without any file. nullopt: the
// library below could not encode it, for example more than 65500 pixels a side. Throw std::bad_alloc.
std::optional<std::vector<std::byte>> jpeg_tiff_in_memory(const TiffImage& image, unsigned int quality);
std::optional<std::vector<std::byte>> jfif_in_memory(const TiffImage& image, unsigned int quality);

// An uncompressed single-strip TIFF as ZelIMPSaveMICR and ZelIMPProcessRaw_TIFF write it. Null texts leave their tag
// out, and so does a resolution that is negative or not a number.
struct PlainTiff {
  const unsigned char* pixels;
  std::size_t bytes;
  std::uint32_t width, height;
  unsigned int samples;  // 1 black is zero, 3 RGB
  double x_resolution, y_resolution;
  const char *make, *model, *description, *software;
};
std::optional<std::vector<std::byte>> plain_tiff_in_memory(const PlainTiff& fields);

// The same through the temporary file, as the flat interface does it: resets libtiff's tag extender. Returns false when
// the file could not be used or written; then output may hold a part of it.
bool plain_tiff_by_file(const PlainTiff& fields, unsigned char* output);

}  // namespace zel
