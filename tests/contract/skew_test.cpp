// The skew of a document, and both faces straightened at once.
#include <cmath>

#include "support.hpp"
using namespace zel::test;

// A border that goes from column top to column bottom within the rows examined, the only ones that are not black.
// level: of its first four columns in one row, where it seems to jump. ratio 0: not accepted.
static void border(unsigned width, unsigned height, int left, int top, int bottom, int level, double ratio) {
  const int begin = int(height / 4), steps = std::max(2 * begin - 1, 1);
  Drawn image(width, height, 1, [=](int r, int c) {
    const int depth = (c - top - (bottom - top) * (r - begin) / steps) * (left != 0 ? 1 : -1);
    return depth < 0 || r < begin || r > begin + steps ? 2 : r == 2 * begin && depth < 4 ? level : 220;
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
  border(300, 1000, 1, 200, 113, 220, 0), border(300, 1000, 1, 200, 114, 220, 0.172), border(300, 99, 1, 200, 99, 9, 0);
  border(300, 1000, 1, 200, 96, 220, 0), border(300, 1003, 1, 200, 120, 220, 80 / 501.5);
  Drawn bulge(300, 1000, 1, [](int r, int c) { return std::abs(c - 150) + std::abs(r - 500) / 15 < 99 ? 255 : 0; });
  double angle = 0;
  EXPECT_EQ(bulge.get_skew_angle(&angle, 1) + bulge.get_skew_angle(&angle, 0), 0);
  border(535, 61195, 1, 534, 0, 220, 534 / 30597.5);  // a little less than one degree
}

TEST(Skew, skew_shears_are_mirrored) {
  const auto pixel = [](int r, int c) { return c < 20 - r / 50 ? (r + c) % 5 : 130 + (r * 31 + c * 17) % 126; };
  Drawn image(401, 100, 1, pixel), other_way(401, 100, 1, [&](int r, int c) { return pixel(99 - r, c); });
  Drawn rear(401, 100, 1, [&](int r, int c) { return pixel(r, 400 - c); });
  Drawn narrow(4, 100, 1, [](int r, int c) { return c < 3 - r / 20 ? 0 : 255; });  // nothing would be left
  const Drawn want(399, 97, 1, [&](int r, int c) {
    const double slope = std::tan(std::asin(0.02));
    const int row = r + int((c < 199 ? c : 399 - c) * slope), column = int((c < 199 ? 99 - r : r) * slope);
    return row == 100 ? 0 : pixel(row, c < 199 ? c + column : c + 1 + column);
  });
  Bytes dst = untouched(399 * 97);
  EXPECT_EQ(image.DeskewTiffCombo(nullptr, nullptr) + other_way.DeskewTiffCombo(&dst[kMargin], nullptr), 2);
  EXPECT_EQ(narrow.DeskewTiffCombo(&dst[kMargin], nullptr), 1);
  EXPECT_EQ(std::tuple(dst, image.width, other_way.height), std::tuple(untouched(399 * 97), 401u, 100u));
  EXPECT_EQ(image.DeskewTiffCombo(&dst[kMargin], nullptr), 0);
  EXPECT_EQ(std::tuple(dst, image.width, image.height, image.imageSize),
            std::tuple(framed(want.pixels), 399u, 97u, 399u * 97u));
  EXPECT_EQ(rear.DeskewTiffCombo(&dst[kMargin], nullptr), 0);
}
