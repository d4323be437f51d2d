// The image that every scan operation works on: facts, pixels and header of a scanner TIFF. C++.
#ifndef ZELIMP_TIFF_IMAGE_H
#define ZELIMP_TIFF_IMAGE_H

#include <ZelIMP/CropParam.h>
#include <ZelIMP/Group4Compression.h>
#include <ZelIMP/TiffHeader.h>
#include <ZelIMP/export.h>
#include <vector>

// Pixels are 8-bit grey or 24-bit colour (three bytes a pixel), rows top to bottom without padding, in one strip.
//
// Ownership: image is never owned; after load it points into the caller's file buffer, later to whatever SetImage was
// given. header is owned but released by clear() and load() only, not by the destructor; dib is released by ClearDIB()
// and by the destructor. Copies share all three: give at most one of them a dib, and clear() one of them at most.
//
// Operations that take a destination leave the pixels alone and write dst, which the caller provides (not overlapping)
// and installs with SetImage. They already set the new width, height and imageSize here and in the header: calling one
// twice without SetImage reads the old pixels with the new size. Sizes are the caller's business throughout.
class ZELIMP_API TiffImage {
 public:
  TiffImage();
  ~TiffImage();

  // The steps of load and save; a subclass may replace any of them.

  // Creates header, loads it, runs examineTiffTags and identifies the maker. Returns 0, or -1 when the file is not a
  // little-endian TIFF or its Make value is not one of the device's, NUL included.
  virtual int loadTagsAndHeader(unsigned char* file);
  // Copies the header's facts into the fields; texts are cut at 80 bytes.
  virtual void examineTiffTags();
  // Sets image and imageSize from the one strip. Returns 0, or -1 unless there is exactly one StripOffsets and one
  // StripByteCounts value.
  virtual int loadImageData(unsigned char* file);
  // Writes header and directory for one strip of height rows and imageSize bytes. Returns 0.
  virtual int saveTagsAndHeader(unsigned char* file);
  // Copies imageSize bytes of image to file + header->dataOffset. Returns 0.
  virtual int saveImageData(unsigned char* file);

  // Loads a TIFF that is wholly in memory and stays there while the image is in use. The file's offsets are trusted
  // (the checked interface verifies them first). Returns 0, or -1 on any failure, with the fields set as far as read.
  virtual int load(unsigned char* file);
  // Writes the whole TIFF: GetTiffSize() bytes. Returns 0. Without a header nothing is written.
  virtual int save(unsigned char* file);
  // Prints nothing; returns 0.
  virtual int displayTags();
  // Deletes header, sets the facts from width to numberOfStrips to 0 and empties the strip lists. imageSize, image,
  // the resolutions, the texts and dib stay.
  virtual void clear();

  // Frees dib.
  void ClearDIB();

  unsigned int GetImageWidth() const;     // pixels
  unsigned int GetImageHeight() const;    // rows
  unsigned int GetImageBitDepth() const;  // bits a pixel
  unsigned int GetImageSize() const;      // bytes at image
  unsigned short GetImageCompression() const;
  double GetXRes() const;  // dots per unit of the file, whole
  double GetYRes() const;
  unsigned char* GetImage() const;
  void SetImage(unsigned char* pixels);  // no copy, no ownership
  char* GetMakeString();
  char* GetModelString();
  char* GetDescriptionString();
  char* GetSoftwareString();
  unsigned int GetTiffSize() const;  // bytes that the next save writes

  // Descramble the read-out into dst (width * height * samples bytes) with the routines of <ZelIMP/descramble.h>, which
  // explains the arguments, and shorten the image by dropLines, the lag: height and imageSize become those of the
  // result, 0 when dropLines exceeds the rows. With halveLines the height is (height - 2 * dropLines) / 2. Return 0.
  int DescrambleMono(unsigned char* dst, unsigned int dropLines);
  int DescrambleColor(unsigned char* dst, unsigned int dropLines);
  int DescrambleCalMono(unsigned char* dst, unsigned int dropLines, unsigned int spare2, unsigned int spare3,
                        unsigned int spare4, unsigned int spare5, unsigned short* whiteTable,
                        unsigned short* blackTable, int halveLines);
  int DescrambleCalColor(unsigned char* dst, unsigned int dropLines, unsigned int spare2, unsigned int spare3,
                         unsigned int spare4, unsigned int spare5, unsigned short* whitePlane1,
                         unsigned short* whitePlane2, unsigned short* whitePlane3, unsigned short* blackTable);

  // Codes the 8-bit image as Group 4 into dst (at most 2 * width * height + height / 8 + 8 bytes). bitDepth becomes 1,
  // compression 4; the header's tags likewise, with T6Options 0 added and PhotometricInterpretation 0 (white is zero).
  // The photometric field stays as loaded. Returns 0.
  int compress(unsigned char* dst);
  // Packs the 8-bit image to 1 bit a pixel (height * ((width + 7) / 8) bytes); bitDepth becomes 1. Returns 0.
  int convertTo1Bit(unsigned char* dst);

  // Quarter turns: clockwise (90) and counter-clockwise (270); width and height are exchanged. dst: as many bytes as
  // the pixels have.
  int rotate90(unsigned char* dst);
  int rotate270(unsigned char* dst);
  int rotate90color(unsigned char* dst);
  int rotate270color(unsigned char* dst);
  // Half turn of a grey image; no field changes.
  int rotate180(unsigned char* dst);

  // Half turn of the left half of a two-faced image, in place; the right half stays.
  int FlipOneSide();
  int FlipOneSideColor();  // even widths only: an odd one exchanges bytes that are not aligned to pixels

