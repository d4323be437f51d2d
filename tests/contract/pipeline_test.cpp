// The scan pipeline against a composition of the exported steps, and the bitmap writer.
#include "support.hpp"
using namespace zel::test;

static Bytes bitmap(const Bytes& pixels, unsigned width, unsigned height) {
  const unsigned row_bytes = (width + 3) / 4 * 4, size = row_bytes * height;
  Bytes out = ascii("BM");
  append(out, longs({1078 + size, 0, 1078, 40, width, height, 8 << 16 | 1, 0, size, 0, 0, 256, 256}));
  for (unsigned i = 0; i < 256; ++i) append(out, longs({i * 0x1010101}));
  for (unsigned r = height; r-- > 0;) {
    for (unsigned i = r * width; i < r * width + row_bytes; ++i) out.push_back(i < pixels.size() ? pixels[i] : 0);
  }
  return out;
}

// What a call makes of the scan in file, which it may change.
static Bytes by_steps(TiffFile scan, Bytes& file, bool grey, int format, int side, int rotation, int mode) {
  TiffImage image;
  image.load(file.data());
  Bytes half(image.imageSize), turned(half), mono(half.size(), 255), coded(4 * half.size() + 99);
  if (side == 1 || side == 2) {
    grey ? image.split(half.data(), side) : image.splitColor(half.data(), side);
    image.SetImage(half.data());
  }
  if (side == 7) grey ? image.FlipOneSide() : image.FlipOneSideColor();
  if (rotation == 1) grey ? image.rotate270(turned.data()) : image.rotate270color(turned.data());
  if (rotation == 2) grey ? image.rotate90(turned.data()) : image.rotate90color(turned.data());
  if (rotation != 0) image.SetImage(turned.data());
  if (format == 0 || format == 9) {
    const int width = static_cast<int>(image.width), height = static_cast<int>(image.height);
    if (mode == 0) convertToMono2(image.image, mono.data(), width, height, 25, 80);
    if (mode != 0) convertToMonoThreshold(image.image, mono.data(), width, height, 100);
    removeImageNoise(mono.data(), width, height, 2);
    image.SetImage(mono.data());
    format == 0 ? image.compress(coded.data()) : image.convertTo1Bit(coded.data());
    image.SetImage(coded.data());
    EXPECT_TRUE(image.bitDepth == 1 && image.compression == (format == 0 ? 4 : 1) && image.photometric == 1);
    scan.set(258, 3, shorts({1}));
    if (format == 0) scan.set(259, 3, shorts({4})).set(262, 3, shorts({0})).add(293, 4, longs({0}));
  }
  scan.pixels.assign(image.image, image.image + image.imageSize);
  scan.set(256, 3, shorts({image.width})).set(257, 4, longs({image.height}));
  scan.set(278, 4, longs({image.height})).set(279, 4, longs({image.imageSize}));
  const Bytes out = grey && format == 10 ? bitmap(scan.pixels, image.width, image.height) : scan.bytes();
  image.clear();
  return out;
}

TEST(Pipeline, is_its_steps_and_bitmap_palette_and_padding) {
  for (int k = 0; k < 14 * 4 * 3 * 2 * 2 * 5; ++k) {
    const int format = k % 14 - 1, side = std::array{0, 1, 2, 7}[k / 14 % 4], rotation = k / 56 % 3, mode = k / 168 % 2;
    const bool grey = k / 336 % 2 == 0, jpeg = format == 3 || format == 4 || format == 7 || format == 8;
    const bool refused = jpeg || (grey ? format == 2 : format == 0 || format == 9);
    const unsigned size_case = static_cast<unsigned>(k / 672), samples = grey ? 1 : 3;
    const unsigned width = std::array{52, 12, 7, 1, 2}[size_case], height = std::array{31, 30, 5, 6, 1}[size_case];
    Bytes pixels = runs(width * height * samples + size_case % 3, 5, 9);  // the strip may be longer than the pixels
    for (std::uint8_t& p : pixels) p = p / 2 + 10;
    const TiffFile scan = device_tiff(width, height, samples, pixels);
    Bytes file = scan.bytes(), want_file = file;
    const Bytes want = refused ? Bytes() : by_steps(scan, want_file, grey, format, side, rotation, mode);
    Bytes got = untouched(want.size());
    unsigned size = 0;
    double angle = 7.5;
    EXPECT_EQ(ZelIMPImageProc(file.data(), &got[kMargin], &size, format, side, 0, rotation, mode, 100, 0, &angle),
              refused ? 3u : 0u);
    EXPECT_EQ(got, framed(want)) << k << " format " << format << " side " << side << " rotation " << rotation;
    EXPECT_TRUE(file == want_file && size == want.size() && angle == 0.0);
  }
}

TEST(Pipeline, refuses_before_it_writes) {
  // Samples, status, and the tag and value that make it so.
  const std::array<unsigned, 4> cases[] = {{1, 1, kMake, 0}, {1, 1, 256, 0},          {3, 1, 257, 0},  {1, 1, 257, 5},
                                           {3, 1, 279, 71},  {1, 1, 256, 0x40000007}, {1, 2, 258, 16}, {1, 2, 258, 1},
                                           {1, 2, 259, 5},   {3, 2, 259, 32773},      {1, 3, 305, 0},  {3, 3, 305, 0}};
  for (const auto& [samples, status, tag, value] : cases) {
    TiffFile scan = device_tiff(6, 4, samples, Bytes(24 * samples));
    Bytes file = scan.set(tag & 511, 4, longs({value})).bytes(), out = untouched(0);
    unsigned size = 77;
    double angle = 7.5;
    m_CropParam.cropMode = 42;
    const int format = samples == 1 ? 2 : 0;  // not available
    EXPECT_EQ(ZelIMPImageProc(file.data(), &out[kMargin], &size, format, 1, 2, 1, 0, 0, 2, &angle), status) << tag;
    EXPECT_TRUE(out == untouched(0) && size == 77 && m_CropParam.cropMode == 42 && angle == (status == 1 ? 7.5 : 0.0));
  }
}
