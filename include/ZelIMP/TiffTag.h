// One entry of a TIFF directory in memory, and the little-endian readers of the TIFF container. C++.
#ifndef ZELIMP_TIFF_TAG_H
#define ZELIMP_TIFF_TAG_H

#include <ZelIMP/export.h>

// Unsigned little-endian numbers at p (2 and 4 bytes), whatever the host's byte order and p's alignment.
ZELIMP_API unsigned short TiffGetWord(const unsigned char* p);
ZELIMP_API unsigned int TiffGetLong(const unsigned char* p);

// A directory entry (TIFF 6.0, section 2): number, field type, count and a 4-byte value field, and a copy of the value
// when that does not fit into the field. dataSize is not 0 exactly when the tag carries such a copy.
// Tags belong to a TiffHeader, which creates and destroys them; they are not meant to be copied.
class ZELIMP_API TiffTag {
 public:
  TiffTag();
  TiffTag(unsigned short tagID, unsigned short fieldType, unsigned int count, unsigned int valueOffset);
  // Copies dataSize bytes of src; with dataSize 0 the value is inline and src is not looked at.
  TiffTag(unsigned short tagID, unsigned short fieldType, unsigned int count, unsigned int valueOffset,
          unsigned int dataSize, const unsigned char* src);
  ~TiffTag();
  TiffTag(const TiffTag&) = delete;
  TiffTag& operator=(const TiffTag&) = delete;

  // Reads the 12-byte entry at file + entryOffset and the value it points to. The offsets are trusted. Returns 0.
  int loadTag(const unsigned char* file, unsigned int entryOffset);

  // Takes the copy of a value that does not fit into 4 bytes from file + valueOffset, releasing an older one.
  // RATIONAL, SRATIONAL and DOUBLE are always copied, unknown types never; a value of 2^32 bytes or more is dropped.
  void loadExtraTagData(const unsigned char* file);

  // Writes the 12-byte entry at file + entryOffset. A value copy goes to file + *extraOffset, which then moves on by
  // exactly dataSize: values are packed without padding. Returns 0.
  int saveTag(unsigned char* file, unsigned int entryOffset, unsigned int* extraOffset);

  // Replaces the value copy by size bytes of src (zeros when src is null); size 0 makes the value inline again.
  void setData(const unsigned char* src, unsigned int size);

  unsigned short getTagID() const;
  unsigned short getFieldType() const;
  unsigned int getCount() const;
  unsigned int getValueOffset() const;
  unsigned int getDataSize() const;
  unsigned char* getDataPointer() const;

  // Store the field; nothing else changes.
  void setTagID(unsigned short value);
  void setFieldType(unsigned short value);
  void setCount(unsigned int value);
  void setValueOffset(unsigned int value);

  // Prints nothing; returns 0.
  int displayTag();

  unsigned short tagID;      // TIFF tag number
  unsigned short fieldType;  // TIFF field type code, 1 to 12
  unsigned int count;        // number of values of that type
  unsigned int valueOffset;  // value field as a little-endian number: inline value, or offset in the file
  unsigned int dataSize;     // bytes in data; 0: inline value
  unsigned char* data;       // owned: the value bytes as they stand in the file
};

#endif
