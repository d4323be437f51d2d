// How a sheet that is not turned lies on the bed of the scanner.
#pragma once

#include <array>
#include <cstdint>

namespace tool {

struct Bedding {
  struct Corner {
    std::int64_t left = 0;
    std::int64_t top = 0;
  };
  std::uint32_t width = 0;  // of the bed below each face, which is the image made of it
  std::uint32_t height = 0;
  std::array<Corner, 2> faces{};  // the upper left corner of front and rear, from that of the bed
};

}  // namespace tool
