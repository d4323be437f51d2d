// isolated_pixels on bits, for images of 0 and 255 and a min_count of 2.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/image_view.hpp"

namespace zel::kern {

// Pixels as bits, 1 for black, first pixel in bit 0. A machine word: 64-bit arithmetic would double the time on i386.
using BitWord = std::size_t;
inline constexpr std::size_t kWordPixels = 8 * sizeof(BitWord);

// Sets words to the pixels of a row, (row.size() + kWordPixels - 1) / kWordPixels of them; the bits beyond the row are
// 0. Returns whether the row had no values but 0 and 255; if it had, the words have no meaning.
using BitRow = bool(std::span<const std::uint8_t> row, BitWord* words);

// isolated_pixels with to_bits; the reference does what is not for it.
void isolated_pixels_by(BitRow* to_bits, MutableView image, int min_count);

// For what of a row fills no vector: adds pixels to word from place on. Returns what BitRow does.
bool add_bits(std::span<const std::uint8_t> pixels, std::size_t place, BitWord& word);

}  // namespace zel::kern
