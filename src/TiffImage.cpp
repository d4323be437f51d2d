#include <ZelIMP/TiffImage.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "TiffImage.hpp"
#include "descramble.hpp"
#include "tiff_tags.hpp"

#if defined(__i386__)
static_assert(sizeof(TiffImage) == 6504);
static_assert(offsetof(TiffImage, xResolution) == 16);
static_assert(offsetof(TiffImage, image) == 76);
static_assert(offsetof(TiffImage, compressor) == 404);
static_assert(offsetof(TiffImage, dib) == 6500);
#endif

namespace {

// Make values of the device, their NUL included: a value stored without it is another maker's.
constexpr char kMakers[][25] = {"Varnoke Resources, Inc", "Varnoke Industries, Inc"};

}  // namespace

bool zel::has_known_maker(const TiffImage& image) {
  if (image.header == nullptr) return false;
  unsigned char make[128] = {};
  int len = sizeof make;
  image.header->getMakeString(make, &len);
  return std::any_of(std::begin(kMakers), std::end(kMakers), [&](const char* maker) {
    const std::size_t size = std::strlen(maker) + 1;
    return static_cast<std::size_t>(len) >= size && std::memcmp(make, maker, size) == 0;
  });
}

bool zel::has_one_strip(const TiffImage& image) {
  if (image.stripByteCounts.size() != 1 || image.stripOffsets.size() != 1) return false;
  if (image.header == nullptr) return true;
  // A count of 2 and more may also give one value, two SHORTs in the entry itself.
  return std::all_of(image.header->tags.begin(), image.header->tags.end(), [](const TiffTag* tag) {
    const bool places_strip = tag->tagID == tags::kStripOffsets || tag->tagID == tags::kStripByteCounts;
    return !places_strip || tag->count == 1;
  });
}

void zel::set_rows(TiffImage& image, unsigned int rows, unsigned int samples) {
  image.height = rows;
  image.imageSize = samples * image.width * rows;
  if (image.header != nullptr) image.header->setHeight(rows);
}

TiffImage::TiffImage()
    : width(0),
      height(0),
      bitDepth(0),
      xResolution(0.0),
      yResolution(0.0),
      compression(0),
      photometric(0),
      rowsPerStrip(0),
      numberOfStrips(0),
      imageSize(0),
      header(nullptr),
      image(nullptr),
      makeString{},
      descriptionString{},
      modelString{},
      softwareString{},
      dib(nullptr) {}

TiffImage::~TiffImage() { TiffImage::ClearDIB(); }

int TiffImage::load(unsigned char* file) {
  try {
    clear();
    const int status = loadTagsAndHeader(file);
    return status != 0 ? status : loadImageData(file);
  } catch (const std::bad_alloc&) {
    return -1;
  }
}

int TiffImage::loadTagsAndHeader(unsigned char* file) {
  delete header;
  header = nullptr;
  header = new TiffHeader;
  const int status = header->loadHeader(file);
  examineTiffTags();
  return zel::has_known_maker(*this) ? status : -1;
}

void TiffImage::examineTiffTags() {
  if (header == nullptr) return;
  numberOfStrips = header->getNumberOfStrips();
  rowsPerStrip = header->getRowsPerStrip();
  stripByteCounts = header->getStripByteCounts();
  stripOffsets = header->getStripByteOffsets();
  width = header->getWidth();
  height = header->getHeigth();
  xResolution = header->getHorzResolution();
  yResolution = header->getVertResolution();
  bitDepth = header->getBitDepth();
  compression = static_cast<unsigned short>(header->getCompression());
  photometric = static_cast<unsigned short>(header->getPhotometricInterp());

  using Getter = int (TiffHeader::*)(unsigned char*, int*) const;
  const auto read_text = [this](Getter getter, char(&field)[81]) {
    int len = sizeof field - 1;
    (header->*getter)(reinterpret_cast<unsigned char*>(field), &len);
    field[len] = '\0';
  };
  read_text(&TiffHeader::getMakeString, makeString);
  read_text(&TiffHeader::getDescriptionString, descriptionString);
  read_text(&TiffHeader::getModelString, modelString);
  read_text(&TiffHeader::getSoftwareString, softwareString);
}

int TiffImage::loadImageData(unsigned char* file) {
  if (!zel::has_one_strip(*this)) return -1;
  imageSize = stripByteCounts[0];
  image = file + stripOffsets[0];
  return 0;
}

int TiffImage::save(unsigned char* file) {
  if (header == nullptr) return 0;
  saveTagsAndHeader(file);
  saveImageData(file);
  return 0;
}

int TiffImage::saveTagsAndHeader(unsigned char* file) {
  if (header != nullptr) header->saveHeader(file, height, imageSize);
  return 0;
}

