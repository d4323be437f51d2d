/* The scan pipeline: from a descrambled two-faced scan to a finished document image. C99 and C++. */
#ifndef ZELIMP_PIPELINE_H
#define ZELIMP_PIPELINE_H

#include <ZelIMP/CropParam.h>
#include <ZelIMP/export.h>

ZELIMP_C_BEGIN

/* Results of the processing entry points. */
#define ZELIMP_OK 0             /* success */
#define ZELIMP_NOT_LOADED 1     /* the input is not a scanner TIFF that can be loaded */
#define ZELIMP_UNSUPPORTED 2    /* neither 8-bit grey nor 24-bit colour, or not uncompressed */
#define ZELIMP_NO_SUCH_FORMAT 3 /* output format not available for this kind of input */
#define ZELIMP_TEMPORARY_FILE 5 /* a temporary file could not be used */

/* Turns one scanner TIFF, wholly in memory, into a document image in the caller's buffer.
 *
 *   tiff           8-bit grey or 24-bit colour, uncompressed, both faces side by side, descrambled; its offsets are
 *                  trusted. Not changed, unless side is 7: then the pixels of the left half are turned in place.
 *   output         room for the result. TIFF: 14 + 12 for each tag and for one more + the bytes of all values outside
 *                  the entries + the bytes of the strip (formats 0 and 9: of the coded image, at most 2 * pixels +
 *                  height / 8 + 8). Bitmap: 1078 + (width + 3) / 4 * 4 * height
 *   outputSize     bytes written
 *   format         0 Group 4 TIFF (grey), 2 TIFF (colour), 9 TIFF with 1 bit a pixel (grey), 10 bitmap (grey; colour
 *                  gives a TIFF); other values: TIFF as it came. 3, 4, 7, 8 are not available in this version.
 *   side           2 left half of the image, 1 right half, 7 left half turned by 180 degrees, other values all of it
 *   crop           colour with side 1 or 2: stored as cropMode when not 0; the crop itself is not available in this
 *                  version
 *   rotation       1 counter-clockwise quarter turn, 2 clockwise quarter turn, other values none
 *   thresholdMode  formats 0 and 9: 0 adaptive threshold (window 25, 80 percent), else fixed at level
 *   level          fixed threshold
 *   deskew         not available in this version
 *   skewAngle      0.0 once the input has loaded; radians
 *
 * Returns ZELIMP_OK or a status above; on 1, 2 and 3 nothing is written to output and *outputSize, on 1 nothing to
 * *skewAngle either. Lets std::bad_alloc through after releasing everything. Not reentrant: uses m_CropParam and the
 * row buffers of the adaptive threshold. */
ZELIMP_API unsigned int ZelIMPImageProc(unsigned char* tiff, unsigned char* output, unsigned int* outputSize,
                                        int format, int side, int crop, int rotation, int thresholdMode, int level,
                                        int deskew, double* skewAngle);

ZELIMP_C_END

#endif
