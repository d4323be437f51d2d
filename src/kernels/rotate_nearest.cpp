#include "kernels/rotate_nearest.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "kernels/rotate_nearest_row.hpp"

namespace zel::kern {
namespace {

// Rows and columns taken together: the products of a tile's columns are computed once for a strip of rows, few enough
// for their pages to stay in the translation buffer.
constexpr std::size_t kStrip = 64;
constexpr std::size_t kTile = 4096;

// Along whole rows, a line of src that a row of dst crosses is still in the first cache when the next row does. At
// small angles a row crosses few, and narrow tiles, which stay with them for longer, are as fast or faster: measured.
std::size_t tile_width(float sine) { return std::fabs(sine) < 0.04f ? kTile / 8 : kTile; }

// One direction of src.
struct Axis {
  explicit Axis(std::size_t pixels) : half(static_cast<float>(pixels) / 2.0f), end(static_cast<float>(pixels)) {
    // Sizes from 2^24 on may have been rounded down; no coordinate lies between such a size and the next float.
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

// The part of a destination row within a tile, and what its coordinates are made of.
struct TileRow {
  const Axis& across;
  const Axis& down;
  const float* along;    // cosine * x of each column
  const float* against;  // sine * x
  float cosine_y;
  float sine_y;
  std::size_t count;

  float u(std::size_t k) const { return across.coordinate(along[k] + sine_y); }
  float v(std::size_t k) const { return down.coordinate(cosine_y - against[k]); }
  bool inside(std::size_t k) const { return across.inside(u(k)) && down.inside(v(k)); }

  // Without the first begin columns and those from end on.
  TileRow part(std::size_t begin, std::size_t end) const {
    return {across, down, along + begin, against + begin, cosine_y, sine_y, end - begin};
  }
};

// Where the pixels of a tile's row come from, all of them inside.
struct Sources {
  explicit Sources(const TileRow& tile) {
    for (std::size_t k = 0; k < tile.count; ++k) {
      column[k] = static_cast<std::int32_t>(tile.u(k));
      row[k] = static_cast<std::int32_t>(tile.v(k));
    }
    for (std::size_t k = 1; k < tile.count; ++k) {
      starts[k] = ((row[k] ^ row[k - 1]) | (column[k] ^ (column[k - 1] + 1))) != 0;
    }
    starts[tile.count] = 1;
    std::memset(starts + tile.count + 1, 0, sizeof(std::size_t));
  }

  // The end of the run of neighbours in one row of src that begins at k.
  std::size_t run_end(std::size_t k) const {
    std::size_t word = 0;
    for (++k;; k += sizeof word) {
      std::memcpy(&word, starts + k, sizeof word);
      if (word != 0) return k + static_cast<std::size_t>(std::countr_zero(word)) / 8;
    }
  }

  std::int32_t column[kTile];
  std::int32_t row[kTile];
  std::uint8_t starts[kTile + 1 + sizeof(std::size_t)];  // 1 where a run starts, and at the end
};

template <std::size_t kSamples>
void copy_runs(ConstView src, const TileRow& tile, std::uint8_t* to) {
  // Short runs are copied as so many bytes, where there are as many: the next run overwrites the surplus.
  constexpr std::size_t kShort = 32;
  const Sources from(tile);
  for (std::size_t k = 0, next = 0; k < tile.count; k = next) {
    next = from.run_end(k);
    const std::size_t column = static_cast<std::size_t>(from.column[k]) * kSamples;
    const std::size_t bytes = (next - k) * kSamples, room = (tile.count - k) * kSamples;
    const std::uint8_t* const source = src.row_ptr(static_cast<std::size_t>(from.row[k])) + column;
    if (bytes <= kShort && room >= kShort && src.width() - column >= kShort) {
      std::memcpy(to + k * kSamples, source, kShort);
    } else {
      std::memcpy(to + k * kSamples, source, bytes);
    }
  }
}

template <std::size_t kSamples>
void fill_row(RotateRow* copy, ConstView src, const TileRow& tile, std::uint8_t* to) {
  // Rounding keeps order: both coordinates go one way only, so that between two pixels inside there is none outside.
  std::size_t begin = 0, end = tile.count;
  while (begin < end && !tile.inside(begin)) ++begin;
  while (begin < end && !tile.inside(end - 1)) --end;
  std::memset(to, 0, begin * kSamples);
  std::memset(to + end * kSamples, 0, (tile.count - end) * kSamples);
  if (kSamples == 1 && copy != nullptr) {
    const TileRow inner = tile.part(begin, end);
    begin += copy(
        src, {inner.along, inner.against, inner.cosine_y, inner.sine_y, tile.across.half, tile.down.half, inner.count},
        to + begin);
  }
  copy_runs<kSamples>(src, tile.part(begin, end), to + begin * kSamples);
}

// Rows begin to end - 1 of dst, the first of which has the coordinate first_y.
template <std::size_t kSamples>
void turn_strip(RotateRow* copy, ConstView src, MutableView dst, std::size_t begin, std::size_t end, float first_y,
                float cosine, float sine) {
  const std::size_t width = src.width() / kSamples;
  const Axis across(width), down(src.height());
  float along[kTile], against[kTile], x = -across.half;
  for (std::size_t c = 0, count = 0; c < width; c += count) {
    count = std::min(tile_width(sine), width - c);
    for (std::size_t k = 0; k < count; ++k, x += 1.0f) {
      along[k] = cosine * x;
      against[k] = sine * x;
    }
    float y = first_y;
    for (std::size_t r = begin; r < end; ++r, y += 1.0f) {
      const TileRow tile = {across, down, along, against, cosine * y, sine * y, count};
      fill_row<kSamples>(copy, src, tile, dst.row_ptr(r) + c * kSamples);
    }
  }
}

template <std::size_t kSamples>
void turn(RotateRow* copy, ConstView src, MutableView dst, float cosine, float sine) {
  float y = -Axis(src.height()).half;
  for (std::size_t r = 0; r < dst.height(); r += kStrip) {
    const std::size_t end = std::min(r + kStrip, dst.height());
    turn_strip<kSamples>(copy, src, dst, r, end, y, cosine, sine);
    for (std::size_t k = r; k < end; ++k) y += 1.0f;
  }
}

}  // namespace

void rotate_nearest_by(RotateRow* copy, ConstView src, MutableView dst, std::size_t samples, float cosine, float sine) {
  if (samples == 1) {
    turn<1>(copy, src, dst, cosine, sine);
  } else {
    turn<3>(nullptr, src, dst, cosine, sine);
  }
}

void rotate_nearest_scalar(ConstView src, MutableView dst, std::size_t samples, float cosine, float sine) {
  rotate_nearest_by(nullptr, src, dst, samples, cosine, sine);
}

void rotate_nearest(ConstView src, MutableView dst, std::size_t samples, float cosine, float sine) {
  static const auto run = best(kRotateNearest);
  run(src, dst, samples, cosine, sine);
}

}  // namespace zel::kern
