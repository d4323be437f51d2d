// Documents with a line of digits punched as dots, as bitmap files in memory.
#pragma once

#include <ZelIMP/ImagBox.h>

#include <string_view>

#include "support/random.hpp"
#include "support/tiff_builder.hpp"

namespace zel::test {

// An 8-bit DIB with a grey ramp as its colour table, behind a file header; pixels: rows as they lie, padded to 4 bytes.
// Its height is negative when they lie top to bottom.
inline Bytes bitmap_file(int width, int height, const Bytes& pixels) {
  const auto columns = static_cast<std::uint32_t>(width), rows = static_cast<std::uint32_t>(height);
  Bytes file = ascii("BM");
  append(file, longs({1078 + pixels.size(), 0, 1078, 40, columns, rows}), shorts({1, 8}));
  append(file, longs({0, pixels.size(), 0, 0, 0, 0}));
  for (std::uint32_t i = 0; i < 256; ++i) append(file, longs({i * 0x010101}));
  append(file, pixels);
  return file;
}

// What to draw: digits, blanks and, for ?, holes in all cells, from column left on, 50 apart, their lowest dots in row
// bottom of the picture.
struct PunchedLine {
  std::string_view digits = "0123456789";
  int left = 200, bottom = 210;
  bool rear = false;      // as ImageBox_Mirror makes it readable
  bool top_down = false;  // rows top to bottom; a rear face upside down
  int width = 1400, height = 620;
  int paper = 200, ink = 40;  // the darkest grey levels: of 16, and of two fifths of the contrast

  Bytes file() const {
    const int stride = (width + 3) / 4 * 4;
    Bytes pixels(static_cast<std::size_t>(stride * height));
    Random random(7);
    for (std::uint8_t& p : pixels) p = static_cast<std::uint8_t>(paper + static_cast<int>(random.below(16)));
    const auto dot = [&](int x, int y) {  // doubled, for half pixels
      for (int r = std::max(y / 2 - 2, 0); r <= std::min(y / 2 + 3, height - 1); ++r) {
        for (int c = x / 2 - 2; c <= x / 2 + 3; ++c) {
          if ((2 * c - x) * (2 * c - x) + (2 * r - y) * (2 * r - y) > 25 || c < 1 || c >= width) continue;
          const int row = top_down != (top_down && rear) ? height - 1 - r : r;
          const int column = rear && !top_down ? stride - c : c;
          pixels[static_cast<std::size_t>(row * stride + column)] = static_cast<std::uint8_t>(
              ink + static_cast<int>(random.below(1 + 2 * static_cast<std::size_t>(paper - ink) / 5)));
        }
      }
    };
    for (std::size_t k = 0; k < digits.size(); ++k) {
      for (int cell = 0; cell < 35; ++cell) {
        if (digits[k] == ' ' || (digits[k] != '?' && MicroholesFont[(digits[k] - '0') * 35 + cell] == 0)) continue;
        dot(2 * (left + 50 * static_cast<int>(k)) + 4 + 13 * (cell % 5), 2 * bottom + 4 + 16 * (6 - cell / 5));
      }
    }
    return bitmap_file(width, top_down ? -height : height, pixels);
  }
};

}  // namespace zel::test
