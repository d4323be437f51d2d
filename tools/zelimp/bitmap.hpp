// Grey pictures as device-independent bitmaps in memory.
#pragma once

#include <span>

#include "io.hpp"
#include "picture.hpp"

namespace tool {

// Header of 40 bytes, 256 grey colour table entries, rows bottom-up, padded to 4 bytes. grey: one plane.
Bytes as_dib(const Picture& grey);

bool is_bitmap_file(std::span<const std::byte> file);

// What the library sees in a bitmap file or DIB of 8 bits a pixel that it has accepted. mirrored: as it turns rear
// faces over, one byte further right than it should be, or upside down when the rows lie top to bottom. White where
// the image has no pixel.
Picture seen_in(std::span<const std::byte> bitmap, bool mirrored);

}  // namespace tool
