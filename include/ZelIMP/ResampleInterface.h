/* Bitmaps from one resolution to another. C99; in C++ also the conversions between 8, 24 and 32 bits.
 *
 * Bitmaps are packed: rows top to bottom without padding, 1, 3 or 4 bytes a pixel, in any order. The new size is the
 * old one times targetResolution / sourceResolution, toward zero; only that quotient counts. */
#ifndef ZELIMP_RESAMPLEINTERFACE_H
#define ZELIMP_RESAMPLEINTERFACE_H

#include <ZelIMP/export.h>

ZELIMP_C_BEGIN

/* Bytes of the resampled bitmap: its bits modulo 2^32, divided by 8 toward zero, which is too little from 2^29 bytes
 * on. 0 when a size is not a number from 0 to 2^32 - 1. */
ZELIMP_API unsigned int ZelIMPGetOutputBufferSize(unsigned int width, unsigned int height, unsigned char bitsPerPixel,
                                                  double sourceResolution, double targetResolution);

/* Resample source (width x height) into target, which has room for ZelIMPGetOutputBufferSize bytes: 8 bits a pixel with
 * a triangle filter, 24 and 32 bits with a box filter. target may be source itself; else they must not overlap.
 *
 * *targetWidth and *targetHeight, never null, are written before anything else; a size that is not a number from 0 to
 * 2^32 - 1 is told as 0 and fails. No more than 4096 columns and rows are made: the rows of a larger target lie packed
 * at its beginning, and the rest is 0 with 8 and 24 bits and stays as it was with 32. A target without pixels stays
 * untouched with 8 and 24 bits; with 32 it gets pixels as if each zero were 1, and needs room for them.
 *
 * Return 0, or 1 with target untouched: a null buffer, a source without pixels, a size that cannot be, more than
 * 2^32 - 1 bytes at 32 bits a pixel in source or target, no memory. ZelIMPResample8BitBitmap measures its time and
 * thereby sets CounterStart: its calls must not overlap. */
ZELIMP_API int ZelIMPResample8BitBitmap(unsigned char* source, unsigned int width, unsigned int height,
                                        unsigned char* target, unsigned int* targetWidth, unsigned int* targetHeight,
                                        double sourceResolution, double targetResolution);
ZELIMP_API int ZelIMPResample24BitBitmap(unsigned char* source, unsigned int width, unsigned int height,
                                         unsigned char* target, unsigned int* targetWidth, unsigned int* targetHeight,
                                         double sourceResolution, double targetResolution);
ZELIMP_API int ZelIMPResample32BitBitmap(unsigned char* source, unsigned int width, unsigned int height,
                                         unsigned char* target, unsigned int* targetWidth, unsigned int* targetHeight,
                                         double sourceResolution, double targetResolution);

ZELIMP_C_END

#ifdef __cplusplus

/* Conversions between packed bitmaps. Return 0; 1 for a null buffer; 4 when sourceBytes times 4, 4/3, 3/4 or 1/4,
 * toward zero, is more than targetBytes. On 1 and 4 nothing is written. A target with more room is filled until the
 * source ends. source and target must not overlap. */

/* Byte i becomes byte 0 of word i; the other three stay as they are. */
ZELIMP_API int convert8to32(unsigned char* source, unsigned int sourceBytes, unsigned char* target,
                            unsigned int targetBytes);
/* Three bytes become a word whose last byte is 0. */
ZELIMP_API int convert24to32(unsigned char* source, unsigned int sourceBytes, unsigned char* target,
                             unsigned int targetBytes);
/* The first three bytes of every word. */
ZELIMP_API int convert32to24(unsigned char* source, unsigned int sourceBytes, unsigned char* target,
                             unsigned int targetBytes);
/* The first byte of every word. */
ZELIMP_API int convert32to8(unsigned char* source, unsigned int sourceBytes, unsigned char* target,
                            unsigned int targetBytes);

/* Exchanges first and last byte and so on. Returns 0, or 1 for a null buffer. */
ZELIMP_API int reverseByteOrder(unsigned char* buffer, unsigned int size);

#endif

#endif
