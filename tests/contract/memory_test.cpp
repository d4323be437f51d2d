// Repeated calls leave nothing behind.
#include <malloc.h>

#include "support.hpp"
using namespace zel::test;

TEST(Memory, stays_flat) {
  TiffFile scan = device_tiff(16, 6, 1, noise(96, 1));
  Bytes grey = scan.bytes(), colour = device_tiff(16, 6, 3, noise(288, 1)).bytes(), out(40000), wide(6000);
  Bytes deep = TiffFile(scan).set(258, 3, shorts({16})).bytes(), other = TiffFile(scan).erase(kMake).bytes();
  unsigned char *const in = wide.data(), *const to = out.data();
  unsigned short t[64] = {};
  unsigned n = 0;
  double angle = 0;
  TiffImage image;
  std::size_t before = 0;
  for (int i = 0; i < 10100; ++i) {
    if (i == 100) before = mallinfo2().uordblks;
    for (Bytes* const tiff : {&grey, &colour, &deep, &other}) {
      for (const int f : {0, 2, 9, 10}) ZelIMPImageProc(tiff->data(), to, &n, f, i % 9, 0, i % 3, 0, 0, 0, &angle);
      image.load(tiff->data());
    }
    image.load(grey.data()), image.compress(to), ProcessTIFF_to_BMP(image, to, &n, 0);
    convertToMono2(in, to, 6000, 1, 25, 80), removeImageNoise(to, 20, 4, 2), ZelIMPColorToGray(in, 9, 9, to);
    ZelIMPDescramble_mono(in, 96, to, &n, 6, 16, 1), ZelIMPDescramble_color(in, 96, to, &n, 6, 16, 1);
    ZelIMPDescrambleCal_mono(in, 96, to, &n, 6, 16, 1, 0, 0, 0, 0, t, t, 1);
    ZelIMPDescrambleCal_color(in, 96, to, &n, 6, 16, 1, 0, 0, 0, 0, t, t, t, t);
  }
  EXPECT_EQ(mallinfo2().uordblks, before);
  image.clear();
}
