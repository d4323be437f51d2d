// Repeated calls leave nothing behind.
#include <malloc.h>

#include "support.hpp"
using namespace zel::test;

TEST(Memory, stays_flat) {
  const TiffFile scan = device_tiff(16, 6, 1, noise(96, 1));
  Bytes files[] = {scan.bytes(), device_tiff(16, 6, 3, noise(288, 1)).bytes(),
                   TiffFile(scan).set(258, 3, shorts({16})).bytes(), TiffFile(scan).erase(kMake).bytes()};
  unsigned char in[6000] = {}, to[40000];
  unsigned short t[64] = {};
  unsigned n = 0;
  double angle;
  std::size_t before = 0;
  TiffImage image;
  image.dib = static_cast<unsigned char*>(std::calloc(1, 1));  // not the writers' to free
  for (int i = 0; i < 10100; ++i) {
    if (i == 100) before = mallinfo2().uordblks;
    for (Bytes& tiff : files) {
      for (const int f : {0, 2, 9, 10}) ZelIMPImageProc(tiff.data(), to, &n, f, i % 9, 0, i % 3, 0, 0, 0, &angle);
      image.load(tiff.data());
    }
    image.load(files[0].data()), image.compress(to), ProcessTIFF_to_BMP(image, to, &n, 0);
    convertToMono2(in, to, 6000, 1, 25, 80), removeImageNoise(to, 20, 4, 2), ZelIMPColorToGray(in, 9, 9, to);
    ZelIMPDescramble_mono(in, 96, to, &n, 6, 16, 1), ZelIMPDescramble_color(in, 96, to, &n, 6, 16, 1);
    ZelIMPDescrambleCal_mono(in, 96, to, &n, 6, 16, 1, 0, 0, 0, 0, t, t, 1);
    ZelIMPDescrambleCal_color(in, 96, to, &n, 6, 16, 1, 0, 0, 0, 0, t, t, t, t);
  }
  EXPECT_EQ(mallinfo2().uordblks, before);
  image.clear(), image.ClearDIB();
}
