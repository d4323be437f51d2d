// Module ZelIMP: entry points between raw TIFFs and fresh ones.

#include <ZelIMP/ZelIMP_pipeline.h>
#include <ZelIMP/ZelIMP_raw.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <optional>

#include "TiffImage.hpp"
#include "ZelIMP_pipeline.hpp"
#include "ZelIMP_writers.hpp"

namespace {

constexpr char kMaker[] = "Varnoke Industries, Inc";

// Whether the kind of image is one whose pixels are looked at, and they are not all there.
bool lacks_pixels(const TiffImage& image) {
  const std::optional<zel::Kind> kind = zel::supported_kind(image);
  return kind && !zel::has_whole_strip(image, *kind, image.imageSize);
}

unsigned int samples_of(unsigned int bit_depth) { return bit_depth < 16 ? 1 : 3; }

unsigned int status_of(bool written) { return written ? ZELIMP_OK : ZELIMP_TEMPORARY_FILE; }

}  // namespace

unsigned int ZelIMPDescramCalTiff(unsigned char* tiff, unsigned char* output, unsigned int* outputSize,
                                  unsigned int dropLines, unsigned int spare2, unsigned int spare3, unsigned int spare4,
                                  unsigned int spare5, unsigned short* whiteTable, unsigned short* whitePlane1,
                                  unsigned short* whitePlane2, unsigned short* whitePlane3, unsigned int /*unused*/,
                                  unsigned short* blackTable, int halveLines) try {
  zel::LocalImage image;
  if (image.load(tiff) != 0 || lacks_pixels(image)) return ZELIMP_NOT_LOADED;
  const std::optional<zel::Kind> kind = zel::supported_kind(image);
  if (!kind) {
    std::puts("ZELIMP_UNSUPPORTED");
    return ZELIMP_UNSUPPORTED;
  }
  const bool grey = kind == zel::Kind::grey;
  const std::uint64_t dropped = std::uint64_t{dropLines} * (grey && halveLines != 0 ? 2 : 1);
  if (dropped > image.height) return ZELIMP_UNSUPPORTED;

  const auto destination = std::make_unique<unsigned char[]>(image.imageSize);
  if (grey) {
    image.DescrambleCalMono(destination.get(), dropLines, spare2, spare3, spare4, spare5, whiteTable, blackTable,
                            halveLines);
  } else {
    image.DescrambleCalColor(destination.get(), dropLines, spare2, spare3, spare4, spare5, whitePlane1, whitePlane2,
                             whitePlane3, blackTable);
  }
  image.SetImage(destination.get());
  image.save(output);
  *outputSize = image.GetTiffSize();
  return ZELIMP_OK;
} catch (const std::bad_alloc&) {
  return ZELIMP_NOT_LOADED;
}

unsigned int ZelIMPSaveMICR(unsigned char* tiff, unsigned int /*reservedA*/, unsigned char* output,
                            unsigned int /*reservedB*/, char* description) try {
  zel::LocalImage image;
  if (image.load(tiff) != 0 || lacks_pixels(image)) return ZELIMP_NOT_LOADED;
  return status_of(zel::plain_tiff_by_file(
      {image.image, image.imageSize, image.width, image.height, samples_of(image.bitDepth), image.xResolution,
       image.yResolution, image.makeString, image.modelString, description, image.softwareString},
      output));
} catch (const std::bad_alloc&) {
  return ZELIMP_TEMPORARY_FILE;
}

unsigned int ZelIMPProcessRaw_TIFF(unsigned char* pixels, int width, int height, unsigned int bitDepth,
                                   double resolution, char* model, char* description, char* software,
                                   unsigned char* output) {
  constexpr auto kMostBytes = static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max());
  if (width <= 0 || height <= 0) return ZELIMP_TEMPORARY_FILE;
  const unsigned int samples = samples_of(bitDepth);
  const auto columns = static_cast<std::uint32_t>(width), rows = static_cast<std::uint32_t>(height);
  const std::uint64_t area = std::uint64_t{columns} * rows;  // at most 2^62
  if (area > kMostBytes / samples) return ZELIMP_TEMPORARY_FILE;
  const auto bytes = static_cast<std::size_t>(area * samples);
  return status_of(zel::plain_tiff_by_file(
      {pixels, bytes, columns, rows, samples, resolution, resolution, kMaker, model, description, software}, output));
}
