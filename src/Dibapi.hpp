// Module Dibapi, for the modules beside it: a DIB's facts, and its pixels as views.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "base/image_view.hpp"

namespace zel {

inline constexpr std::size_t kInfoHeader = 40;  // bytes of a BITMAPINFOHEADER
inline constexpr std::size_t kCoreHeader = 12;  // bytes of what any other header counts as
inline constexpr std::size_t kFileHeader = 14;  // bytes in front of the DIB in a bitmap file

// What the header says.
struct DibFacts {
  std::size_t header_bytes;
  std::int32_t width;
  std::int32_t height;  // negative: rows top to bottom
  std::uint16_t bits;
  std::uint32_t compression;  // 0 with a core header
  std::uint32_t image_bytes;  // as stored; 0 with a core header
  std::size_t palette_bytes;  // low 16 bits, as all users take it
  std::size_t entry_bytes;    // of the palette: 4 or 3
  std::size_t pixels_at() const { return header_bytes + palette_bytes; }
};

DibFacts dib_facts(const unsigned char* dib);

// Bytes of a row with its padding; 0 for a width below 1.
std::size_t dib_stride(std::int32_t width, std::uint16_t bits = 8);

// Bytes of the whole DIB with the absolute height (run-length: the stored image size), in 64 bits.
std::uint64_t dib_bytes(const DibFacts& facts);

// An 8-bit DIB with pixels. Rows in the order in which they lie: row 0 is the bottom of the picture unless top_down.
struct GreyDib {
  unsigned char* dib;
  DibFacts facts;
  MutableView pixels;
  bool top_down;

  unsigned char* palette() const { return dib + facts.header_bytes; }
  std::size_t palette_entries() const { return facts.palette_bytes / facts.entry_bytes; }
};

// None for null, for other depths, and for images without width or rows.
std::optional<GreyDib> grey_dib(void* dib);

// The same, and none for rows top to bottom, which count as no rows where images are stretched or segmented.
std::optional<GreyDib> bottom_up_dib(void* dib);

// The grey level of every pixel value: the blue value of its palette entry, or itself where there is none.
using Levels = std::array<std::uint8_t, 256>;
Levels levels_of(const GreyDib& image);

// A new DIB of width x height zeroed 8-bit pixels, bottom-up, with the header and palette of the model; to be freed
// with free(). Null without memory. The stored image size is entered where the header has one.
unsigned char* new_grey_dib(const GreyDib& model, std::int32_t width, std::int32_t height);

}  // namespace zel
