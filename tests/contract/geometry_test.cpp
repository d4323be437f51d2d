// Turns, the turn of one face, splits and crops to fixed margins, on pictures of letters.
#include <climits>
#include <cmath>

#include "support.hpp"
using namespace std::string_view_literals;
using namespace zel::test;

// Takes a step of an image and compares what it wrote, to dst or in place, and the sizes it left. The number of letters
// tells colour, three a pixel, from grey.
static void check(auto step, unsigned width, unsigned height, const char* before, std::string_view after,
                  unsigned new_width, unsigned new_height, auto... side) {
  const Bytes pixels = ascii(before);
  const auto samples = static_cast<unsigned>(pixels.size()) / width / height;
  Bytes file = device_tiff(width, height, samples, pixels).bytes(), dst = untouched(32), want = dst;
  LoadedImage image(file);
  if constexpr (std::is_invocable_v<decltype(step), TiffImage&>) {
    (image.*step)();
    EXPECT_EQ(Bytes(image.image, image.image + pixels.size()), ascii(after));
  } else {
    (image.*step)(&dst[kMargin], side...);
    std::copy(after.begin(), after.end(), &want[kMargin]);
  }
  EXPECT_EQ(dst, want) << after;
  EXPECT_EQ(std::tuple(image.width, image.height, image.imageSize, image.header->getWidth(), image.header->getHeigth()),
            std::tuple(new_width, new_height, new_width * new_height * samples, new_width, new_height));
}

TEST(Geometry, turns_and_flip_colour_odd_width_and_split_colour_odd_width) {
  check(&TiffImage::rotate90, 4, 2, "abcdefgh", "eafbgchd", 2, 4);
  check(&TiffImage::rotate270, 4, 2, "abcdefgh", "dhcgbfae", 2, 4);
  check(&TiffImage::rotate180, 4, 2, "abcdefgh", "hgfedcba", 4, 2);
  check(&TiffImage::rotate90color, 2, 2, "abcdefABCDEF", "ABCabcDEFdef", 2, 2);
  check(&TiffImage::rotate270color, 3, 1, "abcdefghi", "ghidefabc", 1, 3);
  check(&TiffImage::FlipOneSide, 4, 3, "abcdefghijkl", "jicdfeghbakl", 4, 3);
  check(&TiffImage::FlipOneSide, 3, 3, "abcdefghi", "hbcdefgai", 3, 3);
  check(&TiffImage::FlipOneSideColor, 2, 3, "abcdefghijklmnopqr", "mnodefghijklabcpqr", 2, 3);
  check(&TiffImage::FlipOneSideColor, 5, 2, "abcdefghijklmnoABCDEFGHIJKLMNO", "FGHCDEghijklmnoABdefabcIJKLMNO", 5, 2);
  check(&TiffImage::split, 5, 2, "abcdeABCDE", "cdCD", 2, 2, 1);
  check(&TiffImage::split, 4, 2, "abcdABCD", "abAB", 2, 2, 2);
  check(&TiffImage::splitColor, 3, 2, "abcdefghiABCDEFGHI", "abcdABCD", 1, 2, 2);
  check(&TiffImage::splitColor, 3, 2, "abcdefghiABCDEFGHI", "efghEFGH", 1, 2, 1);
  check(&TiffImage::splitColor, 2, 1, "abcdef", "", 2, 1, 0);
}

TEST(Geometry, skew_rotation_keeps_size_and_skew_truncation_toward_zero) {
  int w = 0, h = 0;
  check(&TiffImage::DeskewTiff, 3, 3, "abcdefghi", "gdbghf\0ii"sv, 3, 3, std::atan(1.0), &w, &h);
  check(&TiffImage::DeskewTiffColor, 4, 1, "abcdefghijkl", "\0\0\0\0\0\0\0\0\0ghi"sv, 4, 1, 2 * std::atan(1.0), &w, &h);
  check(&TiffImage::DeskewTiff, 3, 1, "abc", "\0\0\0"sv, 3, 1, double{NAN}, &w, &h);
  Drawn(2, 5, 1, std::plus()).DeskewTiff(nullptr, 0, &w, &h);
  EXPECT_EQ(std::pair(w, h), std::pair(2, 5));
}

// Crops a row of two halves of six columns and one between, and in colour one of twice two and one.
static void crop(int side, int mode, int left, int right, int length, std::string_view grey, std::string_view colour) {
  CROP_PARAM param = {mode, 0, 0, 0, 0, 0, 0, left, right, 700, 150, length};
  const auto [grey_width, width] = std::pair(unsigned(grey.size()), unsigned(colour.size() / 3));
  check(&TiffImage::splitNcrop, 13, 1, "abcdefghijklm", grey, grey_width, 1, side, &param, nullptr);
  check(&TiffImage::splitNcropColor, 5, 1, "abcdefghijklmno", colour, width, 1, side, &param, nullptr);
}

TEST(Geometry, crop_left_half_from_first_column_and_crop_right_half_length_and_crop_colour_odd_width) {
  crop(2, 2, 0, 1, 4, "abcd", "abcdef"), crop(2, 2, -1, 1, 4, "abcde", "abcdef"), crop(2, 7, 1, 1, 9, "bcdef", "def");
  crop(1, 2, 0, 1, 4, "jkl", "hijklm"), crop(1, 2, 2, 1, 9, "ijkl", "klm"), crop(2, 2, 9, 1, 3, "", "def");
  crop(1, 2, 2, 1, 4, "ijkl", "klm"), crop(1, 2, 0, 1, 9, "ghijkl", "hijklm");
  CROP_PARAM automatic = {1, 0, 0, 0, 0, 0, 0, 0, 0, 700, 150, 0};  // of halves without a column
  check(&TiffImage::splitNcrop, 1, 1, "a", "", 0, 1, 2, &automatic, nullptr);
  check(&TiffImage::splitNcropColor, 1, 1, "abc", "", 0, 1, 1, &automatic, nullptr);
  crop(2, 2, INT_MIN, INT_MIN, INT_MAX, "abcdef", "abcdef"), crop(1, 2, INT_MIN, INT_MAX, INT_MIN, "", "");
}
