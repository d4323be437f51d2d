// Header and first image file directory of a little-endian TIFF as an ordered list of tags. C++.
//
// Layout written by saveHeader, N tags, all numbers little-endian:
//
//   offset     bytes             content
//   0          2                 "II"
//   2          2                 42
//   4          4                 8, offset of the directory
//   8          2                 N
//   10         12 * N            the entries in list order
//   10 + 12N   4                 0, no further directory
//   14 + 12N   sum of dataSize   values that do not fit into an entry, in list order, no padding
//   dataOffset                   the image data, one strip (written by TiffImage)
#ifndef ZELIMP_TIFF_HEADER_H
#define ZELIMP_TIFF_HEADER_H

#include <ZelIMP/TiffTag.h>
#include <ZelIMP/export.h>
#include <vector>

class ZELIMP_API TiffHeader {
 public:
  TiffHeader();
  ~TiffHeader();
  TiffHeader(const TiffHeader&) = delete;
  TiffHeader& operator=(const TiffHeader&) = delete;

  // Replaces the list by the first directory of the TIFF at file. Returns 0; -1 when the byte order is not "II";
  // -42 when the version is not 42; the list is empty then. Offsets inside the file are trusted.
  int loadHeader(const unsigned char* file);

  // Writes header, directory and values at file (getHeaderSize() bytes) for one strip of stripByteCount bytes that is
  // to follow at dataOffset. Rewrites the strip tags (setLocationDataTags). Returns 0.
  int saveHeader(unsigned char* file, unsigned int rowsPerStrip, unsigned int stripByteCount);

  // 14 + 12 per tag + the dataSize of every tag; also stored in headerSize.
  unsigned int getHeaderSize();

  // Sets dataOffset to headerSize and makes the strip tags that are in the list inline values of count 1:
  // StripOffsets = dataOffset (type LONG), RowsPerStrip, StripByteCounts (their types kept).
  void setLocationDataTags(unsigned int rowsPerStrip, unsigned int stripByteCount);

  // Inserts a tag before the first one with a greater number, so after those with the same.
  void addTag(unsigned short tagID, unsigned short fieldType, unsigned int count, unsigned int valueOffset,
              unsigned int dataSize, const unsigned char* data);

  // Deletes all tags; headerSize 0.
  void clear();

  // Prints nothing; returns 0.
  int displayTags();

  // Value field of the first tag with the number named, as a raw 32-bit number; 0 when there is none.
  unsigned int getWidth() const;              // 256
  unsigned int getHeigth() const;             // 257; spelled so
  unsigned int getBitDepth() const;           // 258; 24 whenever its count is not 1
  unsigned int getCompression() const;        // 259
  unsigned int getPhotometricInterp() const;  // 262
  unsigned int getRowsPerStrip() const;       // 278
  unsigned int getNumberOfStrips() const;     // count of 273

  // Dots per inch or cm as in the file: numerator / denominator of the last tag 282 or 283, as whole numbers without
  // the fraction. 0.0 without a tag, with less than 8 bytes of data or a denominator of 0.
  double getHorzResolution() const;
  double getVertResolution() const;

  // Values of all tags 279 or 273: SHORT and LONG arrays, inline values as one raw 32-bit number.
  std::vector<unsigned int> getStripByteCounts() const;
  std::vector<unsigned int> getStripByteOffsets() const;

  // Text of the last tag with the number named. In: *len bytes of room at buf; out: *len bytes taken, without a NUL of
  // our own (the file's counts as a byte of the value). Returns 0; *len is 0 when there is none. A value without a
  // copy of its own gives at most min(4, count) inline bytes.
  int getMakeString(unsigned char* buf, int* len) const;         // 271
  int getModelString(unsigned char* buf, int* len) const;        // 272
  int getDescriptionString(unsigned char* buf, int* len) const;  // 270; below 5 bytes: always the value field's bytes
  int getSoftwareString(unsigned char* buf, int* len) const;     // 305

  // Set the value field of every tag with the number; a tag that is not there is not created.
  void setWidth(unsigned long value);
  void setHeight(unsigned long value);
  void setBitDepth(unsigned int value);
  void setCompression(unsigned short value);
  void setPhotometricInterp(unsigned short value);

  unsigned int headerSize;     // bytes before the image data, of the last getHeaderSize
  std::vector<TiffTag*> tags;  // owned, in file order
  unsigned int dataOffset;     // where the image data goes, of the last setLocationDataTags
};

#endif
