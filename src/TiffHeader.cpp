#include <ZelIMP/TiffHeader.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

#include "base/bytes.hpp"
#include "tiff_tags.hpp"

using namespace zel::tags;

#if defined(__i386__)
static_assert(sizeof(TiffHeader) == 20);
#endif

namespace {

constexpr unsigned int kDirectoryOffset = 8;
constexpr unsigned int kEntriesOffset = kDirectoryOffset + 2;
constexpr unsigned int kEntryBytes = 12;
constexpr unsigned int kFixedBytes = kEntriesOffset + 4;  // without entries and values

const TiffTag* find_first(const std::vector<TiffTag*>& tags, unsigned int id) {
  const auto it = std::find_if(tags.begin(), tags.end(), [id](const TiffTag* tag) { return tag->tagID == id; });
  return it == tags.end() ? nullptr : *it;
}

const TiffTag* find_last(const std::vector<TiffTag*>& tags, unsigned int id) {
  const auto it = std::find_if(tags.rbegin(), tags.rend(), [id](const TiffTag* tag) { return tag->tagID == id; });
  return it == tags.rend() ? nullptr : *it;
}

unsigned int first_value(const std::vector<TiffTag*>& tags, unsigned int id) {
  const TiffTag* const tag = find_first(tags, id);
  return tag == nullptr ? 0 : tag->valueOffset;
}

void set_all(std::vector<TiffTag*>& tags, unsigned int id, unsigned int value) {
  for (TiffTag* tag : tags) {
    if (tag->tagID == id) tag->valueOffset = value;
  }
}

double resolution(const std::vector<TiffTag*>& tags, unsigned int id) {
  const TiffTag* const tag = find_last(tags, id);
  if (tag == nullptr || tag->dataSize < 8) return 0.0;
  const std::uint32_t denominator = zel::load_u32(tag->data + 4);
  // KEPT: a whole quotient. The fraction of a resolution is dropped, 401/2 is 200: test tiff_whole_resolution.
  return denominator == 0 ? 0.0 : static_cast<double>(zel::load_u32(tag->data) / denominator);
}

std::vector<unsigned int> strip_values(const std::vector<TiffTag*>& tags, unsigned int id) {
  std::vector<unsigned int> values;
  for (const TiffTag* tag : tags) {
    if (tag->tagID != id) continue;
    // count and dataSize are independent fields: the smaller of the two says how many values there are to read.
    if (tag->dataSize == 0) {
      values.push_back(tag->valueOffset);
    } else if (tag->fieldType == kShort) {
      const unsigned int n = std::min(tag->count, tag->dataSize / 2);
      for (unsigned int i = 0; i < n; ++i) values.push_back(zel::load_u16(tag->data + 2 * i));
    } else if (tag->fieldType == kLong) {
      const unsigned int n = std::min(tag->count, tag->dataSize / 4);
      for (unsigned int i = 0; i < n; ++i) values.push_back(zel::load_u32(tag->data + 4 * i));
    }
  }
  return values;
}

// Which bytes of a text a reader takes when fewer than 5 are asked for or present.
enum class ShortText { from_value, from_entry };

int read_text(const std::vector<TiffTag*>& tags, unsigned int id, unsigned char* buf, int* len, ShortText short_text) {
  const unsigned int room = static_cast<unsigned int>(std::max(*len, 0));
  *len = 0;
  const TiffTag* const tag = find_last(tags, id);
  if (tag == nullptr || room == 0) return 0;

  unsigned char inline_bytes[4];
  zel::store_u32(inline_bytes, tag->valueOffset);
  unsigned int taken = std::min(room, tag->count);
  if (tag->dataSize < taken) taken = std::min(taken, 4u);
  if (short_text == ShortText::from_entry && taken < 5) {
    // KEPT: below five bytes a description comes from the value field, all four bytes of it, even where the field holds
    // the offset of a long value: test tiff_short_description.
    std::copy_n(inline_bytes, std::min(room, 4u), buf);
  } else {
    std::copy_n(tag->dataSize < taken ? inline_bytes : tag->data, taken, buf);
  }
  *len = static_cast<int>(taken);
  return 0;
}

}  // namespace

TiffHeader::TiffHeader() : headerSize(0), dataOffset(0) {}

TiffHeader::~TiffHeader() { clear(); }

int TiffHeader::loadHeader(const unsigned char* file) {
  clear();
  if (TiffGetWord(file) != kByteOrder) return -1;
  if (TiffGetWord(file + 2) != kVersion) return -42;
  const unsigned int directory = TiffGetLong(file + 4);
  const unsigned int n = TiffGetWord(file + directory);
  tags.reserve(n);
  for (unsigned int i = 0; i < n; ++i) {
    auto tag = std::make_unique<TiffTag>();
    tag->loadTag(file, directory + 2 + kEntryBytes * i);
    tags.push_back(tag.release());
  }
  return 0;
}