int TiffImage::saveImageData(unsigned char* file) {
  if (header != nullptr && image != nullptr) std::memcpy(file + header->dataOffset, image, imageSize);
  return 0;
}

int TiffImage::displayTags() {
  if (header != nullptr) header->displayTags();
  return 0;
}

void TiffImage::clear() {
  delete header;
  header = nullptr;
  width = 0;
  height = 0;
  bitDepth = 0;
  compression = 0;
  photometric = 0;
  rowsPerStrip = 0;
  numberOfStrips = 0;
  stripByteCounts.clear();
  stripOffsets.clear();
}

void TiffImage::ClearDIB() {
  std::free(dib);
  dib = nullptr;
}

unsigned int TiffImage::GetImageWidth() const { return width; }
unsigned int TiffImage::GetImageHeight() const { return height; }
unsigned int TiffImage::GetImageBitDepth() const { return bitDepth; }
unsigned int TiffImage::GetImageSize() const { return imageSize; }
unsigned short TiffImage::GetImageCompression() const { return compression; }
double TiffImage::GetXRes() const { return xResolution; }
double TiffImage::GetYRes() const { return yResolution; }
unsigned char* TiffImage::GetImage() const { return image; }
void TiffImage::SetImage(unsigned char* pixels) { image = pixels; }
char* TiffImage::GetMakeString() { return makeString; }
char* TiffImage::GetModelString() { return modelString; }
char* TiffImage::GetDescriptionString() { return descriptionString; }
char* TiffImage::GetSoftwareString() { return softwareString; }

unsigned int TiffImage::GetTiffSize() const {
  constexpr unsigned int kEmptyHeader = 14;
  return (header != nullptr ? header->getHeaderSize() : kEmptyHeader) + imageSize;
}

int TiffImage::DescrambleMono(unsigned char* dst, unsigned int dropLines) {
  unsigned int size = 0;
  ZelIMPDescramble_mono(image, imageSize, dst, &size, static_cast<int>(height), width, static_cast<int>(dropLines));
  zel::set_rows(*this, zel::descrambled_rows(height, dropLines, false), 1);
  return 0;
}

int TiffImage::DescrambleColor(unsigned char* dst, unsigned int dropLines) {
  unsigned int size = 0;
  ZelIMPDescramble_color(image, imageSize, dst, &size, static_cast<int>(height), width, dropLines);
  zel::set_rows(*this, zel::descrambled_rows(height, dropLines, false), 3);
  return 0;
}

int TiffImage::DescrambleCalMono(unsigned char* dst, unsigned int dropLines, unsigned int spare2, unsigned int spare3,
                                 unsigned int spare4, unsigned int spare5, unsigned short* whiteTable,
                                 unsigned short* blackTable, int halveLines) {
  unsigned int size = 0;
  ZelIMPDescrambleCal_mono(image, imageSize, dst, &size, static_cast<int>(height), width, dropLines, spare2, spare3,
                           spare4, spare5, whiteTable, blackTable, halveLines);
  zel::set_rows(*this, zel::descrambled_rows(height, dropLines, halveLines != 0), 1);
  return 0;
}

int TiffImage::DescrambleCalColor(unsigned char* dst, unsigned int dropLines, unsigned int spare2, unsigned int spare3,
                                  unsigned int spare4, unsigned int spare5, unsigned short* whitePlane1,
                                  unsigned short* whitePlane2, unsigned short* whitePlane3,
                                  unsigned short* blackTable) {
  unsigned int size = 0;
  ZelIMPDescrambleCal_color(image, imageSize, dst, &size, static_cast<int>(height), static_cast<int>(width), dropLines,
                            spare2, spare3, spare4, spare5, whitePlane1, whitePlane2, whitePlane3, blackTable);
  zel::set_rows(*this, zel::descrambled_rows(height, dropLines, false), 3);
  return 0;
}

int TiffImage::compress(unsigned char* dst) {
  unsigned int size = 0;
  compressor.compressImage(image, dst, &size, width, height);
  bitDepth = 1;
  imageSize = size;
  compression = zel::tags::kGroup4;
  if (header != nullptr) {
    header->setBitDepth(1);
    header->setCompression(zel::tags::kGroup4);
    header->addTag(zel::tags::kT6Options, zel::tags::kLong, 1, 0, 0, nullptr);
    header->setPhotometricInterp(zel::tags::kWhiteIsZero);
  }
  return 0;
}

int TiffImage::convertTo1Bit(unsigned char* dst) {
  unsigned int size = 0;
  compressor.convertImageTo1Bit(image, dst, &size, width, height);
  bitDepth = 1;
  imageSize = size;
  if (header != nullptr) header->setBitDepth(1);
  return 0;
}
