// Module ImagBox: strokes traced along their middle, and drawn dots.

#include <ZelIMP/ImagBox.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

#include "Dibapi.hpp"
#include "base/allocated.hpp"
#include "base/bytes.hpp"
#include "base/checked.hpp"

namespace {

using namespace zel;

constexpr std::size_t kMostPoints = 256;  // of a list, its end included
constexpr std::size_t kPointsRead = 255;  // of a list that is normalised
constexpr charline kSeparator = {-1, -1};

constexpr int kStrokeThreshold = 128;
constexpr std::size_t kShortestBranch = 4;
constexpr std::uint8_t kVisited = 254;  // from here on pixels are no ink, whatever the threshold
constexpr std::uint8_t kErased = 255;

struct Place {
  std::int64_t x, y;
};

// The dark pixels of an image.
class Strokes {
 public:
  Strokes(const GreyDib& image, int threshold)
      : pixels_(image.pixels), threshold_(std::min<int>(threshold, kVisited)) {}

  std::int64_t width() const { return static_cast<std::int64_t>(pixels_.width()); }
  std::int64_t height() const { return static_cast<std::int64_t>(pixels_.height()); }

  bool dark(std::int64_t x, std::int64_t y) const {
    return x >= 0 && y >= 0 && x < width() && y < height() && *at(x, y) < threshold_;
  }

  void mark(const charline& point, std::uint8_t value) const { *at(point.x, point.y) = value; }

 private:
  std::uint8_t* at(std::int64_t x, std::int64_t y) const { return pixels_.row_ptr(static_cast<std::size_t>(y)) + x; }

  MutableView pixels_;
  int threshold_;
};

// Clockwise from straight up.
constexpr std::array<Place, 8> kDirections = {{{0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}, {-1, 1}}};

// Grows with the cosine of the angle between the step and a direction, whose length is 1 or the root of 2: the square
// of their product, with its sign, in the same unit for all directions. Exact for steps within an image.
double straightness(const Place& step, const Place& direction) {
  const auto product = static_cast<double>(step.x * direction.x + step.y * direction.y);
  const bool diagonal = direction.x != 0 && direction.y != 0;
  return product * std::abs(product) * (diagonal ? 1 : 2);
}

// Moves the point to the dark neighbour that turns least from the step that led from before to it; without such a step,
// to the first one clockwise.
bool go_on(const Strokes& strokes, charline& point, const charline& before) {
  const Place step = {std::int64_t{point.x} - before.x, std::int64_t{point.y} - before.y};
  const Place* best = nullptr;
  for (const Place& direction : kDirections) {
    if (!strokes.dark(point.x + direction.x, point.y + direction.y)) continue;
    if (best == nullptr || straightness(step, direction) > straightness(step, *best)) best = &direction;
  }
  if (best == nullptr) return false;
  point = {static_cast<int>(point.x + best->x), static_cast<int>(point.y + best->y)};
  return true;
}

// How many dark pixels follow one another from the point on, without it.
int reach(const Strokes& strokes, const charline& point, int dx, int dy) {
  int n = 0;
  while (strokes.dark(point.x + std::int64_t{n + 1} * dx, point.y + std::int64_t{n + 1} * dy)) ++n;
  return n;
}

// Moves the point to the middle of the shorter one of the dark runs through it.
void centre(const Strokes& strokes, charline& point) {
  if (!strokes.dark(point.x, point.y)) return;
  const int left = reach(strokes, point, -1, 0), across = left + reach(strokes, point, 1, 0);
  const int below = reach(strokes, point, 0, -1), down = below + reach(strokes, point, 0, 1);
  if (across < down) point.x += across / 2 - left;
  if (down < across) point.y += down / 2 - below;
}

// Points, as many as leave room for two separators behind them.
class PointList {
 public:
  bool full() const { return count_ == kMostPoints - 2; }
  std::size_t room() const { return kMostPoints - 2 - count_; }
  void add(const charline& point) { points_[count_++] = point; }
  std::span<const charline> points() const { return std::span(points_).first(count_); }