int TiffHeader::saveHeader(unsigned char* file, unsigned int rowsPerStrip, unsigned int stripByteCount) {
  getHeaderSize();
  setLocationDataTags(rowsPerStrip, stripByteCount);
  const unsigned int n = static_cast<unsigned int>(tags.size());
  zel::store_u16(file, kByteOrder);
  zel::store_u16(file + 2, kVersion);
  zel::store_u32(file + 4, kDirectoryOffset);
  zel::store_u16(file + kDirectoryOffset, static_cast<std::uint16_t>(n));
  unsigned int extra = kFixedBytes + kEntryBytes * n;
  for (unsigned int i = 0; i < n; ++i) tags[i]->saveTag(file, kEntriesOffset + kEntryBytes * i, &extra);
  zel::store_u32(file + kEntriesOffset + kEntryBytes * n, 0);
  return 0;
}

unsigned int TiffHeader::getHeaderSize() {
  headerSize = kFixedBytes;
  for (const TiffTag* tag : tags) headerSize += kEntryBytes + tag->dataSize;
  return headerSize;
}

void TiffHeader::setLocationDataTags(unsigned int rowsPerStrip, unsigned int stripByteCount) {
  dataOffset = headerSize;
  const auto make_inline = [](TiffTag* tag, unsigned int value) {
    tag->setData(nullptr, 0);
    tag->count = 1;
    tag->valueOffset = value;
  };
  for (TiffTag* tag : tags) {
    if (tag->tagID == kStripOffsets) {
      make_inline(tag, dataOffset);
      tag->fieldType = kLong;
    } else if (tag->tagID == kRowsPerStrip) {
      make_inline(tag, rowsPerStrip);
    } else if (tag->tagID == kStripByteCounts) {
      make_inline(tag, stripByteCount);
    }
  }
}

void TiffHeader::addTag(unsigned short tagID, unsigned short fieldType, unsigned int count, unsigned int valueOffset,
                        unsigned int dataSize, const unsigned char* data) {
  auto tag = std::make_unique<TiffTag>(tagID, fieldType, count, valueOffset, dataSize, data);
  const auto after = std::find_if(tags.begin(), tags.end(), [tagID](const TiffTag* t) { return t->tagID > tagID; });
  tags.insert(after, tag.get());
  tag.release();
}

void TiffHeader::clear() {
  headerSize = 0;
  for (TiffTag* tag : tags) delete tag;
  tags.clear();
}

int TiffHeader::displayTags() { return 0; }

unsigned int TiffHeader::getWidth() const { return first_value(tags, kImageWidth); }
unsigned int TiffHeader::getHeigth() const { return first_value(tags, kImageLength); }

unsigned int TiffHeader::getBitDepth() const {
  const TiffTag* const tag = find_first(tags, kBitsPerSample);
  if (tag == nullptr) return 0;
  // KEPT: any count but 1 means colour, whatever the values are: test tiff_bit_depth_from_count.
  return tag->count != 1 ? 24 : tag->valueOffset;
}

unsigned int TiffHeader::getCompression() const { return first_value(tags, kCompression); }
unsigned int TiffHeader::getPhotometricInterp() const { return first_value(tags, kPhotometric); }
unsigned int TiffHeader::getRowsPerStrip() const { return first_value(tags, kRowsPerStrip); }

unsigned int TiffHeader::getNumberOfStrips() const {
  const TiffTag* const tag = find_first(tags, kStripOffsets);
  return tag == nullptr ? 0 : tag->count;
}

double TiffHeader::getHorzResolution() const { return resolution(tags, kXResolution); }
double TiffHeader::getVertResolution() const { return resolution(tags, kYResolution); }

std::vector<unsigned int> TiffHeader::getStripByteCounts() const { return strip_values(tags, kStripByteCounts); }
std::vector<unsigned int> TiffHeader::getStripByteOffsets() const { return strip_values(tags, kStripOffsets); }

int TiffHeader::getMakeString(unsigned char* buf, int* len) const {
  return read_text(tags, kMake, buf, len, ShortText::from_value);
}
int TiffHeader::getModelString(unsigned char* buf, int* len) const {
  return read_text(tags, kModel, buf, len, ShortText::from_value);
}
int TiffHeader::getDescriptionString(unsigned char* buf, int* len) const {
  return read_text(tags, kDescription, buf, len, ShortText::from_entry);
}
int TiffHeader::getSoftwareString(unsigned char* buf, int* len) const {
  return read_text(tags, kSoftware, buf, len, ShortText::from_value);
}

void TiffHeader::setWidth(unsigned long value) { set_all(tags, kImageWidth, static_cast<unsigned int>(value)); }
void TiffHeader::setHeight(unsigned long value) { set_all(tags, kImageLength, static_cast<unsigned int>(value)); }
void TiffHeader::setBitDepth(unsigned int value) { set_all(tags, kBitsPerSample, value); }
void TiffHeader::setCompression(unsigned short value) { set_all(tags, kCompression, value); }
void TiffHeader::setPhotometricInterp(unsigned short value) { set_all(tags, kPhotometric, value); }
