/* A C host of the flat interface: calls, and plain data in both directions. Its status tells what failed. */
#include <ZelIMP.h>
#include <string.h>

int main(void) {
  /* Three raw lines of eight samples, 10 * line + index. Row k shows channel A (even) of line k and B of line k + 1. */
  static const unsigned char expected[16] = {11, 13, 15, 17, 0, 2, 4, 6, 21, 23, 25, 27, 10, 12, 14, 16};
  unsigned char raw[24], scan[16] = {0};
  unsigned int size = 0;
  for (int i = 0; i < 24; ++i) raw[i] = (unsigned char)(i / 8 * 10 + i % 8);

  if (SWAP_SIDES != 1 || Tarsis_7200 != 1) return 1; /* of a loaded library */
  SWAP_SIDES = Tarsis_7200 = 0;
  if (ZelIMPDescramble_mono(raw, sizeof raw, scan, &size, 3, 8, 1) != 0 || size != sizeof scan) return 2;
  if (memcmp(scan, expected, sizeof scan) != 0) return 3;
  ZelIMPSetCropParams(3, 0, 0, 0, 0, 0, 9);
  return m_CropParam.leftMargin == 3 && m_CropParam.edgeThreshold == 700 && m_CropParam.auxFlag == 9 ? 0 : 4;
}
