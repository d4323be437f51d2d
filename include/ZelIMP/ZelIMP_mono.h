/* From grey to bi-level, and from colour to grey. C99 for the entry point, C++ for the steps.
 *
 * Images are one byte a pixel, rows top to bottom without padding. Bi-level images hold 0 (black) and 255 (white).
 */
#ifndef ZELIMP_MONO_H
#define ZELIMP_MONO_H

#include <ZelIMP/export.h>
#include <ZelIMP/globals.h>

ZELIMP_C_BEGIN

/* Grey levels of width * height pixels of three bytes: first * 30 / 100 + second * 59 / 100 + third * 11 / 100, each
 * quotient toward zero, so that white gives 254. rgb: 3 * width * height bytes, grey: width * height. Returns 0. */
ZELIMP_API unsigned int ZelIMPColorToGray(unsigned char* rgb, unsigned int width, unsigned int height,
                                          unsigned char* grey);

ZELIMP_C_END

#ifdef __cplusplus

// Adaptive threshold: white where the pixel reaches percent of the mean of a window x window square, the mean being
// the window's sum over its full area even where the image's edge clips it. Two habits of the scanner's bi-level images
// are kept: every decision uses the window of the next pixel in raster order, so that the last pixel of dst is never
// written; and from column window / 2 + 1 on all sums include an excess, the sum of the first window / 2 + 1 pixels of
// column 0. window from 1 to 46340, else nothing is written. dst must not overlap src.
// Uses m_squareValue and m_prevSquareValue for widths from window / 2 + 1 to ZELIMP_ROW_SUMS. Returns 0.
ZELIMP_API int convertToMono2(unsigned char* src, unsigned char* dst, int width, int height, int window, int percent);

// Fixed threshold: black below threshold, else white. Returns 0.
ZELIMP_API int convertToMonoThreshold(unsigned char* src, unsigned char* dst, int width, int height, int threshold);

// Whitens, in raster order and in place, every black pixel for which hasNeighbors is false. Returns 0.
ZELIMP_API int removeImageNoise(unsigned char* image, int width, int height, int minCount);

// Whether the pixel at (row, col) is white, or its 3 x 3 block (clipped to the image), itself included, holds more than
// minCount black pixels: (pixels of the block - minCount) * 255 > sum of the block. True outside the image.
ZELIMP_API bool hasNeighbors(unsigned char* image, int width, int height, int minCount, int row, int col);

// Window sums S(row, col): all pixels in rows row - half to row + half and columns col - half to col + half, clipped to
// the image. Directly; from previous = S(row, col - 1), directly when that is negative; for column 0 from
// previous = S(row - 1, 0); and from three known sums in two row buffers. The column step never subtracts column 0.
ZELIMP_API int getSquareValue(unsigned char* image, int width, int height, int row, int col, int half);
ZELIMP_API int getSquareValue(unsigned char* image, int width, int height, int row, int col, int half, int previous);
ZELIMP_API int getSquareValueNewLine(unsigned char* image, int width, int height, int row, int half, int previous);
ZELIMP_API int getSquareValueFast(unsigned char* image, int width, int height, int row, int col, int half,
                                  int* previousRow, int* currentRow);

#endif

#endif
