// The skew of a document, and both faces straightened at once.
#include <cmath>

#include "support.hpp"
using namespace zel::test;

// A border that goes from column top to column bottom within the rows examined. level: of its first four columns in one
// row, where it seems to jump. ratio 0: not accepted.
static void border(unsigned width, unsigned height, int left, int top, int bottom, int level, double ratio) {
  const int begin = int(height / 4), steps = std::max(2 * begin - 1, 1);
  Drawn image(width, height, 1, [=](int r, int c) {
    const int depth = (c - top - (bottom - top) * std::clamp(r - begin, 0, steps) / steps) * (left != 0 ? 1 : -1);
    return depth < 0 ? 3 : r == 2 * begin && depth < 4 ? level : 220;
  });
  double angle = 7;
  EXPECT_EQ(image.get_skew_angle(&angle, left), ratio == 0 ? 1 : 0) << top << ' ' << bottom << ' ' << level;
  EXPECT_DOUBLE_EQ(angle, ratio == 0 ? 7 : std::asin(ratio));
}

TEST(Skew, skew_limits) {
  border(300, 1000, 1, 200, 190, 220, 0.02), border(300, 1000, 1, 190, 200, 220, 0), border(9, 3, 1, 7, 5, 9, 0);
  border(300, 1000, 0, 190, 200, 220, 0.02), border(300, 1000, 0, 200, 190, 220, 0), border(9, 8, 1, 0, 0, 9, 0);
  border(300, 1000, 1, 200, 190, 5, 0.02), border(300, 1000, 0, 190, 200, 5, 0.02),
      border(300, 1000, 1, 200, 190, 4, 0);
  border(300, 1000, 1, 200, 96, 220, 0), border(300, 1003, 1, 200, 120, 220, 80 / 501.5);
  border(535, 61195, 1, 534, 0, 220, 534 / 30597.5);  // a little less than one degree
}

// Rows are shifted by at most one column. On the left the columns are not shifted, on the right the first one is.
TEST(Skew, skew_shears_are_mirrored) {
  const auto pixel = [](int r, int c) { return c < 20 - r / 50 ? (r + c) % 5 : 130 + (r * 31 + c * 17) % 126; };
  Drawn image(101, 100, 1, pixel), other_way(101, 100, 1, [&](int r, int c) { return pixel(99 - r, c); });
  const Drawn want(99, 100, 1, [&](int r, int c) {
    return r == 99 && c == 49 ? 0 : pixel(r + (c == 49), c < 49 ? c + (r < 50) : c + 1 + (r >= 50));
  });
  Bytes dst = untouched(9900);
  EXPECT_EQ(image.DeskewTiffCombo(nullptr, nullptr) + other_way.DeskewTiffCombo(&dst[kMargin], nullptr), 2);
  EXPECT_EQ(std::tuple(dst, image.width, other_way.height), std::tuple(untouched(9900), 101u, 100u));
  EXPECT_EQ(image.DeskewTiffCombo(&dst[kMargin], nullptr), 0);
  EXPECT_EQ(std::tuple(dst, image.width, image.height, image.imageSize),
            std::tuple(framed(want.pixels), 99u, 100u, 9900u));
}
