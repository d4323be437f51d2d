#include <ZelIMP/ManageTIFF.h>

#include <ZelIMP/ZelIMP_raw.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <optional>

#include "ManageTIFF.hpp"
#include "TiffImage.hpp"
#include "base/bytes.hpp"
#include "files.hpp"
#include "tiff_structure.hpp"

TiffImage TI;

namespace {

constexpr std::uint32_t kFileHeaderBytes = 14;
constexpr std::uint32_t kInfoHeaderBytes = 40;
constexpr std::uint32_t kGreyLevels = 256;
constexpr std::uint32_t kPaletteBytes = 4 * kGreyLevels;

std::uint64_t row_bytes(const TiffImage& image) { return (std::uint64_t{image.width} + 3) / 4 * 4; }

// BITMAPFILEHEADER in front of a packed bitmap of dib_bytes whose pixels begin at pixels_offset of the file.
void write_file_header(std::uint64_t dib_bytes, std::uint32_t pixels_offset, unsigned char* to) {
  std::memset(to, 0, kFileHeaderBytes);
  to[0] = 'B';
  to[1] = 'M';
  zel::store_u32(to + 2, static_cast<std::uint32_t>(kFileHeaderBytes + dib_bytes));
  zel::store_u32(to + 10, pixels_offset);
}

// BITMAPINFOHEADER; pixel_bytes: all rows with their padding.
void write_info_header(const TiffImage& image, std::uint16_t bits, std::uint64_t pixel_bytes, std::uint32_t colours,
                       unsigned char* to) {
  std::memset(to, 0, kInfoHeaderBytes);
  zel::store_u32(to, kInfoHeaderBytes);
  zel::store_u32(to + 4, image.width);
  zel::store_u32(to + 8, image.height);  // positive: bottom-up
  zel::store_u16(to + 12, 1);            // planes
  zel::store_u16(to + 14, bits);
  zel::store_u32(to + 20, static_cast<std::uint32_t>(pixel_bytes));
  zel::store_u32(to + 32, colours);  // used
  zel::store_u32(to + 36, colours);  // important
}

// How many of the n bytes at offset an image of image_bytes has.
std::size_t bytes_there(std::uint64_t image_bytes, std::uint64_t offset, std::uint64_t n) {
  return static_cast<std::size_t>(offset < image_bytes ? std::min(n, image_bytes - offset) : 0);
}

}  // namespace

std::uint64_t zel::packed_dib_bytes(const TiffImage& image) {
  return kInfoHeaderBytes + kPaletteBytes + row_bytes(image) * image.height;
}

void zel::write_packed_dib(const TiffImage& image, std::size_t image_bytes_available, unsigned char* dib) {
  const auto stride = static_cast<std::size_t>(row_bytes(image));
  write_info_header(image, 8, std::uint64_t{stride} * image.height, kGreyLevels, dib);
  unsigned char* to = dib + kInfoHeaderBytes;
  // KEPT: the reserved byte of a palette entry is the level too, not 0: test bitmap_palette_and_padding.
  for (std::uint32_t level = 0; level < kGreyLevels; ++level, to += 4) std::memset(to, static_cast<int>(level), 4);
  for (std::uint32_t r = image.height; r-- > 0; to += stride) {
    // KEPT: padding is whatever follows the row in the image, the beginning of the next row, and 0 past the image's
    // end: test bitmap_palette_and_padding.
    const std::uint64_t offset = std::uint64_t{r} * image.width;
    const std::size_t there = bytes_there(image_bytes_available, offset, stride);
    if (there != 0) std::memcpy(to, image.image + offset, there);
    std::memset(to + there, 0, stride - there);
  }
}

std::uint64_t zel::bitmap_bytes(const TiffImage& image) { return kFileHeaderBytes + packed_dib_bytes(image); }

void zel::write_bitmap(const TiffImage& image, unsigned char* output) {
  write_file_header(packed_dib_bytes(image), kFileHeaderBytes + kInfoHeaderBytes + kPaletteBytes, output);
  write_packed_dib(image, image.imageSize, output + kFileHeaderBytes);
}

unsigned int ProcessTIFF_to_BMP(TiffImage image, unsigned char* output, unsigned int* outputSize,
                                unsigned int /*level*/) {
  // This copy goes when the call ends and must not take the caller's bitmap with it.
  image.dib = nullptr;
  zel::write_bitmap(image, output);
  *outputSize = static_cast<unsigned int>(zel::bitmap_bytes(image));
  return 0;
}

