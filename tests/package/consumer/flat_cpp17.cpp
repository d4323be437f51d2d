// A C++ host of the flat interface: classes made, derived from and driven through the library.
#include <ZelIMP.h>
#include <cstdio>
#include <cstring>
#include <typeinfo>

namespace {

// Replaces one step; load must reach it through the library's own call.
class CountingImage : public TiffImage {
 public:
  int loadTagsAndHeader(unsigned char* file) override {
    ++loads;
    return TiffImage::loadTagsAndHeader(file);
  }
  int loads = 0;
};

bool derives() {
  unsigned char not_tiff[8] = {'M', 'M', 0, 42, 0, 0, 0, 8};
  CountingImage image;
  TiffImage& base = image;
  const bool reached = base.load(not_tiff) == -1 && image.loads == 1;
  base.clear();
  return reached && typeid(base) == typeid(CountingImage) && dynamic_cast<CountingImage*>(&base) == &image;
}

// One white row: a single vertical-mode bit and the end-of-block code.
bool codes() {
  const unsigned char white[8] = {255, 255, 255, 255, 255, 255, 255, 255};
  const unsigned char expected[4] = {0x80, 0x08, 0x00, 0x80};
  unsigned char coded[24] = {};
  unsigned int size = 0;
  Group4Compression coder;
  coder.compressImage(white, coded, &size, 8, 1);
  return size == 4 && std::memcmp(coded, expected, 4) == 0;
}

}  // namespace

int main() {
  const bool works = derives() && codes();
  if (!works) std::puts("a derived image is not reached, or a white row is coded wrongly");
  return works ? 0 : 1;
}
