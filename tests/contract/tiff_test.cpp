// The TIFF container: tags, header, image object.
#include "support.hpp"
using namespace zel::test;

// A file with values of all types, laid out differently, is written in the writer's own layout.
TEST(Tiff, tiff_odd_value_offsets) {
  TiffFile in = device_tiff(11, 1, 1, noise(11, 2)).set(kStripOffsets, 3, {}, 1);
  for (std::uint16_t k = 0; k < 15 * 6; ++k) {
    const unsigned size = std::array{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 0, 0}[k / 6];
    in.add(1000, k / 6 & 15, noise(size == 0 ? 4 : size * (k % 6), k), k % 6);
  }
  const Bytes want = TiffFile(in).set(kStripOffsets, 4, {}, 1).bytes();
  in.directory_last = true;
  Bytes file = in.bytes(), got = untouched(want.size());
  TiffImage image;
  for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(image.load(file.data()) + image.save(&got[kMargin]), 0);
  EXPECT_EQ(got, framed(want));
  EXPECT_TRUE(image.GetTiffSize() == want.size() && image.header->dataOffset % 2 != 0);
  image.clear();
  EXPECT_TRUE(image.header == nullptr && image.GetTiffSize() == 14 + 11 && image.save(nullptr) == 0);
}

TEST(Tiff, tiff_bit_depth_from_count_and_tiff_whole_resolution) {
  TiffImage i;
  const auto facts = [&](const TiffFile& file) {
    i.load(file.bytes().data());
    const std::string strings = std::string(i.descriptionString) + i.modelString + i.softwareString;
    return std::tuple(i.width, i.height, i.bitDepth, i.compression, i.photometric, i.rowsPerStrip, i.numberOfStrips,
                      i.xResolution, i.yResolution, strings);
  };
  TiffFile file = device_tiff(3, 5, 1, {}).add(256, 4, longs({77})).set(272, 2, text(std::string(100, 'm')));
  const std::string texts = "front and rear" + std::string(80, 'm') + "firmware 1.2";
  EXPECT_EQ(facts(file), std::tuple(3, 5, 8, 1, 1, 5, 1, 200.0, 200.0, texts));
  file.set(258, 3, shorts({9, 9})).set(282, 5, longs({7, 0})).add(283, 5, longs({4294967295, 2})).erase(kMake);
  EXPECT_EQ(facts(file), std::tuple(3, 5, 24, 1, 1, 5, 1, 0.0, 2147483647.0, texts));
  file.set(258, 3, {}, 0).set(282, 5, {}, 0).add(283, 4, longs({300})).set(kStripOffsets, 4, longs({1, 2, 3}));
  EXPECT_EQ(facts(file), std::tuple(3, 5, 24, 1, 1, 5, 3, 0.0, 0.0, texts));
  i.header->setWidth(1);
  EXPECT_EQ(i.header->tags[1]->valueOffset, 1u);  // the second of two
  file.version = 43;
  EXPECT_EQ(i.header->loadHeader(file.bytes().data()), -42);
  file.byte_order = 0x4D4D;
  EXPECT_EQ(i.header->loadHeader(file.bytes().data()), -1);
  EXPECT_EQ(facts(file), std::tuple(0, 0, 0, 0, 0, 0, 0, 0.0, 0.0, ""));
  i.clear();
}

TEST(Tiff, strip_lists) {
  TiffFile file;
  file.add(279, 3, shorts({1, 2})).add(279, 3, shorts({1, 2, 3}));
  file.add(279, 4, longs({9, 8})).add(279, 7, ascii("bytes"));
  TiffHeader header;
  header.loadHeader(file.bytes().data());
  EXPECT_EQ(header.getStripByteCounts(), (std::vector<unsigned>{0x20001, 1, 2, 3, 9, 8}));
}

