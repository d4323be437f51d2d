#include "bitmap.hpp"

#include <array>
#include <cstdlib>

namespace tool {
namespace {

constexpr std::uint32_t kFileHeader = 14;
constexpr std::uint32_t kHeader = 40;  // the other kind has 12 bytes
constexpr std::uint32_t kColours = 256;

void put(Bytes& bytes, std::uint32_t value, int count) {
  for (int i = 0; i < count; ++i) bytes.push_back(static_cast<std::byte>(value >> 8 * i));
}

std::uint32_t get(std::span<const std::byte> bytes, std::size_t at, std::size_t count) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i) value |= std::to_integer<std::uint32_t>(bytes[at + i]) << 8 * i;
  return value;
}

std::uint32_t padded(std::uint32_t width) { return (width + 3) / 4 * 4; }

// The grey level of each pixel value: the blue part of its colour.
std::array<std::uint8_t, kColours> levels_of(std::span<const std::byte> table, std::size_t entry_bytes) {
  std::array<std::uint8_t, kColours> levels{};
  for (std::size_t i = 0; i < kColours; ++i) {
    const bool has_entry = (i + 1) * entry_bytes <= table.size();
    levels[i] = has_entry ? std::to_integer<std::uint8_t>(table[i * entry_bytes]) : static_cast<std::uint8_t>(i);
  }
  return levels;
}

}  // namespace

Bytes as_dib(const Picture& grey) {
  const std::uint32_t stride = padded(grey.width);
  Bytes dib;
  dib.reserve(kHeader + 4 * kColours + std::size_t{stride} * grey.height);
  for (const std::uint32_t field : {kHeader, grey.width, grey.height}) put(dib, field, 4);
  put(dib, 1, 2);  // plane
  put(dib, 8, 2);  // bits a pixel
  for (const std::uint32_t field : {0u, stride * grey.height, 0u, 0u, kColours, 0u}) put(dib, field, 4);
  for (std::uint32_t level = 0; level < kColours; ++level) put(dib, level * 0x010101, 4);
  for (std::size_t y = grey.height; y-- > 0;) {
    const auto row = std::as_bytes(std::span(grey.samples)).subspan(y * grey.width, grey.width);
    dib.insert(dib.end(), row.begin(), row.end());
    dib.resize(dib.size() + stride - grey.width);
  }
  return dib;
}

bool is_bitmap_file(std::span<const std::byte> file) {
  return file.size() >= 2 && file[0] == std::byte{'B'} && file[1] == std::byte{'M'};
}

Picture seen_in(std::span<const std::byte> bitmap, bool mirrored) {
  const std::span<const std::byte> dib = is_bitmap_file(bitmap) ? bitmap.subspan(kFileHeader) : bitmap;
  const bool full_header = get(dib, 0, 4) == kHeader;
  const std::uint32_t width = full_header ? get(dib, 4, 4) : get(dib, 4, 2);
  const auto height = static_cast<std::int32_t>(full_header ? get(dib, 8, 4) : get(dib, 6, 2));
  const std::uint32_t rows = height < 0 ? 0u - static_cast<std::uint32_t>(height) : static_cast<std::uint32_t>(height);
  const std::uint32_t given_colours = full_header ? get(dib, 32, 4) : 0;
  const std::size_t entry_bytes = full_header ? 4 : 3;
  const auto table =
      dib.subspan(full_header ? kHeader : 12, (given_colours == 0 ? kColours : given_colours) * entry_bytes);
  const std::array<std::uint8_t, kColours> levels = levels_of(table, entry_bytes);
  const std::byte* pixels = table.data() + table.size();

  Picture picture{width, rows, 1, {}};
  picture.samples.reserve(std::size_t{width} * rows);
  const std::uint32_t stride = padded(width);
  const bool lowest_first = (height > 0) != (mirrored && height < 0);
  for (std::size_t y = 0; y < rows; ++y) {
    const std::byte* row = pixels + stride * (lowest_first ? rows - 1 - y : y);
    for (std::uint32_t x = 0; x < width; ++x) {
      const std::uint32_t from = mirrored && height > 0 ? stride - x : x;
      picture.samples.push_back(from < width ? levels[std::to_integer<std::uint8_t>(row[from])] : 255);
    }
  }
  return picture;
}

}  // namespace tool
