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
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zel::test {

using Bytes = std::vector<std::uint8_t>;

inline void append(Bytes& to, std::uint64_t value, int bytes) {
  for (; bytes > 0; --bytes, value >>= 8) to.push_back(static_cast<std::uint8_t>(value));
}
inline void append(Bytes& to, const Bytes& more) {
  for (const std::uint8_t byte : more) to.push_back(byte);
}

// Values as they stand in a file. ascii: without a NUL of its own, text: with one.
inline Bytes numbers(std::initializer_list<std::uint64_t> values, int bytes_each) {
  Bytes out;
  for (const std::uint64_t value : values) append(out, value, bytes_each);
  return out;
}
inline Bytes shorts(std::initializer_list<std::uint64_t> values) { return numbers(values, 2); }
inline Bytes longs(std::initializer_list<std::uint64_t> values) { return numbers(values, 4); }
inline Bytes ascii(std::string_view s) { return {s.begin(), s.end()}; }
inline Bytes text(std::string_view s) { return ascii(std::string(s) + '\0'); }

inline constexpr std::uint16_t kMake = 271;
inline constexpr std::uint16_t kStripOffsets = 273;

struct TiffEntry {
  std::uint16_t id;
  std::uint16_t type;
  std::uint32_t count;
  Bytes value;  // up to four bytes stand in the entry. Empty in tag 273: the place of the pixels
};

struct TiffFile {
  std::vector<TiffEntry> entries;  // in file order
  Bytes pixels;
  std::uint16_t byte_order = 0x4949;
  std::uint16_t version = 42;
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
    Bytes directory = shorts({entries.size()});
    Bytes values;
    for (const TiffEntry& e : entries) {
      append(directory, shorts({e.id, e.type}));
      append(directory, e.count, 4);
      Bytes field = e.value;
      if (e.value.size() > 4) {
        field = longs({values_at + values.size()});
        append(values, e.value);
      } else if (e.id == kStripOffsets && e.value.empty()) {
        field = longs({pixels_at});
      }
      field.resize(4);
      append(directory, field);
    }
    append(directory, 0, 4);
    Bytes file = shorts({byte_order, version});
    append(file, directory_last ? values_at + value_bytes : 8, 4);
    append(file, directory_last ? pixels : directory);
    append(file, values);
    append(file, directory_last ? directory : pixels);
    return file;
  }
};

// A scan as the device delivers it: samples 1 (grey) or 3 (colour), one strip. Two of its texts have an odd size.
inline TiffFile device_tiff(std::uint32_t width, std::uint32_t height, std::uint32_t samples, Bytes pixels) {
  TiffFile file;
  file.pixels = std::move(pixels);
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
