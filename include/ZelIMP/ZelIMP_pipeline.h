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
 *                  height / 8 + 8). Bitmap: 1078 + (width + 3) / 4 * 4 * height. JPEG: as many bytes as the pixels and
 *                  some thousand more are ample for documents; noise at quality 100 takes up to twice that
 *   outputSize     bytes written
 *   format         0 Group 4 TIFF (grey), 2 TIFF (colour), 3 and 4 JPEG-compressed TIFF (grey, colour), 7 and 8 JFIF
 *                  (grey, colour), 9 TIFF with 1 bit a pixel (grey), 10 bitmap (grey; colour gives a TIFF); other
 *                  values: TIFF as it came
 *   side           2 left half of the image, 1 right half, 7 left half turned by 180 degrees, other values all of it
 *   crop           colour with side 1 or 2: 0 none; other values are stored as cropMode, and the half is cropped as
 *                  splitNcropColor does by the crop parameters: 1 automatically, others by fixed margins
 *   rotation       1 counter-clockwise quarter turn, 2 clockwise quarter turn, other values none
 *   thresholdMode  formats 0 and 9: 0 adaptive threshold (window 25, 80 percent), else fixed at level
 *   level          fixed threshold; formats 3, 4, 7, 8: quality from 1 to 100, 0 means 75 and more than 100 means 100
 *   deskew         2 corrects the skew: of a grey scan before anything else (DeskewTiffCombo); of a colour scan only
 *                  when an automatic crop has found more than one degree and a quarter turn follows (DeskewTiffColor).
 *                  1, colour only: measures
 *   skewAngle      0.0 once the input has loaded; where a colour scan was measured or corrected, its skew in radians
 *
 * Returns ZELIMP_OK or a status above; on 1, 2 and 3 nothing is written to output and *outputSize, on 1 nothing to
 * *skewAngle either; on 5 *outputSize may be set. Lets std::bad_alloc through after releasing everything. Not
 * reentrant: uses m_CropParam and the row buffers of the adaptive threshold. */
ZELIMP_API unsigned int ZelIMPImageProc(unsigned char* tiff, unsigned char* output, unsigned int* outputSize,
                                        int format, int side, int crop, int rotation, int thresholdMode, int level,
                                        int deskew, double* skewAngle);

ZELIMP_C_END

#endif
