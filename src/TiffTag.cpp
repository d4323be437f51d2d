#include <ZelIMP/TiffTag.h>

#include <algorithm>
#include <cstdint>
#include <limits>

#include "base/bytes.hpp"
#include "TiffTag.hpp"

#if defined(__i386__)
static_assert(sizeof(TiffTag) == 20);
#endif

namespace zel {

unsigned int tiff_type_size(unsigned int type) {
  switch (type) {
    case 1:  // BYTE
    case 2:  // ASCII
    case 6:  // SBYTE
    case 7:  // UNDEFINED
      return 1;
    case 3:  // SHORT
    case 8:  // SSHORT
      return 2;
    case 4:   // LONG
    case 9:   // SLONG
    case 11:  // FLOAT
      return 4;
    case 5:   // RATIONAL
    case 10:  // SRATIONAL
    case 12:  // DOUBLE
      return 8;
    default:
      return 0;
  }
}

std::uint64_t tiff_value_bytes(unsigned int type, std::uint32_t count) {
  return std::uint64_t{tiff_type_size(type)} * count;
}

bool tiff_value_is_inline(unsigned int type, std::uint32_t count) {
  return tiff_type_size(type) != 8 && tiff_value_bytes(type, count) <= 4;
}

}  // namespace zel

unsigned short TiffGetWord(const unsigned char* p) { return zel::load_u16(p); }

unsigned int TiffGetLong(const unsigned char* p) { return zel::load_u32(p); }

TiffTag::TiffTag() : TiffTag(0, 0, 0, 0) {}

TiffTag::TiffTag(unsigned short tag_id, unsigned short field_type, unsigned int value_count, unsigned int value_offset)
    : tagID(tag_id), fieldType(field_type), count(value_count), valueOffset(value_offset), dataSize(0), data(nullptr) {}

TiffTag::TiffTag(unsigned short tag_id, unsigned short field_type, unsigned int value_count, unsigned int value_offset,
                 unsigned int data_size, const unsigned char* src)
    : TiffTag(tag_id, field_type, value_count, value_offset) {
  setData(src, data_size);
}

TiffTag::~TiffTag() {
  if (dataSize != 0) delete[] data;
}

int TiffTag::loadTag(const unsigned char* file, unsigned int entryOffset) {
  const unsigned char* const entry = file + entryOffset;
  tagID = TiffGetWord(entry);
  fieldType = TiffGetWord(entry + 2);
  count = TiffGetLong(entry + 4);
  valueOffset = TiffGetLong(entry + 8);
  loadExtraTagData(file);
  return 0;
}

void TiffTag::loadExtraTagData(const unsigned char* file) {
  setData(nullptr, 0);
  if (zel::tiff_value_is_inline(fieldType, count)) return;
  const std::uint64_t size = zel::tiff_value_bytes(fieldType, count);
  // No memory holds a file in which a value of 2^32 bytes could lie.
  if (size == 0 || size > std::numeric_limits<std::uint32_t>::max()) return;
  setData(file + valueOffset, static_cast<unsigned int>(size));
}

int TiffTag::saveTag(unsigned char* file, unsigned int entryOffset, unsigned int* extraOffset) {
  unsigned char* const entry = file + entryOffset;
  zel::store_u16(entry, tagID);
  zel::store_u16(entry + 2, fieldType);
  zel::store_u32(entry + 4, count);
  if (dataSize == 0) {
    zel::store_u32(entry + 8, valueOffset);
    return 0;
  }
  zel::store_u32(entry + 8, *extraOffset);
  std::copy_n(data, dataSize, file + *extraOffset);
  // KEPT: no padding to an even offset, so a value of odd size puts the next one, or the image, at an odd offset.
  // Readers cope, and the header's size is counted without padding: test tiff_odd_value_offsets.
  *extraOffset += dataSize;
  return 0;
}

void TiffTag::setData(const unsigned char* src, unsigned int size) {
  unsigned char* const copy = size == 0 ? nullptr : new unsigned char[size]();
  if (src != nullptr) std::copy_n(src, size, copy);
  if (dataSize != 0) delete[] data;
  data = copy;
  dataSize = size;
}

unsigned short TiffTag::getTagID() const { return tagID; }
unsigned short TiffTag::getFieldType() const { return fieldType; }
unsigned int TiffTag::getCount() const { return count; }
unsigned int TiffTag::getValueOffset() const { return valueOffset; }
unsigned int TiffTag::getDataSize() const { return dataSize; }
unsigned char* TiffTag::getDataPointer() const { return data; }

void TiffTag::setTagID(unsigned short value) { tagID = value; }
void TiffTag::setFieldType(unsigned short value) { fieldType = value; }
void TiffTag::setCount(unsigned int value) { count = value; }
void TiffTag::setValueOffset(unsigned int value) { valueOffset = value; }

int TiffTag::displayTag() { return 0; }
