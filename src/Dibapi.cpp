#include "Dibapi.hpp"

#include <ZelIMP/Dibapi.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "base/allocated.hpp"
#include "base/bytes.hpp"
#include "files.hpp"

char* GetImage = nullptr;

namespace zel {
namespace {

constexpr std::uint16_t kMagic = 19778;  // "BM"
constexpr std::size_t kImageSizeField = 20;

// What a 32-bit number of bytes can tell, and every buffer can be.
constexpr std::uint64_t kMostBytes = std::numeric_limits<std::int32_t>::max();

bool is_run_length(std::uint32_t compression) { return compression == 1 || compression == 2; }

bool has_info_header(const DibFacts& facts) { return facts.header_bytes == kInfoHeader; }

std::uint32_t colours(const unsigned char* dib) {
  const bool info = load_u32(dib) == kInfoHeader;
  const std::uint32_t used = info ? load_u32(dib + 32) : 0;
  if (used != 0) return used;
  switch (load_u16(dib + (info ? 14 : 10))) {
    case 1:
      return 2;
    case 4:
      return 16;
    case 8:
      return 256;
    default:
      return 0;
  }
}

// The pixels of all rows; more than any buffer where that is more than 64 bits hold.
std::uint64_t pixel_bytes(const DibFacts& facts) {
  if (is_run_length(facts.compression)) return facts.image_bytes;
  const std::int64_t height = facts.height;
  std::uint64_t bytes = 0;
  const bool too_many = __builtin_mul_overflow(std::uint64_t{dib_stride(facts.width, facts.bits)},
                                               static_cast<std::uint64_t>(height < 0 ? -height : height), &bytes);
  return too_many ? std::uint64_t{1} << 63 : bytes;
}

}  // namespace

DibFacts dib_facts(const unsigned char* dib) {
  const auto palette_bytes = [dib](std::size_t entry) { return static_cast<std::uint16_t>(colours(dib) * entry); };
  if (load_u32(dib) != kInfoHeader) {
    return {kCoreHeader, load_u16(dib + 4), load_u16(dib + 6), load_u16(dib + 10), 0, 0, palette_bytes(3), 3};
  }
  return {kInfoHeader,
          static_cast<std::int32_t>(load_u32(dib + 4)),
          static_cast<std::int32_t>(load_u32(dib + 8)),
          load_u16(dib + 14),
          load_u32(dib + 16),
          load_u32(dib + kImageSizeField),
          palette_bytes(4),
          4};
}

std::size_t dib_stride(std::int32_t width, std::uint16_t bits) {
  if (width < 1) return 0;
  // At most 2^44, which on i386 is cut to more than a buffer holds.
  const std::uint64_t bytes = (std::uint64_t{bits} * static_cast<std::uint32_t>(width) + 31) / 32 * 4;
  return static_cast<std::size_t>(std::min<std::uint64_t>(bytes, std::numeric_limits<std::size_t>::max()));
}

std::uint64_t dib_bytes(const DibFacts& facts) { return facts.pixels_at() + pixel_bytes(facts); }

std::optional<GreyDib> grey_dib(void* dib) {
  if (dib == nullptr) return std::nullopt;
  auto* const bytes = static_cast<unsigned char*>(dib);
  const DibFacts facts = dib_facts(bytes);
  if (facts.bits != 8 || facts.width < 1 || facts.height == 0) return std::nullopt;
  const std::size_t stride = dib_stride(facts.width);
  const std::int64_t height = facts.height;
  const auto rows = static_cast<std::uint64_t>(height < 0 ? -height : height);
  // Rows coded by run lengths may be shorter than their pixels.
  if (stride * rows > kMostBytes || stride * rows > pixel_bytes(facts)) return std::nullopt;
  return GreyDib{bytes, facts,
                 MutableView(bytes + facts.pixels_at(), static_cast<std::size_t>(facts.width),
                             static_cast<std::size_t>(rows), stride),
                 height < 0};
}

std::optional<GreyDib> bottom_up_dib(void* dib) {
  std::optional<GreyDib> image = grey_dib(dib);
  if (image && image->top_down) image.reset();
  return image;
}

Levels levels_of(const GreyDib& image) {
  Levels levels;
  const std::size_t entries = image.palette_entries();
  for (std::size_t i = 0; i < levels.size(); ++i) {
    levels[i] = i < entries ? image.palette()[i * image.facts.entry_bytes] : static_cast<std::uint8_t>(i);
  }
  return levels;
}

unsigned char* new_grey_dib(const GreyDib& model, std::int32_t width, std::int32_t height) {
  const std::uint64_t pixels =
      std::uint64_t{dib_stride(width)} * static_cast<std::uint64_t>(std::max<std::int32_t>(height, 0));
  const std::size_t pixels_at = model.facts.pixels_at();
  if (pixels > kMostBytes - pixels_at) return nullptr;
  unsigned char* const dib = allocate(pixels_at + pixels).release();
  if (dib == nullptr) return nullptr;
  std::memcpy(dib, model.dib, pixels_at);
  if (has_info_header(model.facts)) {
    store_u32(dib + 4, static_cast<std::uint32_t>(width));
    store_u32(dib + 8, static_cast<std::uint32_t>(height));
    store_u32(dib + kImageSizeField, static_cast<std::uint32_t>(pixels));
  } else {
    store_u16(dib + 4, static_cast<std::uint16_t>(width));
    store_u16(dib + 6, static_cast<std::uint16_t>(height));
  }
  return dib;
}

namespace {

enum class Reading { no_bitmap_file, failed, done };

// A bitmap file's DIB. The buffer is as long as the whole file, and never shorter than a header.
Reading read_bitmap_file(const char* path, Allocated& dib) {
  const Descriptor file = open_for_reading(path);
  const std::optional<std::uint64_t> length = file.is_open() ? regular_file_bytes(file) : std::nullopt;
  unsigned char header[kFileHeader];
  if (!length || !read_from_start(file, header, kFileHeader) || load_u16(header) != kMagic) {
    return Reading::no_bitmap_file;
  }
  if (*length > kMostBytes) return Reading::failed;
  const std::uint64_t bytes = std::max<std::uint64_t>(*length, kFileHeader + kInfoHeader);
  dib = allocate(bytes);
  const bool read = dib && read_after(file, kFileHeader, dib.get(), *length - kFileHeader);
  return read ? Reading::done : Reading::failed;
}

}  // namespace
}  // namespace zel

