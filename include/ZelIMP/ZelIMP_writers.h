// JPEG output through libtiff and libjpeg. C++.
//
// Both writers make a file of a fixed name in the temporary directory, read it back into output and leave it there with
// the same bytes: calls must not overlap, in one process or in several. The name must be free or belong to a regular
// file of the caller's user with no other link; anything else is left untouched and gives status 5.
#ifndef ZELIMP_WRITERS_H
#define ZELIMP_WRITERS_H

#include <ZelIMP/TiffImage.h>
#include <ZelIMP/export.h>

// image       8-bit grey (bitDepth below 16) or 24-bit colour pixels, imageSize bytes of them
// output      room for the whole file: its size depends on the picture and is not known before. 4 bytes for each sample
//             of the image, with width and height rounded up to multiples of 16, and 64 KiB are enough
// outputSize  bytes written
// quality     1 to 100; 0 means 75, values above 100, as negative ones are, mean 100
//
// Return 0, or 5 (ZELIMP_TEMPORARY_FILE) when the file could not be made, written, encoded or read back. Encoding fails
// without pixels, with fewer bytes than the pixels take, and with more than 65500 pixels a side. Nothing is printed.

// A TIFF of one JPEG-compressed strip in "/tmp/varnoketemp.tif". It carries the four texts and the resolution of the
// image, and the quality in the private tag 53249; the strip itself is always encoded with libtiff's own quality, 75.
ZELIMP_API unsigned int ProcessTIFF_JPG(TiffImage image, unsigned char* output, unsigned int* outputSize,
                                        unsigned int quality);

// A JFIF file in "/tmp/varnoketemp.jpg", with the image's resolution in dots per inch without its fraction, modulo
// 65536.
ZELIMP_API unsigned int ProcessJFIF_JPG(TiffImage image, unsigned char* output, unsigned int* outputSize,
                                        unsigned int quality);

#endif