  // Copies one half of every row: side 2 the left half, side 1 the right half; other values do nothing at all.
  // width becomes width / 2.
  void split(unsigned char* dst, int side);
  void splitColor(unsigned char* dst, int side);

  // Cropping. A face lies on an even, dark background, and only columns are cropped. They are counted from the first
  // one of the half, which is width / 2 pixels wide and begins at img, in the first row of the pixels. Left and right
  // bounds are in-out: the columns to search, then those found. Columns that do not exist are never document.

  // Grey detector. A column is document when the sum of its pixels without row 0, divided by height, exceeds 128, or
  // the sum of the differences down the column, divided by height, exceeds 5 (both quotients without their fraction).
  // With scanLeft *left moves to the first such column from *left to *right - 1, to *right if there is none; then with
  // scanRight *right moves to the last one from *left + 1 to *right, to *left if there is none. ignored: nothing
  // depends on it. Returns 1, bounds untouched, when *left >= *right; else 0.
  int FindCropPoints(unsigned char* img, long* left, long* right, long ignored, int scanLeft, int scanRight);

  // Edge detector. Looks at columns *left to *right - 3 of three bands of three rows: from row height / 2 on, and with
  // D = distance * 3 / 2 from height - D - 2 and from D on. A column counts when it is an edge of more than threshold
  // or lies on paper brighter than about a sixth of it. *left becomes the least first counting column (0 in a band
  // without any, and in one that is not wholly inside the image), *right the greatest last one (*right unchanged in
  // such a band). Returns the skew in radians that the last columns of the lower and the upper band show, 0.0 when
  // height is 2 * D. step: bytes a pixel, 1 or 3. Less than three columns: *left becomes 0, the result is 0.0.
  double FindEdgeWithSkewAngle(unsigned char* img, long* left, long* right, long threshold, long distance, long step);

  // split and splitColor that keep only the document's columns: dst gets them without padding (at most
  // height * (width / 2) pixels), width and imageSize are set, the height stays. Bounds outside the half end at its
  // first or last column; crossed ones keep nothing, width 0. Other sides do nothing at all.
  //   param->cropMode 1: grey, the left half from the first document column found to column width / 2 - 38, the
  //     right half from column 38 to the last one found; colour, both bounds found by the edge detector between
  //     leftMargin and rightMargin with edgeThreshold and edgeRowDistance, and *angle, unless null, gets the skew.
  //   any other: fixed margins. Left half: column leftMargin to maxLength, but at most to width / 2 - rightMargin; in
  //     grey one column less when leftMargin is 0. Right half: up to width / 2 - rightMargin, from
  //     width / 2 + 1 - maxLength or, if maxLength is not below width / 2 - leftMargin, from leftMargin on.
  // Grey never writes *angle.
  void splitNcrop(unsigned char* dst, int side, CROP_PARAM* param, double* angle);
  void splitNcropColor(unsigned char* dst, int side, CROP_PARAM* param, double* angle);

  // Skew of a grey page in radians: FindEdgeWithSkewAngle on the whole width with threshold 700 and distance 150.
  double FindSkewAngle();

  // Turn the image by angle (radians) about its centre into dst (as many bytes as the pixels have), nearest pixel,
  // black where there is none. Positive angles turn clockwise. The size stays and is stored at *newWidth and
  // *newHeight, which is all that happens when dst is null.
  void DeskewTiff(unsigned char* dst, double angle, int* newWidth, int* newHeight);
  void DeskewTiffColor(unsigned char* dst, double angle, int* newWidth, int* newHeight);

  // Skew of a grey document from its left border (fromLeft not 0) or its right one, traced over the middle half of the
  // rows. Returns 0 and the angle in radians, always positive, or 1 with *angle untouched: no border that moves by at
  // most 3 columns a row at any of the levels 128, 64 ... 4, less than 1 or more than 10 degrees, or leaning the wrong
  // way. A left border must move to the left on its way down, a right one to the right.
  int get_skew_angle(double* angle, int fromLeft);

  // Straightens both faces of a grey image at once, by shears of mirrored sense, with the skew of the left border, else
  // of the right one. Width becomes width - 2 * S and height height - V, with S and V the largest shifts of a row and
  // of a column of one face; imageSize follows. dst: that many bytes, at most width * height. angle: not used.
  // Returns 0, or 1 with the image untouched: dst is null, no acceptable skew, nothing would be left, or out of memory.
  int DeskewTiffCombo(unsigned char* dst, double* angle);

  unsigned int width;                         // pixels a row, tag 256
  unsigned int height;                        // rows, tag 257
  unsigned int bitDepth;                      // bits a pixel: 8 grey, 24 colour, 1 bi-level; tag 258
  double xResolution;                         // tag 282, without its fraction
  double yResolution;                         // tag 283
  unsigned short compression;                 // tag 259: 1 none, 4 Group 4
  unsigned short photometric;                 // tag 262, as loaded
  unsigned int rowsPerStrip;                  // tag 278, as loaded
  unsigned int numberOfStrips;                // count of tag 273, as loaded
  unsigned int imageSize;                     // bytes at image
  std::vector<unsigned int> stripByteCounts;  // tag 279
  std::vector<unsigned int> stripOffsets;     // tag 273
  TiffHeader* header;                         // owned, released by clear()
  unsigned char* image;                       // not owned
  char makeString[81];                        // tag 271, 80 bytes and a NUL
  char descriptionString[81];                 // tag 270
  char modelString[81];                       // tag 272
  char softwareString[81];                    // tag 305
  Group4Compression compressor;
  unsigned char* dib;  // owned, from malloc: bitmap of ZelIMPLoadTIFF, or null
};

#endif
