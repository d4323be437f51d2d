// A C++ host of the flat interface: a class derived from and driven through the library.
#include <ZelIMP.h>
#include <cstdio>
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

}  // namespace

int main() {
  unsigned char not_tiff[8] = {'M', 'M', 0, 42, 0, 0, 0, 8};
  CountingImage image;
  TiffImage& base = image;
  const bool reached = base.load(not_tiff) == -1 && image.loads == 1;
  base.clear();
  if (reached && typeid(base) == typeid(CountingImage) && dynamic_cast<CountingImage*>(&base) == &image) return 0;
  std::puts("a derived image is not reached");
  return 1;
}
