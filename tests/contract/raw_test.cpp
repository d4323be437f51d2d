// Calibrated descrambling of whole TIFFs, and TIFF files loaded as bitmaps.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "support.hpp"
using namespace zel::test;

static unsigned short white[3][99], black[99];

static unsigned descramble(Bytes& tiff, Bytes& to, unsigned& size, unsigned drop, int halve) {
  return ZelIMPDescramCalTiff(tiff.data(), &to[kMargin], &size, drop, 1, 2, 3, 4, white[0], white[0], white[1],
                              white[2], 5, black, halve);
}

TEST(Raw, descrambling_is_its_steps) {
  const Bytes levels = noise(99, 1);
  for (int i = 0; i < 99; ++i)
    white[0][i] = white[1][98 - i] = static_cast<unsigned short>(levels[i] + 60), white[2][i] = 199,
    black[i] = levels[i] / 8;
  for (const auto& [samples, width, drop, halve] :
       {std::array{1u, 12u, 2u, 0u}, {1, 11, 3, 1}, {1, 12, 4, 2}, {1, 7, 9, 0}, {3, 12, 2, 1}, {3, 7, 9, 0}}) {
    TiffFile scan = device_tiff(width, 9, samples, noise(width * 9 * samples + 5, samples));
    Bytes file = scan.bytes(), again = file, pixels(scan.pixels.size());
    LoadedImage image(again);
    const int lines = static_cast<int>(halve);
    samples == 1 ? image.DescrambleCalMono(pixels.data(), drop, 0, 0, 0, 0, white[0], black, lines)
                 : image.DescrambleCalColor(pixels.data(), drop, 0, 0, 0, 0, white[0], white[1], white[2], black);
    scan.pixels.assign(pixels.begin(), pixels.begin() + image.imageSize);
    scan.set(257, 4, longs({image.height})).set(278, 4, longs({image.height})).set(279, 4, longs({image.imageSize}));
    const Bytes want = scan.bytes();
    Bytes got = untouched(want.size());
    unsigned size = 0;
    EXPECT_EQ(descramble(file, got, size, drop, lines), 0u);
    EXPECT_TRUE(got == framed(want) && size == want.size()) << samples << " samples, width " << width;
  }
}

TEST(Raw, descrambling_refuses_before_it_writes) {
  // Samples, the tag and value that make it so, lag, halving, status.
  constexpr unsigned kCases[][6] = {{1, 258, 16, 0, 0, 2},          {1, 259, 4, 0, 0, 2},  {1, kMake, 0, 0, 0, 1},
                                    {1, 256, 0, 0, 0, 1},           {3, 279, 89, 0, 0, 1}, {1, 305, 0, 7, 0, 2},
                                    {1, 305, 0, 4, 1, 2},           {1, 305, 0, 4, 2, 2},  {3, 305, 0, 7, 0, 2},
                                    {1, 305, 0, 1u << 31 | 1, 1, 2}};
  for (const auto& [samples, tag, value, drop, halve, status] : kCases) {
    Bytes tiff = device_tiff(5, 6, samples, Bytes(90)).set(tag & 511, 4, longs({value})).bytes(), out = untouched(200);
    unsigned size = 77;
    testing::internal::CaptureStdout();
    EXPECT_EQ(descramble(tiff, out, size, drop, static_cast<int>(halve)), status) << tag << ' ' << drop;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), status == 2 && tag < 270 ? "ZELIMP_UNSUPPORTED\n" : "");
    EXPECT_TRUE(out == untouched(200) && size == 77);
  }
}

static const std::string path = testing::TempDir() + "raw_test.tif." + std::to_string(getpid());

// The bitmap in the library's hands for a file; empty for null.
static Bytes load(const Bytes& file) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(file.data()), std::ssize(file));
  unsigned size = 77;
  const unsigned char* const dib = ZelIMPLoadTIFF(path.c_str(), &size);
  unlink(path.c_str());
  EXPECT_TRUE(dib == nullptr ? size == 77 : dib == TI.dib);
  return dib == nullptr ? Bytes() : Bytes(dib, dib + size);
}

// What the bitmap writer makes of an image that goes on to the end of its file, without the file header.
static Bytes bitmap(Bytes file) {
  LoadedImage image(file);
  unsigned n = 0;
  if (image.image != nullptr) image.imageSize = static_cast<unsigned>(&file.back() + 1 - image.image);
  Bytes out(1078 + (image.width + 3) * image.height);
  ProcessTIFF_to_BMP(image, out.data(), &n, 0);
  return {out.begin() + 14, out.begin() + n};
}

TEST(Raw, files_load_as_bitmaps) {
  TiffFile scan = device_tiff(10, 6, 1, noise(60, 1)), colour = device_tiff(9, 5, 3, noise(135, 2)), longer = scan;
  colour.directory_last = true;  // so that bytes follow the pixels
  for (const TiffFile& file : {scan, colour, longer.set(257, 4, longs({40}))}) {
    EXPECT_EQ(load(file.bytes()), bitmap(file.bytes()));
  }
  const Bytes whole = scan.bytes(), empty = bitmap(ascii("MM"));
  const unsigned char* const before = TI.dib;
  for (std::size_t n = 0; n < whole.size(); ++n) EXPECT_EQ(load({&whole[0], &whole[n]}), Bytes()) << n;
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  for (const std::string& name : {path, path + "-", testing::TempDir()}) {
    EXPECT_EQ(ZelIMPLoadTIFF(name.c_str(), nullptr), nullptr);
  }
  unlink(path.c_str());
  EXPECT_TRUE(TI.dib == before && TI.height == 40);

  TiffFile bare = scan.erase(kMake), strips = longer, huge = device_tiff(65535, 65535, 1, {});
  for (const Bytes& file : {bare.erase(256).erase(257).bytes(), ascii("MM * 1234"), ascii("II+ 1234")}) {
    EXPECT_EQ(load(file), empty);
    EXPECT_TRUE(empty.size() == 1064 && TI.width == 0);
  }
  for (const TiffFile& file : {scan, strips.set(kStripOffsets, 4, longs({1, 2})), huge.set(257, 4, longs({-1u}))}) {
    EXPECT_TRUE(load(file.bytes()).empty() && TI.dib == nullptr && TI.width != 0);
  }
  TI.clear();
}

TEST(Raw, colour_bitmap) {
  Bytes file = device_tiff(2, 2, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}).bytes(), want = ascii("BM"), got(71);
  LoadedImage image(file);
  image.imageSize = 11;  // the last pixel is not all there
  append(want, longs({70, 0, 54, 40, 2, 2, 32 << 16 | 1, 0, 16, 0, 0, 0, 0}));
  append(want, Bytes{9, 8, 7, 0, 0, 0, 0, 0, 3, 2, 1, 0, 6, 5, 4, 0, 0});
  unsigned size = 0;
  EXPECT_EQ(ProcessTIFF_to_BMP_Color(image, got.data(), &size, 9), 0u);
  EXPECT_TRUE(got == want && size == 70);
}