using namespace zel;

namespace {

const unsigned char* bytes_of(const char* dib) { return reinterpret_cast<const unsigned char*>(dib); }

char* released(Allocated& dib) { return reinterpret_cast<char*>(dib.release()); }

}  // namespace

int DIBWidth(char* dib) { return dib_facts(bytes_of(dib)).width; }

int DIBHeight(char* dib) { return dib_facts(bytes_of(dib)).height; }

int DIBNumColors(char* dib) { return static_cast<int>(colours(bytes_of(dib))); }

int PaletteSize(char* dib) {
  return static_cast<int>((colours(bytes_of(dib)) & 0xFFFF) * dib_facts(bytes_of(dib)).entry_bytes);
}

char* FindDIBBits(char* dib) { return dib + dib_facts(bytes_of(dib)).pixels_at(); }

int DIBSize(char* dib) {
  const DibFacts facts = dib_facts(bytes_of(dib));
  const std::int64_t row_bytes = ((std::int64_t{facts.bits} * facts.width + 31) >> 5) * 4;
  // KEPT: rows from top to bottom, of a negative height, make this smaller than header and palette, or negative. Hosts
  // that store such images count their rows themselves: test dib_headers.
  const std::uint32_t pixels =
      is_run_length(facts.compression)
          ? facts.image_bytes
          : static_cast<std::uint32_t>(row_bytes) * static_cast<std::uint32_t>(facts.height);  // modulo 2^32
  return static_cast<int>(static_cast<std::uint32_t>(facts.pixels_at()) + pixels);
}

int CreateDIBPalette(void*, tagLOGPALETTE*) { return 0; }

int ImageBox_SaveDataToFile(char* path, char* dib) {
  if (dib == nullptr) return 0;
  auto* const bytes = reinterpret_cast<unsigned char*>(dib);
  const DibFacts facts = dib_facts(bytes);
  const std::uint64_t size = dib_bytes(facts);
  if (size > kMostBytes - kFileHeader) return 0;
  const WithoutFileSizeSignal no_signal;
  OutputFile file = open_for_writing(path);
  if (!file) return 0;
  if (has_info_header(facts) && !is_run_length(facts.compression)) {
    store_u32(bytes + kImageSizeField, static_cast<std::uint32_t>(pixel_bytes(facts)));
  }
  unsigned char header[kFileHeader] = {};
  store_u16(header, kMagic);
  store_u32(header + 2, static_cast<std::uint32_t>(size + kFileHeader));
  store_u32(header + 10, static_cast<std::uint32_t>(kFileHeader + facts.pixels_at()));
  const bool written = std::fwrite(header, kFileHeader, 1, file.get()) == 1 &&
                       std::fwrite(dib, static_cast<std::size_t>(size), 1, file.get()) == 1;
  return std::fclose(file.release()) == 0 && written ? 1 : 0;
}

char* ImageBox_ReadImageFromFile(char* path) {
  Allocated dib;
  return read_bitmap_file(path, dib) == Reading::done ? released(dib) : nullptr;
}

int ImageBox_ReadDataFromFile(char* path) {
  Allocated dib;
  const Reading reading = read_bitmap_file(path, dib);
  if (reading != Reading::no_bitmap_file) GetImage = reading == Reading::done ? released(dib) : nullptr;
  return reading == Reading::done ? 1 : 0;
}
