#include "kernels/isolated_bits.hpp"

#include <array>
#include <bit>
#include <utility>

#include "kernels/isolated_pixels.hpp"

namespace zel::kern {
namespace {

constexpr std::size_t kMostWords = 512;  // of a row; three rows of them lie on the stack

// A row of bits between two words of white.
class Bits {
 public:
  BitWord* words() { return words_.data() + 1; }
  const BitWord* words() const { return words_.data() + 1; }

 private:
  std::array<BitWord, kMostWords + 2> words_ = {};
};

// The pixels left and right of those of *word, moved to their places.
BitWord left_of(const BitWord* word) { return *word << 1 | word[-1] >> (kWordPixels - 1); }
BitWord right_of(const BitWord* word) { return *word >> 1 | word[1] << (kWordPixels - 1); }

// For each place, whether at least one and at least two of the bits added to it were set.
struct Counter {
  void add(BitWord bits) {
    two |= one & bits;
    one |= bits;
  }
  BitWord one = 0;
  BitWord two = 0;
};

// Which of a word's pixels survive. above: already filtered, row and below: not yet. left_survives: whether the pixel
// before the word is black and has survived; becomes the same of its last pixel.
//
// Two black neighbours besides the left one let a pixel survive; with one it survives if its left neighbour does, which
// is how a carry moves through an addition: a place where both summands are 1 makes a carry, a place where one is
// passes on that from its right.
BitWord survivors(const BitWord* above, const BitWord* row, const BitWord* below, BitWord& left_survives) {
  Counter count;
  for (const BitWord* neighbours : {above, below}) {
    count.add(left_of(neighbours));
    count.add(*neighbours);
    count.add(right_of(neighbours));
  }
  count.add(right_of(row));
  const BitWord makes = *row & count.two;
  const BitWord passes = *row & count.one & ~count.two;
  const BitWord sum = (makes | passes) + makes + left_survives;
  const BitWord carried_in = sum ^ passes;  // makes cancels out of the two summands
  const BitWord stays = makes | (passes & carried_in);
  left_survives = stays >> (kWordPixels - 1);
  return stays;
}

// Filters row, in bits and in pixels.
void filter_row(const Bits& above, Bits& row, const Bits& below, std::size_t words, std::uint8_t* pixels) {
  BitWord left_survives = 0;
  for (std::size_t w = 0; w < words; ++w, pixels += kWordPixels) {
    const BitWord black = row.words()[w];
    if (black == 0) {
      left_survives = 0;
      continue;
    }
    const BitWord stays = survivors(above.words() + w, row.words() + w, below.words() + w, left_survives);
    for (BitWord gone = black & ~stays; gone != 0; gone &= gone - 1) pixels[std::countr_zero(gone)] = 255;
    row.words()[w] = stays;
  }
}

}  // namespace

bool add_bits(std::span<const std::uint8_t> pixels, std::size_t place, BitWord& word) {
  for (const std::uint8_t pixel : pixels) {
    if (pixel != 0 && pixel != 255) return false;
    word |= static_cast<BitWord>(pixel == 0) << place++;
  }
  return true;
}

void isolated_pixels_by(BitRow* to_bits, MutableView image, int min_count) {
  const std::size_t words = (image.width() + kWordPixels - 1) / kWordPixels;
  if (image.empty() || words > kMostWords || min_count != 2) return isolated_pixels_from(image, min_count, 0);
  Bits rows[3];
  Bits *above = &rows[0], *row = &rows[1], *below = &rows[2];
  if (!to_bits(image.row(0), row->words())) return isolated_pixels_from(image, min_count, 0);
  for (std::size_t r = 0; r < image.height(); ++r) {
    if (r + 1 == image.height()) {
      *below = {};
    } else if (!to_bits(image.row(r + 1), below->words())) {
      return isolated_pixels_from(image, min_count, r);
    }
    filter_row(*above, *row, *below, words, image.row_ptr(r));
    above = std::exchange(row, std::exchange(below, above));
  }
}

}  // namespace zel::kern
