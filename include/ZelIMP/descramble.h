/* Descrambling: from the sensor's interleaved read-out to ordinary rows. C99, and one more function in C++.
 *
 * The read-out. A raw line holds the samples of two sensor channels interleaved byte by byte: even indices are channel
 * A, odd indices channel B. Channel B lags channel A by lag lines. A grey line is width bytes; a colour line is three
 * planes of width bytes one after the other, each interleaved in the same way.
 *
 * The result. Row k takes channel A of raw line k and channel B of raw line k + lag, each in its own half of the row.
 * With R the bytes of a row (width, or 3 * width) and H = R / 2, the first sample of each channel goes to
 *
 *   Tarsis_7200  SWAP_SIDES   channel A                channel B
 *   0            0            H, ascending             0, ascending
 *   0            1            H, ascending             H, ascending: overwrites channel A
 *   1            0            R - 1, descending        0, ascending
 *   1            1            H - 1, descending        H, ascending
 *
 * All routines: src and dst hold rows * R bytes each and must not overlap; no write ever lands outside dst. srcSize
 * serves the size formula only. The two flags are read when the call begins; nothing else is shared.
 */
#ifndef ZELIMP_DESCRAMBLE_H
#define ZELIMP_DESCRAMBLE_H

#include <ZelIMP/export.h>
#include <ZelIMP/globals.h>

ZELIMP_C_BEGIN

/* Grey. dst gets rows - lag rows of width bytes. *dstSize = srcSize - lag * width, modulo 2^32. Returns 0.
 * rows of 0 or less writes nothing. */
ZELIMP_API unsigned int ZelIMPDescramble_mono(const unsigned char* src, unsigned int srcSize, unsigned char* dst,
                                              unsigned int* dstSize, int rows, unsigned int width, int lag);

/* Colour. dst gets rows - lag rows of width pixels; rows beyond these are overwritten with channel A.
 * *dstSize = srcSize - 3 * lag * width, modulo 2^32. Returns 0.
 * A pixel of a descending channel has its three bytes in the order plane 3, 2, 1, else plane 1, 2, 3. */
ZELIMP_API unsigned int ZelIMPDescramble_color(const unsigned char* src, unsigned int srcSize, unsigned char* dst,
                                               unsigned int* dstSize, int rows, unsigned int width, unsigned int lag);

/* Grey with flat-field correction: every sample goes through Calibrate_ONE_Pixel on its way.
 *   whiteTable, blackTable   at least width entries each, or null: the samples pass unchanged. Channel A uses the
 *                            entries from width - 1 down (Tarsis_7200 set) or from width / 2 up, channel B those from
 *                            0 up, whatever SWAP_SIDES says.
 *   halveLines               0: every raw line; 1: the odd raw lines only; other values: the even raw lines only. Row k
 *                            then takes channel A of raw line 2k + s, channel B of raw line 2k + s + 2 * lag.
 *   spare2 to spare5         not used
 * Returns 0, or 1 when lag > rows as unsigned numbers: nothing is written, *dstSize neither.
 * *dstSize = srcSize - lag * width, modulo 2^32, also when halving. */
ZELIMP_API unsigned int ZelIMPDescrambleCal_mono(const unsigned char* src, unsigned int srcSize, unsigned char* dst,
                                                 unsigned int* dstSize, int rows, unsigned int width, unsigned int lag,
                                                 unsigned int spare2, unsigned int spare3, unsigned int spare4,
                                                 unsigned int spare5, const unsigned short* whiteTable,
                                                 const unsigned short* blackTable, int halveLines);

/* Colour with flat-field correction: a white table for each plane, one black table for all. Returns 0.
 * *dstSize = srcSize - 3 * lag * width, modulo 2^32.
 * A pixel of a descending channel A has its bytes in the order plane 1, 2, 3, of an ascending one 3, 2, 1 (the reverse
 * of ZelIMPDescramble_color); channel B has plane 1, 2, 3.
 * Table index of a pixel: with both flags set, from width - 1 down for channel A and from 0 up for channel B in every
 * line (width entries). With Tarsis_7200 clear it stays 0 for channel A. With SWAP_SIDES clear it is not reset at the
 * start of a line but runs on from 0, so that tables need rows * (width / 2) entries; below 0 a sample passes
 * unchanged. */
ZELIMP_API unsigned int ZelIMPDescrambleCal_color(const unsigned char* src, unsigned int srcSize, unsigned char* dst,
                                                  unsigned int* dstSize, int rows, int width, unsigned int lag,
                                                  unsigned int spare2, unsigned int spare3, unsigned int spare4,
                                                  unsigned int spare5, const unsigned short* whitePlane1,
                                                  const unsigned short* whitePlane2, const unsigned short* whitePlane3,
                                                  const unsigned short* blackTable);

ZELIMP_C_END

#ifdef __cplusplus

// Flat-field correction of one sample: with B = black[index] and W = white[index] it is 0 up to B; sample - B when
// B >= W; else (sample - B) * 255 / (W - B) toward zero, or -1 where that is above 255. Callers keep the low byte, so
// that -1 is 255. A null table: the sample itself.
ZELIMP_API int Calibrate_ONE_Pixel(unsigned char sample, const unsigned short* white, const unsigned short* black,
                                   int index);

#endif

#endif
