// Pictures in the usual file formats, read and written by Leptonica, and lines on them.
#pragma once

#include <ZelIMP.hpp>
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

// An image in memory as PNG. Throws Failure when it is larger than a PNG can be.
Bytes as_png(const zelimp::StepImage& image);

struct Colour {
  std::uint8_t red, green, blue;
};

zelimp::StepImage view_of(const Picture& picture);
Picture copy_of(const zelimp::StepImage& image);
Picture in_colour(const zelimp::StepImage& image);  // a copy with three planes

// Draw on a picture with three planes; what lies outside of it is left out. outline: along the box's inner edge.
void fill(Picture& picture, const zelimp::Box& box, Colour colour);
void outline(Picture& picture, const zelimp::Box& box, std::uint32_t thickness, Colour colour);

// A line of printable characters as a grey picture, black on white. Throws Failure.
Picture text_line(const std::string& text);

}  // namespace tool
