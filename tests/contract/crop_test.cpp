// Where the document lies in one half of a scan.
#include <climits>

#include "support.hpp"
using namespace zel::test;

// Scans columns 1 to 900 of a row of six for columns whose pixels are even and odd in turn; the first two are black.
static void scan(int even, int odd, unsigned height, long left, long right) {
  Drawn image(6, height, 1, [&](int r, int c) { return c < 2 ? 0 : r % 2 == 0 ? even : odd; });
  long first = 0, last = 900;
  EXPECT_EQ(image.FindCropPoints(image.image + 1, &first, &last, 1, 1, 1), 0);
  image.FindCropPoints(image.image + 1, &first, &last, 1, 1, 1);  // what was found is found again
  EXPECT_EQ(std::pair(first, last), std::pair(left, right)) << even << ' ' << odd << ' ' << height;
  EXPECT_EQ(image.FindCropPoints(image.image, &last, &first, 1, 1, 1), 1);
}

TEST(Crop, crop_brightness_without_first_row) {
  scan(130, 130, 130, 1, 4), scan(130, 130, 129, 900, 900), scan(129, 129, 999, 900, 900), scan(0, 7, 8, 1, 4);
  scan(0, 6, 999, 900, 900), scan(255, 0, 1, 900, 900);
}

// The document ends in column 199 in the upper half of the rows, in 149 in the lower half.
static void edges(unsigned height, unsigned step, long left, long right, long threshold, long distance, long new_left,
                  long new_right, double skew) {
  Drawn image(300, height, step, [=](int r, int c) { return c < (2 * r < int(height) ? 200 : 150) ? 255 : 0; });
  EXPECT_EQ(step == 1 && right == 300 && distance == 150 ? image.FindSkewAngle() : skew, skew);
  const double angle = image.FindEdgeWithSkewAngle(image.image, &left, &right, threshold, distance, long(step));
  EXPECT_EQ(std::tuple(left, right, angle), std::tuple(new_left, new_right, skew)) << height << ' ' << threshold;
}

TEST(Crop, crop_unsigned_band_distance_and_crop_bright_area_is_edge) {
  edges(500, 1, 5, 300, 700, 150, 5, 199, -0.78539816339744828), edges(449, 1, 5, 300, 700, 150, 5, 199, 50 / 0x1p64);
  edges(450, 1, 5, 300, 700, 150, 5, 199, 0), edges(500, 1, 7, 9, 700, 150, 0, 9, 0);
  edges(500, 3, 5, 100, 1529, 150, 5, 97, 0), edges(500, 3, 5, 100, 1530, 150, 0, 100, 0);
  edges(449, 1, 5, 100, 700, 300, 0, 100, 0), edges(500, 1, -9, LONG_MAX, LONG_MIN, 150, 0, 297, 0);
  edges(500, 1, LONG_MIN, LONG_MAX, 0, LONG_MAX, 0, LONG_MAX, 0), edges(500, 2, 5, 300, 0, 1, 0, 300, 0);
}

// One bright row each where the upper, the middle and the lower band begin; the lower one ends with the image.
TEST(Crop, bands_begin_at_their_rows) {
  Drawn image(300, 60, 1, [](int r, int c) {
    const int begin = r == 30 ? 10 : 20, end = r == 1 ? 60 : r == 30 ? 100 : r == 57 ? 90 : 0;
    return c >= begin && c < end ? 255 : 0;
  });
  long left = 0, right = 300;
  const double skew = image.FindEdgeWithSkewAngle(image.image, &left, &right, 500, 1, 1);
  EXPECT_EQ(std::tuple(left, right, skew), std::tuple(9l, 98l, 0.47734538237367191));
}

// Halves of 300 columns, in which the document lies in columns 100 to 199.
static void automatic(unsigned samples, int side, unsigned first, unsigned count, double skew) {
  Drawn image(600, 140, samples, [](int r, int c) { return c % 300 / 100 != 1 ? (r + c) % 3 : 200 + (r + c) % 50; });
  CROP_PARAM param = {1, 0, 0, 0, 0, 0, 0, 10, 10, 700, 20, 0};
  Bytes dst = untouched(140 * count * samples), want;
  const unsigned char* row = &image.pixels[((side == 1 ? 300 : 0) + first) * samples];
  for (int r = 0; r < 140; ++r, row += 600 * samples) append(want, std::span(row, count * samples));
  double angle = 7;
  (image.*(samples == 1 ? &TiffImage::splitNcrop : &TiffImage::splitNcropColor))(&dst[kMargin], side, &param, &angle);
  EXPECT_EQ(std::tuple(dst, image.width, angle), std::tuple(framed(want), count, skew));
}

TEST(Crop, automatic) {
  automatic(1, 2, 100, 163, 7), automatic(1, 1, 38, 162, 7), automatic(3, 2, 98, 102, 0), automatic(3, 1, 98, 102, 0);
}
