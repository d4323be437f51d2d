// Pictures in the usual file formats, read and written by Leptonica.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "io.hpp"

namespace tool {

// Rows top to bottom without padding; planes is 1 (grey) or 3 (red, green, blue of a pixel side by side).
struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t planes = 1;
  std::vector<std::uint8_t> samples;
};

// Reads a PNG, JPEG, TIFF or PNM file as grey or colour. Throws Failure.
Picture read_picture(const std::string& path, bool colour);

// What was made of a scan, an image file (also a bitmap), as PNG. Throws Failure.
Bytes as_png(const std::string& scan_name, std::span<const std::byte> file);

}  // namespace tool
