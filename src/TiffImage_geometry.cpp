// TiffImage: quarter and half turns, the turn of one face, the split of a two-faced image.

#include <ZelIMP/TiffImage.h>

#include <cstddef>
#include <cstring>

#include "TiffImage.hpp"
#include "kernels/half_turn.hpp"
#include "kernels/quarter_turn.hpp"

namespace {

using zel::kern::Turn;

int turn(TiffImage& image, unsigned char* dst, std::size_t samples, Turn direction) {
  const zel::MutableView result(dst, std::size_t{image.height} * samples, image.width);
  zel::kern::quarter_turn(zel::view_of(image, samples), result, samples, direction);
  zel::set_size(image, image.height, image.width);
  return 0;
}

// Turns the left half of every row by 180 degrees. partner is the offset in row H - 1 - r of the pixel that column 0 of
// row r is exchanged with; further columns go down from there.
void flip_left_half(TiffImage& image, std::size_t samples, std::size_t partner) {
  const std::size_t half = image.width / 2;
  const zel::MutableView view = zel::view_of(image, samples);
  const auto exchange = [&](std::size_t r, std::size_t pixels) {
    const std::size_t last = partner + samples - samples * pixels;
    zel::kern::exchange_turned({view.row_ptr(r), samples * pixels},
                               {view.row_ptr(image.height - 1 - r) + last, samples * pixels}, samples);
  };
  if (image.width < 2) return;
  for (std::size_t r = 0; r < image.height / 2; ++r) exchange(r, half);
  if (image.height % 2 != 0 && image.width >= 4) exchange(image.height / 2, image.width / 4);
}

// Copies the half of every row that side names; half and right are in bytes. Returns whether side names one.
bool copy_half(const TiffImage& image, unsigned char* dst, int side, std::size_t samples) {
  if (side != 1 && side != 2) return false;
  const std::size_t row_bytes = std::size_t{image.width} * samples;
  const std::size_t half = row_bytes / 2;
  const unsigned char* src = image.image + (side == 1 ? half : 0);
  for (unsigned int r = 0; r < image.height && half != 0; ++r, src += row_bytes, dst += half) {
    std::memcpy(dst, src, half);
  }
  return true;
}

void set_half_width(TiffImage& image, unsigned int samples) {
  image.width /= 2;
  image.imageSize = image.height * samples * image.width;
  if (image.header != nullptr) image.header->setWidth(image.width);
}

}  // namespace

int TiffImage::rotate90(unsigned char* dst) { return turn(*this, dst, 1, Turn::clockwise); }
int TiffImage::rotate270(unsigned char* dst) { return turn(*this, dst, 1, Turn::counter_clockwise); }
int TiffImage::rotate90color(unsigned char* dst) { return turn(*this, dst, 3, Turn::clockwise); }
int TiffImage::rotate270color(unsigned char* dst) { return turn(*this, dst, 3, Turn::counter_clockwise); }

int TiffImage::rotate180(unsigned char* dst) {
  const std::size_t bytes = std::size_t{width} * height;
  zel::kern::half_turn({image, bytes}, {dst, bytes});
  return 0;
}

int TiffImage::FlipOneSide() {
  if (width != 0) flip_left_half(*this, 1, width - width / 2 - 1);
  return 0;
}

int TiffImage::FlipOneSideColor() {
  // KEPT: the partner is found in bytes, half a row of bytes left of the row's end. With an odd width that is no pixel
  // boundary and the halves are exchanged out of step: test flip_colour_odd_width.
  const std::size_t row_bytes = std::size_t{width} * 3;
  if (width != 0) flip_left_half(*this, 3, row_bytes - row_bytes / 2 - 3);
  return 0;
}

void TiffImage::split(unsigned char* dst, int side) {
  if (copy_half(*this, dst, side, 1)) set_half_width(*this, 1);
}

void TiffImage::splitColor(unsigned char* dst, int side) {
  // KEPT: rows are halved in bytes. With an odd width each copied row is a byte longer than the new width says
  // and the rows lie that far apart: test split_colour_odd_width.
  if (copy_half(*this, dst, side, 3)) set_half_width(*this, 3);
}
