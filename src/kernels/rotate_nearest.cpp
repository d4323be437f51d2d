#include "kernels/rotate_nearest.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace zel::kern {
namespace {

constexpr std::size_t kBlock = 8;   // pixels looked up together
constexpr std::size_t kTile = 256;  // columns whose products are computed once for all rows
constexpr float kOutside = -1.0f;

// One direction of src.
struct Axis {
  explicit Axis(std::size_t pixels) : half(static_cast<float>(pixels) / 2.0f), end(static_cast<float>(pixels)) {
    // Widths from 2^24 on may have been rounded down; no coordinate lies between such a width and the next float.
    if (static_cast<double>(end) < static_cast<double>(pixels)) end = std::nextafter(end, HUGE_VALF);
    end = std::min(end, 0x1p31f);  // as far as a coordinate fits into an integer
  }

  float coordinate(float turned) const { return (turned + half) + 0.5f; }
  // KEPT: truncation is toward zero, so what lies less than a pixel before the first one still shows it: test
  // skew_truncation_toward_zero.
  bool inside(float at) const { return at > -1.0f && at < end; }

  float half;
  float end;  // coordinates below it are inside
};

// Where the pixels of a block come from; column -1: from outside.
struct Sources {
  std::int32_t column[kBlock];
  std::int32_t row[kBlock];

  // Whether the block is a piece of one row.
  bool consecutive() const {
    std::int32_t differ = column[0] < 0 ? 1 : 0;
    for (std::size_t k = 0; k < kBlock; ++k) {
      differ |= (column[k] - static_cast<std::int32_t>(k)) ^ column[0];
      differ |= row[k] ^ row[0];
    }
    return differ == 0;
  }
};

struct Geometry {
  Axis across, down;
};

// along[k] and against[k]: cosine * x and sine * x of pixel k; sine_y and cosine_y are those of its row.
Sources look_up(const Geometry& src, const float* along, const float* against, float sine_y, float cosine_y) {
  Sources from;
  for (std::size_t k = 0; k < kBlock; ++k) {
    const float u = src.across.coordinate(along[k] + sine_y);
    const float v = src.down.coordinate(cosine_y - against[k]);
    const bool inside = src.across.inside(u) & src.down.inside(v);
    from.column[k] = static_cast<std::int32_t>(inside ? u : kOutside);
    from.row[k] = static_cast<std::int32_t>(inside ? v : kOutside);
  }
  return from;
}

template <std::size_t kSamples>
void copy_pixels(ConstView src, const Sources& from, std::size_t count, std::uint8_t* to) {
  for (std::size_t k = 0; k < count; ++k, to += kSamples) {
    if (from.column[k] < 0) {
      std::memset(to, 0, kSamples);
    } else {
      const std::size_t column = static_cast<std::size_t>(from.column[k]) * kSamples;
      std::memcpy(to, src.row_ptr(static_cast<std::size_t>(from.row[k])) + column, kSamples);
    }
  }
}

template <std::size_t kSamples>
void turn(ConstView src, MutableView dst, float cosine, float sine) {
  const std::size_t width = src.width() / kSamples;
  const Geometry geometry = {Axis(width), Axis(src.height())};
  float x = -geometry.across.half;
  for (std::size_t begin = 0; begin < width; begin += kTile) {
    float along[kTile], against[kTile];
    for (std::size_t k = 0; k < kTile; ++k, x += 1.0f) {
      along[k] = cosine * x;
      against[k] = sine * x;
    }
    const std::size_t columns = std::min(kTile, width - begin);
    float y = -geometry.down.half;
    for (std::size_t r = 0; r < dst.height(); ++r, y += 1.0f) {
      const float sine_y = sine * y, cosine_y = cosine * y;
      std::uint8_t* const row = dst.row_ptr(r) + begin * kSamples;
      for (std::size_t i = 0; i < columns; i += kBlock) {
        const Sources from = look_up(geometry, along + i, against + i, sine_y, cosine_y);
        if (columns - i >= kBlock && from.consecutive()) {
          const std::size_t column = static_cast<std::size_t>(from.column[0]) * kSamples;
          std::memcpy(row + i * kSamples, src.row_ptr(static_cast<std::size_t>(from.row[0])) + column,
                      kBlock * kSamples);
        } else {
          copy_pixels<kSamples>(src, from, std::min(kBlock, columns - i), row + i * kSamples);
        }
      }
    }
  }
}

}  // namespace

void rotate_nearest_scalar(ConstView src, MutableView dst, std::size_t samples, float cosine, float sine) {
  if (samples == 1) {
    turn<1>(src, dst, cosine, sine);
  } else {
    turn<3>(src, dst, cosine, sine);
  }
}

void rotate_nearest(ConstView src, MutableView dst, std::size_t samples, float cosine, float sine) {
  rotate_nearest_scalar(src, dst, samples, cosine, sine);
}

}  // namespace zel::kern
