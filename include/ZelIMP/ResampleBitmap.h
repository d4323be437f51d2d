// Resampling engine. C++.
#ifndef ZELIMP_RESAMPLEBITMAP_H
#define ZELIMP_RESAMPLEBITMAP_H

#include <ZelIMP/export.h>

// Scales an image of 32-bit pixel words to another size.
//   src, dst             pixels of four bytes, rows top to bottom without padding; dst may be src, else no overlap
//   dstWidth, dstHeight  taken as 1 when they are 0 and as 4096 when they are more; dst has room for that many words
//   bitDepth             8, 24 or 32: the first one, three or four bytes of a word are channels, others are 0 in dst
//   filter               reconstruction filter, by its remainder modulo 13:
//                        0 bell            4 six-point cubic convolution  8 Lanczos 8     12 triangle (linear)
//                        1 box             5 cubic B-spline               9 Mitchell-Netravali
//                        2 Catmull-Rom     6 Hermite                     10 quadratic
//                        3 cosine          7 Lanczos 3                   11 quadratic B-spline
// Rows first, then columns, with channels rounded toward zero after each. Destination pixel i lies over source pixel
// i * src / dst, without a half pixel of offset: see <ZelIMP.hpp> for what that means. With equal sizes dst is a copy,
// bytes that are no channels included. Returns 0, or 1 and leaves dst as it is: a null buffer, a source without pixels
// or of more than 2^32 - 1 bytes, another bitDepth, no memory. Reentrant.
ZELIMP_API int CreateResampledBitmap(unsigned char* src, unsigned int srcWidth, unsigned int srcHeight,
                                     unsigned char* dst, unsigned int dstWidth, unsigned int dstHeight,
                                     unsigned char bitDepth, unsigned int filter);

#endif
