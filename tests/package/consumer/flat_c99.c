/* A C host of the flat interface: calls, and plain data in both directions. */
#include <ZelIMP.h>
#include <stdio.h>
#include <string.h>

int main(void) {
  /* Three raw lines of eight samples, 10 * line + index. Row k shows channel A (even) of line k and B of line k + 1. */
  static const struct {
    unsigned char flags; /* of the sensor layout; 1 is what a loaded library has */
    unsigned char scan[16];
  } cases[] = {{1, {6, 4, 2, 0, 11, 13, 15, 17, 16, 14, 12, 10, 21, 23, 25, 27}},
               {0, {11, 13, 15, 17, 0, 2, 4, 6, 21, 23, 25, 27, 10, 12, 14, 16}}};
  unsigned char raw[24];
  int failed = 0;
  for (int i = 0; i < 24; ++i) raw[i] = (unsigned char)(i / 8 * 10 + i % 8);

  failed |= SWAP_SIDES != 1 || Tarsis_7200 != 1;
  for (int i = 0; i < 2; ++i) {
    unsigned char scan[16] = {0};
    unsigned int size = 0;
    if (i != 0) SWAP_SIDES = Tarsis_7200 = cases[i].flags;
    unsigned int status = ZelIMPDescramble_mono(raw, sizeof raw, scan, &size, 3, 8, 1);
    if (status != 0 || size != 16 || memcmp(scan, cases[i].scan, 16) != 0) {
      printf("descrambling, flags %d: status %u, %u bytes, or the bytes themselves\n", cases[i].flags, status, size);
      failed = 1;
    }
  }

  ZelIMPSetCropParams(3, 0, 0, 0, 0, 0, 9);
  if (m_CropParam.leftMargin != 3 || m_CropParam.edgeThreshold != 700 || m_CropParam.auxFlag != 9) {
    printf("crop parameters: %d %d %d\n", m_CropParam.leftMargin, m_CropParam.edgeThreshold, m_CropParam.auxFlag);
    failed = 1;
  }
  return failed;
}
