// Bi-level coding: ITU-T T.6 (Group 4) and packing to one bit a pixel. C++.
#ifndef ZELIMP_GROUP4_COMPRESSION_H
#define ZELIMP_GROUP4_COMPRESSION_H

#include <ZelIMP/export.h>

// A code word of ITU-T T.4 or T.6, one byte (0x00 or 0xFF) for each of its length bits, first transmitted bit first.
struct Group4Code {
  int length;
  unsigned char bits[24];
};

// The coder. Pixels are one byte each, rows back to back: 255 white, 0 black; any change of the byte value ends a run,
// and a byte other than 255 counts as black where a run takes its colour from it.
//
// compressImage and convertImageTo1Bit are the services. The other operations are the single steps of T.6 coding, for
// hosts that drive them and as the reference that compressImage is tested against: they work on the fields below and
// append one byte per code bit to output, which the caller makes large enough.
class ZELIMP_API Group4Compression {
 public:
  Group4Compression();

  // Codes width x height pixels of src to dst: no end-of-line codes, no fill bits, EOFB at the end, zero bits up to a
  // whole byte. *outSize: bytes written, which is all that dst needs (at most 2 * width * height + height / 8 + 8).
  void compressImage(const unsigned char* src, unsigned char* dst, unsigned int* outSize, unsigned int width,
                     unsigned int height);

  // Packs to 1 bit a pixel, first pixel in the top bit, 1 = 128 or more, every row padded to a whole byte with 0.
  // dst, *outSize: height * ((width + 7) / 8) bytes.
  void convertImageTo1Bit(const unsigned char* src, unsigned char* dst, unsigned int* outSize, unsigned int width,
                          unsigned int height);

  // Changing elements of row (coding line) and row - 1 (reference line; white before the first row). Positions run from
  // -1 (a0 before the row) to width ("none found"); from width on nothing is found.
  int detectA1(int row, int a0);
  int detectA2(int row, int a1);
  int detectB1(int row, int a0);
  int detectB2(int row, int b1);

  // Append code bits to output.
  void passModeCoding();
  void verticalModeCoding(int d);  // d = b1 - a1, -3 to 3; others append nothing
  void horizontalModeCoding(int row, int a0, int a1, int a2);
  void endOfFacsimileBlock();

  // Packs the outputLength bit-bytes of output into its beginning, unless bitMode is 1 already.
  void convertTo1Bit();

  // One packed byte (0 to 255) from eight bit-bytes of output or buffer from index on; 128 and more is a 1 bit.
  // Bit-bytes of output beyond outputLength count as 0.
  int convertByteToBit(int index);
  int convertByteToBit2(unsigned char* buffer, int index);

  const unsigned char* image;  // not owned: source pixels
  int width;                   // pixels a row
  unsigned char* output;       // not owned: destination
  unsigned int outputLength;   // code bits written; bytes once packed
  Group4Code passCode;
  Group4Code verticalCodes[7];  // indexed by d + 3
  Group4Code eofbCode;
  Group4Code whiteTerminating[64];  // runs 0 to 63
  Group4Code blackTerminating[64];
  Group4Code whiteMakeup[40];  // entry m: run 64 * (m + 1)
  Group4Code blackMakeup[40];
  int bitMode;  // 8 while output holds a byte per code bit, 1 once it holds packed bits
};

#endif
