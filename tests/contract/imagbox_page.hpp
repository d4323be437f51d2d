// Images in memory to draw on, for the tests of recognition.
#pragma once

#include "support.hpp"
#include "support/dib_builder.hpp"
#include "support/punched_line.hpp"

namespace zel::test {

// An 8-bit image with a grey ramp; pixels: its rows as they lie, with their padding.
inline Bytes ramp_dib(int width, int height, const Bytes& pixels) {
  const Bytes file = bitmap_file(width, height, pixels);
  return {file.begin() + 14, file.end()};
}

// One of a single level.
struct Page {
  Page(int w, int h, int level = 255) : width(w), height(h), stride((w + 3) / 4 * 4) {
    bytes = ramp_dib(w, h, Bytes(std::size_t(stride * std::abs(h)), std::uint8_t(level)));
  }
  std::uint8_t& at(int x, int y) { return bytes[static_cast<std::size_t>(1064 + y * stride + x)]; }
  std::uint8_t& entry(int i) { return bytes[static_cast<std::size_t>(40 + 4 * i)]; }
  void fill(int x0, int x1, int y0, int y1, int level = 0) {
    for (int y = y0; y < y1; ++y) std::fill_n(&at(x0, y), x1 - x0, std::uint8_t(level));
  }
  char* dib() { return chars(bytes); }
  unsigned char* data() { return bytes.data(); }

  int width, height, stride;
  Bytes bytes;
};

// What ImageBox_Box returns, num_box (-7 before), and the boxes one after the other.
inline std::vector<int> boxes_of(Page page) {
  num_box = -7;
  std::vector<int> told = {ImageBox_Box(page.dib()), num_box};
  for (int i = 0; i < num_box; ++i) {
    told.insert(told.end(), {box_char[i].left, box_char[i].right, box_char[i].top, box_char[i].bottom});
  }
  return told;
}

}  // namespace zel::test