TEST(Tiff, tiff_short_description) {
  using Read = std::pair<int, std::string>;  // what the getter says it took, and the bytes it wrote
  const auto read = [](std::uint16_t tag, std::size_t bytes, int room) {
    TiffFile file;
    file.add(tag, 2, text("older text")).add(tag, 2, ascii({"0123456789abcdefghijklmn", bytes}));
    TiffHeader header;
    header.loadHeader(file.bytes().data());
    Bytes got(40, '.');
    tag == 270 ? header.getDescriptionString(got.data(), &room) : header.getMakeString(got.data(), &room);
    return Read(room, std::string(got.begin(), std::find(got.begin(), got.end(), '.')));
  };
  EXPECT_EQ(read(kMake, 24, 128), Read(24, "0123456789abcdefghijklmn"));
  EXPECT_EQ(read(kMake, 24, 10), Read(10, "0123456789"));
  EXPECT_EQ(read(kMake, 3, 2), Read(2, "01"));
  EXPECT_EQ(read(kMake, 24, -1), Read(0, ""));
  EXPECT_EQ(read(270, 24, 10), Read(10, "0123456789"));
  EXPECT_EQ(read(270, 5, 128), Read(5, "01234"));
  EXPECT_EQ(read(270, 3, 128), Read(3, std::string("012\0", 4)));
  EXPECT_EQ(read(270, 24, 4), Read(4, std::string("\x31\0\0\0", 4)));  // the offset of the text
}

TEST(TiffImage, load_accepts_and_refuses) {
  const TiffFile scan = device_tiff(5, 4, 1, noise(20, 4));
  const auto make = [&](const char* value, std::size_t n) { return TiffFile(scan).set(kMake, 2, ascii({value, n})); };
  const TiffFile cases[] = {
      scan, make("Varnoke Resources, Inc\0more", 27), make("", 0).add(kMake, 2, text("Varnoke Industries, Inc")),
      TiffFile(scan).set(kStripOffsets, 3, {}, 1),
      // Refused; the tests of the checked interface have more of them.
      make("Varnoke Industries, Inc", 23), make("Var", 3), TiffFile(scan).add(kMake, 2, text("other")),
      TiffFile(scan).set(kStripOffsets, 3, shorts({300, 310})), TiffFile(scan).set(kStripOffsets, 4, {}, 0),
      TiffFile(scan).add(kStripOffsets, 4, {}, 1), TiffFile(scan).set(279, 7, ascii("12345678"))};
  TiffImage image;
  for (const TiffFile& file : cases) {
    const bool accepted = &file - cases < 4;
    Bytes bytes = file.bytes();
    image.image = nullptr;
    EXPECT_EQ(image.load(bytes.data()), accepted ? 0 : -1) << &file - cases;
    EXPECT_TRUE(image.GetImage() == (accepted ? &bytes.end()[-20] : nullptr) && image.GetImageSize() == 20);
  }
  image.clear();
}

TEST(TiffImage, descrambling_shortens_the_image) {
  for (const auto& [samples, lag, left] : {std::array{1u, 2u, 4u}, {1, 7, 0}, {3, 1, 5}, {3, 9, 0}}) {
    Bytes file = device_tiff(8, 6, samples, noise(48 * samples, 1)).bytes(), dst(48 * samples), want = dst;
    LoadedImage i(file);
    unsigned n;
    if (samples == 1) ZelIMPDescramble_mono(i.image, 0, want.data(), &n, 6, 8, static_cast<int>(lag));
    if (samples == 3) ZelIMPDescramble_color(i.image, 0, want.data(), &n, 6, 8, lag);
    samples == 1 ? i.DescrambleMono(dst.data(), lag) : i.DescrambleColor(dst.data(), lag);
    EXPECT_TRUE(i.height == left && i.header->getHeigth() == left && i.imageSize == 8 * samples * left && dst == want);
  }
}

TEST(TiffImage, steps_can_be_replaced) {
  static std::string log;
  struct Recorder : TiffImage {
    int loadTagsAndHeader(unsigned char* f) override { return log += "tags ", TiffImage::loadTagsAndHeader(f); }
    void examineTiffTags() override { log += "examine ", TiffImage::examineTiffTags(); }
    int loadImageData(unsigned char*) override { return log += "data ", 0; }
    int saveTagsAndHeader(unsigned char*) override { return log += "save ", 0; }
    int saveImageData(unsigned char*) override { return log += "pixels ", 0; }
    void clear() override { log += "clear ", TiffImage::clear(); }
  } image;
  EXPECT_EQ(image.load(device_tiff(2, 2, 1, {}).bytes().data()) + image.save(nullptr), 0);
  EXPECT_EQ(log, "clear tags examine data save pixels ");
  { const TiffImage copy = image; }  // shares the header and leaves it alone
  EXPECT_EQ(image.header->tags.size(), 16u);
  image.clear();
}
