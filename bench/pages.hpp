// Pages to measure with, drawn by the program: the same bytes everywhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zel::bench {

struct Page {
  const char* name;
  std::size_t width;
  std::size_t height;
  std::vector<std::uint8_t> grey;
};

// Bare paper; print that covers 7 to 8 %; uniform noise; print on a page that no cache holds; the print as two sheets
// that lie askew on a dark bed, front face clockwise by 0.05 radians. Drawn once.
enum class Kind { blank, text, noise, large, skewed };
const Page& page(Kind kind);

}  // namespace zel::bench
