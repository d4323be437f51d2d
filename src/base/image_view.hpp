// A view of pixels that belong to somebody else: pointer, size and stride.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zel {

// T is uint8_t or const uint8_t. A row is width samples; rows lie stride samples apart, which may be more than width.
// Pixels of several samples are described by a width in samples. Whoever makes a view vouches for its extent; from
// there on nothing looks outside it.
template <class T>
class ImageView {
 public:
  ImageView() = default;
  ImageView(T* data, std::size_t width, std::size_t height, std::size_t stride)
      : data_(data), width_(width), height_(height), stride_(stride) {}
  ImageView(T* data, std::size_t width, std::size_t height) : ImageView(data, width, height, width) {}

  // A view of bytes that may be written serves where they are only read.
  operator ImageView<const T>() const { return {data_, width_, height_, stride_}; }

  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }
  std::size_t stride() const { return stride_; }
  bool empty() const { return width_ == 0 || height_ == 0; }

  T* row_ptr(std::size_t r) const { return data_ + r * stride_; }
  std::span<T> row(std::size_t r) const { return {row_ptr(r), width_}; }

  // The part of w x h samples whose first is (r, c); it lies inside.
  ImageView part(std::size_t r, std::size_t c, std::size_t h, std::size_t w) const {
    return {data_ + r * stride_ + c, w, h, stride_};
  }

 private:
  T* data_ = nullptr;
  std::size_t width_ = 0;
  std::size_t height_ = 0;
  std::size_t stride_ = 0;
};

using ConstView = ImageView<const std::uint8_t>;
using MutableView = ImageView<std::uint8_t>;

}  // namespace zel