 private:
  std::array<charline, kMostPoints> points_;
  std::size_t count_ = 0;
};

// Follows a stroke from a point on, which is not added, and marks its pixels.
void follow(const Strokes& strokes, charline point, PointList& stroke) {
  charline before = point;
  while (!stroke.full()) {
    charline next = point;
    if (!go_on(strokes, next, before)) return;
    centre(strokes, next);
    strokes.mark(next, kVisited);
    stroke.add(next);
    before = point;
    point = next;
  }
}

// The stroke that begins at a dark pixel.
PointList first_stroke(const Strokes& strokes, const charline& start) {
  PointList stroke;
  stroke.add(start);
  strokes.mark(start, kVisited);
  follow(strokes, start, stroke);
  return stroke;
}

// Adds what branches off a point, unless it is short: then it is erased.
void add_branch(const Strokes& strokes, const charline& start, PointList& list) {
  PointList branch;
  follow(strokes, start, branch);
  if (branch.points().size() < kShortestBranch) {
    for (const charline& point : branch.points()) strokes.mark(point, kErased);
  } else if (list.room() > 1) {
    list.add(kSeparator);
    for (const charline& point : branch.points()) {
      if (!list.full()) list.add(point);
    }
  }
}

// The first dark pixel of a rectangle, row by row; the separator when there is none.
charline first_dark(const Strokes& strokes, int x0, int y0, int x1, int y1) {
  const std::int64_t right = std::min<std::int64_t>(x1, strokes.width());
  for (std::int64_t y = std::max(y0, 0); y <= y1 && y < strokes.height(); ++y) {
    for (std::int64_t x = std::max(x0, 0); x < right; ++x) {
      if (strokes.dark(x, y)) return {static_cast<int>(x), static_cast<int>(y)};
    }
  }
  return kSeparator;
}

// A list of points that its owner frees, separators all of it.
template <class Point>
Point* new_points(std::size_t count, const Point& separator) {
  auto* const points = static_cast<Point*>(std::malloc(count * sizeof(Point)));
  if (points != nullptr) std::uninitialized_fill_n(points, count, separator);
  return points;
}

bool is_separator(const charline& point) { return point.x == -1; }

// The points to be normalised, up to where two separators follow each other.
std::span<const charline> points_of(const charline* list) {
  std::size_t n = 0;
  while (n < kPointsRead && !(is_separator(list[n]) && is_separator(list[n + 1]))) ++n;
  return {list, n};
}

// Dots as the punch makes them, in pixels.
constexpr double kDotRadius = 2.5;
constexpr double kDotPitchAcross = 6.5, kDotPitchDown = 8;
constexpr int kDigitWidth = 33, kDigitHeight = 54;
constexpr double kFirstDotAcross = 3, kFirstDotDown = 3;
constexpr int kDotSide = 8;
constexpr int kDigitColumns = 5, kDigitRows = 7;
constexpr int kWhite = 255;

// A white 8-bit image with a grey palette.
unsigned char* new_white_dib(int width, int height, MutableView& pixels) {
  constexpr std::size_t kPixelsAt = kInfoHeader + 256 * 4;
  const std::size_t stride = dib_stride(width), size = stride * static_cast<std::size_t>(height);
  unsigned char* const dib = allocate(kPixelsAt + size).release();
  if (dib == nullptr) return nullptr;
  store_u32(dib, kInfoHeader);
  store_u32(dib + 4, static_cast<std::uint32_t>(width));
  store_u32(dib + 8, static_cast<std::uint32_t>(height));
  store_u16(dib + 12, 1);  // planes
  store_u16(dib + 14, 8);  // bits
  store_u32(dib + 20, static_cast<std::uint32_t>(size));
  store_u32(dib + 32, 256);  // colours
  for (int i = 0; i < 256; ++i) std::memset(dib + kInfoHeader + i * 4, i, 3);
  std::memset(dib + kPixelsAt, kWhite, size);
  pixels = {dib + kPixelsAt, static_cast<std::size_t>(width), static_cast<std::size_t>(height), stride};
  return dib;
}

// A black dot whose edge is as grey as the part of the pixel that it covers, about.
void draw_dot(MutableView pixels, double centre_x, double centre_y) {
  for (std::size_t y = 0; y < pixels.height(); ++y) {
    for (std::size_t x = 0; x < pixels.width(); ++x) {
      const double dx = static_cast<double>(x) - centre_x, dy = static_cast<double>(y) - centre_y;
      const double covered = std::clamp(kDotRadius + 0.5 - std::sqrt(dx * dx + dy * dy), 0.0, 1.0);
      std::uint8_t& pixel = pixels.row(y)[x];
      pixel = std::min(pixel, static_cast<std::uint8_t>(kWhite * (1 - covered) + 0.5));  // toward zero
    }
  }
}

}  // namespace

