// Inner helpers of the image object.
#pragma once

#include <ZelIMP/TiffImage.h>

#include <cstddef>

#include "base/image_view.hpp"

namespace zel {

// A TiffImage that releases its header when it goes, which TiffImage itself leaves to its copies.
class LocalImage : public TiffImage {
 public:
  LocalImage() = default;
  ~LocalImage() { TiffImage::clear(); }
  LocalImage(const LocalImage&) = delete;
  LocalImage& operator=(const LocalImage&) = delete;
};

// The image's pixels as rows of width * samples bytes.
inline ImageView<std::uint8_t> view_of(const TiffImage& image, std::size_t samples) {
  return {image.image, std::size_t{image.width} * samples, image.height};
}

// Whether the header's Make value is one of the device's, NUL included.
bool has_known_maker(const TiffImage& image);

// Whether the image data lies in one strip whose place and size the header tells.
bool has_one_strip(const TiffImage& image);

// Gives an image its size in pixels, here and in its header.
inline void set_size(TiffImage& image, unsigned int width, unsigned int height) {
  image.width = width;
  image.height = height;
  if (image.header == nullptr) return;
  image.header->setWidth(width);
  image.header->setHeight(height);
}

// Gives an image that was descrambled its new number of rows, here and in its header.
void set_rows(TiffImage& image, unsigned int rows, unsigned int samples);

}  // namespace zel