unsigned int ProcessTIFF_to_BMP_Color(TiffImage image, unsigned char* output, unsigned int* outputSize,
                                      unsigned int /*level*/) {
  image.dib = nullptr;
  const std::uint64_t pixel_bytes = std::uint64_t{4} * image.width * image.height;
  const std::uint64_t dib_bytes = kInfoHeaderBytes + pixel_bytes;
  write_file_header(dib_bytes, kFileHeaderBytes + kInfoHeaderBytes, output);
  write_info_header(image, 32, pixel_bytes, 0, output + kFileHeaderBytes);
  unsigned char* to = output + kFileHeaderBytes + kInfoHeaderBytes;
  const std::size_t stride = std::size_t{4} * image.width;
  for (std::uint32_t r = image.height; r-- > 0; to += stride) {
    // Pixels that are not all there are black.
    const std::uint64_t row_bytes = std::uint64_t{3} * image.width, offset = r * row_bytes;
    const std::size_t there = bytes_there(image.imageSize, offset, row_bytes) / 3;
    std::memset(to, 0, stride);
    if (there == 0) continue;
    const unsigned char* const from = image.image + offset;
    for (std::size_t x = 0; x < there; ++x) std::reverse_copy(from + 3 * x, from + 3 * x + 3, to + 4 * x);
  }
  *outputSize = static_cast<unsigned int>(kFileHeaderBytes + dib_bytes);
  return 0;
}

namespace {

struct Free {
  void operator()(unsigned char* bytes) const { std::free(bytes); }
};
using Buffer = std::unique_ptr<unsigned char, Free>;

Buffer allocate(std::uint64_t bytes) {
  if (bytes > std::numeric_limits<std::size_t>::max()) return nullptr;
  return Buffer(static_cast<unsigned char*>(std::malloc(static_cast<std::size_t>(bytes))));
}

struct FileInMemory {
  Buffer bytes;  // null: could not be read
  std::size_t size = 0;
};

FileInMemory read_whole_file(const char* path) {
  const zel::Descriptor file = zel::open_for_reading(path);
  const std::optional<std::uint64_t> size = zel::regular_file_bytes(file);
  Buffer bytes = size ? allocate(*size) : nullptr;
  if (bytes == nullptr || !zel::read_from_start(file, bytes.get(), *size)) return {};
  return {std::move(bytes), static_cast<std::size_t>(*size)};
}

// What loading the file will meet.
enum class Prospect {
  unsafe,   // a place outside the file, or no memory to find out
  no_rows,  // no TIFF at all, or none with pixels
  rows,
};

Prospect examine(const FileInMemory& file) try {
  const auto bytes = std::as_bytes(std::span(file.bytes.get(), file.size));
  const zel::TiffFault fault = zel::check_tiff(bytes, std::numeric_limits<std::uint32_t>::max()).fault;
  // Loading stops at these before it follows any offset.
  if (fault == zel::TiffFault::byte_order || fault == zel::TiffFault::version) return Prospect::no_rows;
  if (fault != zel::TiffFault::none) return Prospect::unsafe;
  zel::LocalImage image;
  image.loadTagsAndHeader(file.bytes.get());
  if (zel::has_one_strip(image)) {
    const std::uint64_t end = std::uint64_t{image.stripOffsets[0]} + image.stripByteCounts[0];
    if (end > file.size) return Prospect::unsafe;
  }
  return image.width != 0 && image.height != 0 ? Prospect::rows : Prospect::no_rows;
} catch (const std::bad_alloc&) {
  return Prospect::unsafe;
}

}  // namespace

unsigned char* ZelIMPLoadTIFF(const char* path, unsigned int* size) {
  const FileInMemory file = read_whole_file(path);
  const Prospect prospect = file.bytes != nullptr ? examine(file) : Prospect::unsafe;
  if (prospect == Prospect::unsafe) return nullptr;
  const bool loaded = TI.load(file.bytes.get()) == 0;
  TI.ClearDIB();
  if (!loaded && prospect == Prospect::rows) return nullptr;

  const std::uint64_t bytes = zel::packed_dib_bytes(TI);
  if (bytes > std::numeric_limits<unsigned int>::max()) return nullptr;
  TI.dib = allocate(bytes).release();
  if (TI.dib == nullptr) return nullptr;
  const std::size_t available = loaded ? static_cast<std::size_t>(file.bytes.get() + file.size - TI.image) : 0;
  zel::write_packed_dib(TI, available, TI.dib);
  *size = static_cast<unsigned int>(bytes);
  return TI.dib;
}
