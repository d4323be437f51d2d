// Turns, the turn of one face, and splits, on pictures of letters.
#include "support.hpp"
using namespace zel::test;

// Takes a step of an image and compares what it wrote, to dst or in place, and the sizes it left. The number of letters
// tells colour, three a pixel, from grey.
static void check(auto step, unsigned width, unsigned height, const char* before, std::string_view after,
                  unsigned new_width, unsigned new_height, auto... side) {
  const Bytes pixels = ascii(before);
  const auto samples = static_cast<unsigned>(pixels.size()) / width / height;
  Bytes file = device_tiff(width, height, samples, pixels).bytes(), dst = untouched(32), want = dst;
  TiffImage image;
  EXPECT_EQ(image.load(file.data()), 0);
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
  image.clear();
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