int best_vicinity(unsigned char* dib, int* x, int* y, int threshold, charline* points, int n) {
  const auto image = grey_dib(dib);
  if (!image) return 0;
  charline point = {*x, *y};
  if (!go_on(Strokes(*image, threshold), point, points != nullptr && n > 0 ? points[n - 1] : point)) return 0;
  *x = point.x;
  *y = point.y;
  return 1;
}

int Center_Balance(unsigned char* dib, int* x, int* y, int threshold, int) {
  const auto image = grey_dib(dib);
  if (!image) return 0;
  charline point = {*x, *y};
  centre(Strokes(*image, threshold), point);
  *x = point.x;
  *y = point.y;
  return 0;
}

charline* ImageBox_liner(unsigned char* dib, int x0, int y0, int x1, int y1) {
  const auto image = grey_dib(dib);
  if (!image) return nullptr;
  charline* const result = new_points(kMostPoints, kSeparator);
  const Strokes strokes(*image, kStrokeThreshold);
  const charline start = first_dark(strokes, x0, y0, x1, y1);
  if (result == nullptr || is_separator(start)) return result;
  const PointList stroke = first_stroke(strokes, start);
  PointList list = stroke;
  for (const charline& point : stroke.points()) add_branch(strokes, point, list);
  std::ranges::copy(list.points(), result);
  return result;
}

charlinenorm* ImageBox_LineNorm(charline* points) {
  constexpr int kBeyond = 32000;
  constexpr charlinenorm kNormSeparator = {-1, -1};
  if (points == nullptr) return nullptr;
  const std::span<const charline> list = points_of(points);
  int greatest_y = 0, least_x = kBeyond, least_y = kBeyond;
  for (const charline& point : list) {
    if (is_separator(point)) continue;
    greatest_y = std::max(greatest_y, point.y);
    least_x = std::min(least_x, point.x);
    least_y = std::min(least_y, point.y);
  }
  charlinenorm* const result = new_points(kPointsRead + 2, kNormSeparator);
  if (result == nullptr) return nullptr;
  // KEPT: both by the greatest row, so that characters further up come out smaller: test line_norm.
  const auto scaled = [greatest_y](int value, int least) {
    return static_cast<float>(wrap_sub(value, least)) / static_cast<float>(greatest_y);
  };
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (!is_separator(list[i])) result[i] = {scaled(list[i].x, least_x), scaled(list[i].y, least_y)};
  }
  return result;
}

unsigned char* Make_font_holes(int digit) {
  if (digit < 0 || digit > 9) return nullptr;
  MutableView pixels;
  unsigned char* const dib = new_white_dib(kDigitWidth, kDigitHeight, pixels);
  if (dib == nullptr) return nullptr;
  const unsigned char* const glyph = MicroholesFont + digit * kDigitColumns * kDigitRows;
  for (int i = 0; i < kDigitColumns * kDigitRows; ++i) {
    const int column = i % kDigitColumns, row = kDigitRows - 1 - i / kDigitColumns;
    if (glyph[i] != 0) {
      draw_dot(pixels, kFirstDotAcross + column * kDotPitchAcross, kFirstDotDown + row * kDotPitchDown);
    }
  }
  return dib;
}

unsigned char* Make_dot() {
  MutableView pixels;
  unsigned char* const dib = new_white_dib(kDotSide, kDotSide, pixels);
  if (dib != nullptr) draw_dot(pixels, (kDotSide - 1) / 2.0, (kDotSide - 1) / 2.0);
  return dib;
}
