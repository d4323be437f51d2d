// Little-endian TIFF files in memory for tests: the device's own, and ones that are broken or another maker's.
//
//   TiffFile scan = device_tiff(6, 4, 1, pixels);
//   scan.set(kMake, 2, text("Somebody")).erase(279).bytes()
//
// Entries, values and pixels are laid out as the library's own writer does it: directory at 8, values back to back
// without padding, then the pixels. So bytes() of the tags a result should have is also what that result should be.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zel::test {

using Bytes = std::vector<std::uint8_t>;

void append(Bytes& to, const auto&... parts) { (std::ranges::copy(parts, std::back_inserter(to)), ...); }

// Values as they stand in a file and in the memory of this machine, low byte first. ascii: without a NUL of its own,
// text: with one.
inline Bytes numbers(std::initializer_list<std::uint64_t> values, std::size_t bytes_each) {
  Bytes out;
  for (const auto& value : values) append(out, std::span(reinterpret_cast<const std::uint8_t*>(&value), bytes_each));
  return out;
}
inline Bytes shorts(std::initializer_list<std::uint64_t> values) { return numbers(values, 2); }
inline Bytes longs(std::initializer_list<std::uint64_t> values) { return numbers(values, 4); }
inline Bytes ascii(std::string_view s) { return {s.begin(), s.end()}; }
inline Bytes text(std::string_view s) { return ascii(std::string(s) + '\0'); }

inline constexpr std::uint16_t kMake = 271, kStripOffsets = 273;

struct TiffEntry {
  std::uint16_t id, type;
  std::uint32_t count;
  Bytes value;  // up to four bytes stand in the entry. Empty in tag 273: the place of the pixels
};

struct TiffFile {
  std::vector<TiffEntry> entries;  // in file order
  Bytes pixels;
  std::uint16_t byte_order = 0x4949, version = 42;
  bool directory_last = false;  // pixels at 8, then values, then the directory

  // Adds an entry behind those with the same or a smaller number. Without a count it is that of the value's bytes.
  TiffFile& add(std::uint16_t id, std::uint16_t type, Bytes value, std::optional<std::uint32_t> count = {}) {
    constexpr std::uint32_t kTypeBytes[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    const std::uint32_t fitting = static_cast<std::uint32_t>(value.size()) / (type < 13 ? kTypeBytes[type] : 1);
    const auto after = std::find_if(entries.begin(), entries.end(), [id](const TiffEntry& e) { return e.id > id; });
    entries.insert(after, {id, type, count.value_or(fitting), std::move(value)});
    return *this;
  }
  TiffFile& erase(std::uint16_t id) {
    std::erase_if(entries, [id](const TiffEntry& e) { return e.id == id; });
    return *this;
  }
  // Puts one entry in place of all with the number.
  TiffFile& set(std::uint16_t id, std::uint16_t type, Bytes value, std::optional<std::uint32_t> count = {}) {
    return erase(id).add(id, type, std::move(value), count);
  }

  Bytes bytes() const {
    std::size_t value_bytes = 0;
    for (const TiffEntry& e : entries) value_bytes += e.value.size() > 4 ? e.value.size() : 0;
    const std::size_t values_at = 8 + (directory_last ? pixels.size() : 6 + 12 * entries.size());
    const std::size_t pixels_at = directory_last ? 8 : values_at + value_bytes;
    Bytes file = shorts({byte_order, version}), directory = shorts({entries.size()}), values;
    for (const TiffEntry& e : entries) {
      Bytes field = e.id == kStripOffsets && e.value.empty() ? longs({pixels_at}) : e.value;
      if (e.value.size() > 4) {
        field = longs({values_at + values.size()});
        append(values, e.value);
      }
      field.resize(4);
      append(directory, shorts({e.id, e.type}), longs({e.count}), field);
    }
    append(directory, longs({0}));
    directory_last ? append(file, longs({values_at + value_bytes}), pixels, values, directory)
                   : append(file, longs({8}), directory, values, pixels);
    return file;
  }
};

// A scan as the device delivers it: samples 1 (grey) or 3 (colour), one strip. Two of its texts have an odd size.
inline TiffFile device_tiff(std::uint32_t width, std::uint32_t height, std::uint32_t samples, Bytes pixels) {
  TiffFile file = {{}, std::move(pixels)};
  file.add(256, 3, shorts({width})).add(257, 4, longs({height}));
  file.add(258, 3, samples == 1 ? shorts({8}) : shorts({8, 8, 8})).add(259, 3, shorts({1}));
  file.add(262, 3, shorts({samples == 1 ? 1u : 2u})).add(270, 2, text("front and rear"));
  file.add(kMake, 2, text("Varnoke Industries, Inc")).add(272, 2, text("T 7200"));
  file.add(kStripOffsets, 4, {}, 1).add(277, 3, shorts({samples})).add(278, 4, longs({height}));
  file.add(279, 4, longs({file.pixels.size()})).add(282, 5, longs({200, 1})).add(283, 5, longs({401, 2}));
  file.add(296, 3, shorts({2})).add(305, 2, text("firmware 1.2"));
  return file;
}

}  // namespace zel::test
