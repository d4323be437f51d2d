// Bitmaps made from images, and the library's shared image. C++.
#ifndef ZELIMP_MANAGE_TIFF_H
#define ZELIMP_MANAGE_TIFF_H

#include <ZelIMP/TiffImage.h>
#include <ZelIMP/export.h>

// The shared image object, constructed when the library is loaded and destroyed when it is unloaded.
extern ZELIMP_API TiffImage TI;

// Writes a Windows bitmap file image of an 8-bit image: BITMAPFILEHEADER, BITMAPINFOHEADER, 256 grey palette entries
// (i, i, i, i), rows bottom-up, each padded to rowBytes = (width + 3) / 4 * 4 with the bytes that follow it in the
// image (0 past its end). output, *outputSize: 1078 + rowBytes * height bytes. level is not used. Returns 0.
ZELIMP_API unsigned int ProcessTIFF_to_BMP(TiffImage image, unsigned char* output, unsigned int* outputSize,
                                           unsigned int level);

// Writes a Windows bitmap file image with 32 bits a pixel of a 24-bit image: rows bottom-up, the three bytes of a pixel
// in reverse order and a 0; pixels past the end of the image are 0. output, *outputSize: 54 + 4 * width * height bytes.
// level is not used. Returns 0.
ZELIMP_API unsigned int ProcessTIFF_to_BMP_Color(TiffImage image, unsigned char* output, unsigned int* outputSize,
                                                 unsigned int level);

#endif
