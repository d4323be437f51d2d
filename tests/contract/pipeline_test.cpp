// The scan pipeline against a composition of the exported steps, and the bitmap writer.
#include <cmath>

#include "support.hpp"
#include "support/leaning_page.hpp"
#include "support/temporary_names.hpp"
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

struct Call {
  int format, side, crop, rotation, deskew;
  bool grey;
};
constexpr int kLevel = 60;

// What a call makes of the scan in file, which it may change.
static Bytes by_steps(const Call& call, TiffFile scan, Bytes& file, unsigned& status, double& told) {
  const auto [format, side, crop, rotation, deskew, grey] = call;
  LoadedImage image(file);
  Bytes straight(image.imageSize), half(image.imageSize), turned(image.imageSize), mono(image.imageSize, 255);
  Bytes coded(4 * half.size() + 99);
  double angle = 0;
  int ignored = 0;
  status = 0;
  if (grey && deskew == 2 && image.DeskewTiffCombo(straight.data(), &angle) == 0) image.SetImage(straight.data());
  if (side == 1 || side == 2) {
    m_CropParam.cropMode = !grey && crop != 0 ? crop : m_CropParam.cropMode;
    if (grey) image.split(half.data(), side);
    if (!grey && crop == 0) image.splitColor(half.data(), side);
    if (!grey && crop != 0) image.splitNcropColor(half.data(), side, &m_CropParam, &angle);
    image.SetImage(half.data());
    if (!grey && rotation != 0 && deskew != 0 && std::abs(angle) > 0.0175) {
      if (deskew == 2) image.DeskewTiffColor(straight.data(), angle, &ignored, &ignored);
      if (deskew == 2) image.SetImage(straight.data());
      told = angle;
    }
  }
  if (side == 7) grey ? image.FlipOneSide() : image.FlipOneSideColor();
  if (rotation == 1) grey ? image.rotate270(turned.data()) : image.rotate270color(turned.data());
  if (rotation == 2) grey ? image.rotate90(turned.data()) : image.rotate90color(turned.data());
  if (rotation != 0) image.SetImage(turned.data());
  if (format == 0 || format == 9) {
    const int width = static_cast<int>(image.width), height = static_cast<int>(image.height);
    if (crop != 2) convertToMono2(image.image, mono.data(), width, height, 25, 80);
    if (crop == 2) convertToMonoThreshold(image.image, mono.data(), width, height, kLevel);
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
  Bytes out = grey && format == 10 ? bitmap(scan.pixels, image.width, image.height) : scan.bytes();
  if (format == 3 || format == 4 || format == 7 || format == 8) {
    unsigned size = 0;
    out.assign(image.imageSize + 20000, 0);
    const auto writer = format < 7 ? ProcessTIFF_JPG : ProcessJFIF_JPG;
    status = writer(image, out.data(), &size, kLevel);
    EXPECT_EQ(status, scan.pixels.empty() ? 5u : 0u);
    out.resize(size);
  }
  return out;
}

TEST(Pipeline, is_its_steps_and_bitmap_palette_and_padding) {
  const TemporaryNames names;
  if (names.taken() != nullptr) GTEST_SKIP() << names.taken();
  int skews_told = 0;
  for (int k = 0; k < 14 * 4 * 3 * 3 * 3 * 2 * 4; ++k) {
    const Call call = {k % 14 - 1,       std::array{0, 1, 2, 7}[k / 14 % 4], k / 56 % 3, k / 168 % 3, k / 504 % 3,
                       k / 1512 % 2 == 0};
    const unsigned size_case = static_cast<unsigned>(k / 3024), samples = call.grey ? 1 : 3;
    const unsigned width = std::array{121, 7, 1, 2}[size_case], height = std::array{64, 5, 6, 1}[size_case];
    const bool refused = call.grey ? call.format == 2 || call.format == 4 || call.format == 8
                                   : call.format == 0 || call.format == 3 || call.format == 7 || call.format == 9;
    // Files take long: those of the smaller images are made for one crop and deskew only.
    const bool file_made = call.format == 3 || call.format == 4 || call.format == 7 || call.format == 8;
    if (file_made && size_case != 0 && call.crop + call.deskew != 0) continue;
    Bytes pixels = leaning_page(width, height, samples);
    pixels.resize(pixels.size() + size_case % 3, 9);  // the strip may be longer than the pixels
    const TiffFile scan = device_tiff(width, height, samples, pixels);
    Bytes file = scan.bytes(), want_file = file;
    ZelIMPSetCropParams(2, 3, 0, 8, 30, 0, 0);
    m_CropParam.cropMode = 77;
    unsigned status = 3;
    double want_angle = 0, angle = 7.5;
    const Bytes want = refused ? Bytes() : by_steps(call, scan, want_file, status, want_angle);
    const int want_mode = m_CropParam.cropMode;
    m_CropParam.cropMode = 77;
    Bytes got = untouched(want.size());
    unsigned size = 0;
    EXPECT_EQ(ZelIMPImageProc(file.data(), &got[kMargin], &size, call.format, call.side, call.crop, call.rotation,
                              -(call.crop == 2), kLevel, call.deskew, &angle),
              status);
    EXPECT_EQ(got, framed(want)) << k << " format " << call.format << " side " << call.side << " crop " << call.crop
                                 << " rotation " << call.rotation << " deskew " << call.deskew;
    EXPECT_TRUE(file == want_file && size == want.size() && angle == want_angle && m_CropParam.cropMode == want_mode);
    skews_told += angle != 0;
  }
  EXPECT_GT(skews_told, 0);
}

// Whether a skew counts as more than one degree, for skews just above it, either way: 69 columns on 3953 rows are
// 1.0000018 degrees.
TEST(Pipeline, colour_skew_limit) {
  for (const int columns : {69, 70, -69, -70}) {
    constexpr unsigned kWidth = 320, kHeight = 3953 + 2 * 3;
    Bytes pixels(kWidth * kHeight * 3);
    for (unsigned r = 0; r < 3; ++r) {
      const unsigned upper = r + 3, lower = kHeight - 3 - 2 + r;
      std::fill_n(pixels.begin() + upper * kWidth * 3, 3 * 75, 255);
      std::fill_n(pixels.begin() + lower * kWidth * 3, 3 * (75 + columns), 255);
    }
    Bytes file = device_tiff(kWidth, kHeight, 3, pixels).bytes(), out(2 * file.size());
    ZelIMPSetCropParams(0, 0, 0, 2, 0, 0, 0);
    unsigned size = 0;
    double angle = 7.5;
    EXPECT_EQ(ZelIMPImageProc(file.data(), out.data(), &size, 2, 2, 1, 1, 0, 0, 1, &angle), 0u);
    EXPECT_EQ(angle, std::abs(columns) > 69 ? std::atan(columns / 3953.0) : 0.0);
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
