// DIBs in memory, bitmap files, and the store of templates.
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <fstream>

#include "support.hpp"
#include "support/dib_builder.hpp"
using namespace zel::test;
using testing::ElementsAre;

namespace {

// A store, and a file without a place.
struct Font : testing::Test {
  ~Font() override { close(fd); }
  void write(const Bytes& bytes) { std::ofstream(path) << std::string(bytes.begin(), bytes.end()); }
  Bytes written() { return content_of(path); }
  int load(const Bytes& bytes) { return write(bytes), font.LoadFont(path.data()); }
  int add(int code, Bytes sample) { return font.Add_Char(code, chars(sample)); }
  int mask(int code, Bytes image) { return font.Add_Mask(code, chars(image)); }
  Bytes variance(std::size_t n = 1088) { return bytes_at(font.slots[0].variance, n); }
  // Pixel i of mean and variance of a slot, and its samples.
  std::array<int, 3> state(int slot, int i = 0) {
    return {font.slots[slot].image[1064 + i], font.slots[slot].variance[1064 + i], font.slots[slot].samples};
  }
  const int fd = memfd_create("font", 0);
  std::string path = "/proc/self/fd/" + std::to_string(fd), folder = "/", nowhere = "nowhere/x", full = "/dev/full";
  FontAPI font;
};

TEST_F(Font, dib_headers) {
  // The fields of the header, then colours, palette bytes, place of the pixels, size.
  constexpr int kCases[][11] = {
      {40, 5, 3, 8, 0, 0, 0, 256, 1024, 1064, 1088}, {40, 33, 2, 1, 0, 0, 0, 2, 8, 48, 64},
      {40, 5, 2, 4, 0, 0, 0, 16, 64, 104, 112},      {40, 3, 2, 24, 0, 0, 0, 0, 0, 40, 64},
      {40, 5, 3, 8, 0, 9, 10, 10, 40, 80, 104},      {40, 5, -3, 8, 0, 0, 0, 256, 1024, 1064, 1040},
      {40, 5, 3, 8, 1, 7, 0, 256, 1024, 1064, 1071}, {40, 5, 3, 8, 3, 7, 0, 256, 1024, 1064, 1088},
      {40, 5, 3, 8, 0, 0, 65537, 65537, 4, 44, 68},  {40, INT_MAX, INT_MIN, 32, 0, 0, 0, 0, 0, 40, 40},
      {12, 5, 3, 8, 0, 0, 0, 256, 768, 780, 804},    {108, 65535, 1, 1, 0, 0, 0, 2, 6, 18, 8210}};
  for (const auto& c : kCases) {
    Bytes image = dib({c[0], c[1], c[2], c[3], c[4], c[5], c[6]});
    char* const p = chars(image);
    const int at = int(FindDIBBits(p) - p), made = CreateDIBPalette(p, nullptr);
    EXPECT_THAT((std::array{DIBWidth(p), DIBHeight(p), DIBNumColors(p), PaletteSize(p), at, DIBSize(p), made}),
                ElementsAre(c[1], c[2], c[7], c[8], c[9], c[10], 0));
  }
}

TEST_F(Font, bitmap_files) {
  const Bytes images[] = {dib({40, 5, -3, 8, 0, 99}, noise(24, 1)), dib({40, 5, 3, 8, 2, 7}, noise(7, 2)),
                          dib({12, 9, 3, 24}, noise(84, 3)), dib({40, -5, 3})};
  constexpr unsigned kAt[] = {1064, 1064, 12, 1064}, kEntered[] = {24, 7, 0, 0};
  for (unsigned i = 0; i < 4; ++i) {
    Bytes image = images[i], entered = images[i];
    if (kAt[i] != 12) std::ranges::copy(longs({kEntered[i]}), &entered[20]);
    EXPECT_TRUE(ImageBox_SaveDataToFile(path.data(), chars(image)) == 1 && image == entered);
    EXPECT_EQ(written(), joined(ascii("BM"), longs({image.size() + 14, 0, 14 + kAt[i]}), image));
    EXPECT_EQ(ImageBox_ReadDataFromFile(path.data()), 1);
    char* const read = ImageBox_ReadImageFromFile(path.data());
    EXPECT_TRUE(bytes_at(read, image.size()) == image && bytes_at(GetImage, image.size()) == image);
    std::free(read), std::free(GetImage);
  }
  Bytes image = grey_dib(5, 3, 1);
  GetImage = chars(image);
  EXPECT_EQ(ImageBox_SaveDataToFile(path.data(), nullptr), 0);
  for (const Bytes& other : {Bytes(13, 'B'), Bytes(99, 'B')}) {
    write(other);
    for (std::string* name : {&nowhere, &full}) EXPECT_EQ(ImageBox_SaveDataToFile(name->data(), chars(image)), 0);
    for (char* name : {path.data(), nowhere.data(), folder.data(), static_cast<char*>(nullptr)}) {
      EXPECT_TRUE(ImageBox_ReadImageFromFile(name) == nullptr && ImageBox_ReadDataFromFile(name) == 0);
    }
  }
  EXPECT_EQ(GetImage, chars(image));
}

TEST_F(Font, font_training) {
  // Mean, variance, sample, n; new mean, new variance.
  constexpr int kCases[][6] = {{10, 0, 30, 1, 20, 5},     {10, 9, 30, 0, 30, 0},     {255, 100, 0, 5, 212, 33},
                               {255, 200, 0, 2, 170, 19}, {7, 3, 200, 256, 7, 0},    {9, 8, 99, -1, 9, 8},
                               {0, 255, 255, 1, 127, 63}, {100, 50, 250, 3, 137, 1}, {9, 9, 255, INT_MAX, 9, 0}};
  for (const auto& [mean, variance, sample, n, new_mean, new_variance] : kCases) {
    Bytes images[] = {grey_dib(3, 2, mean), grey_dib(3, 2, variance), grey_dib(2, 3, sample)};
    Bytes wanted[] = {images[0], images[1]};
    for (const std::size_t at : {1064, 1068}) {
      std::fill_n(&wanted[0][at], 2, new_mean), std::fill_n(&wanted[1][at], 2, new_variance);
    }
    font.Mix_Images_average(images[0].data(), images[2].data(), n);
    font.Variance(images[0].data(), images[2].data(), images[1].data(), n);
    EXPECT_TRUE(images[0] == wanted[0] && images[1] == wanted[1]) << mean << " " << n;
  }
  Bytes first = grey_dib(5, 3, 10);
  EXPECT_EQ(font.Add_Char('7', chars(first)), 1);
  EXPECT_TRUE(first == grey_dib(5, 3, 0) && variance() == first && add('7', grey_dib(5, 3, 30)) == 1);
  EXPECT_THAT(state(0), ElementsAre(20, 5, 2));
  // Larger, of other depths, top to bottom, without columns: what both have is taken, and any sample counts.
  for (const Bytes& other : {grey_dib(8, 9, 20), dib({40, 5, 3, 1}, Bytes(12)), dib({40, 5, 3, 24}, Bytes(48, 20)),
                             grey_dib(5, -3, 9), dib({40, 0, 3}), dib({12, 5, 3}, Bytes(24, 20))}) {
    EXPECT_EQ(add('7', other), 1);
  }
  EXPECT_THAT(state(0, 4), ElementsAre(20, 1, 8));
  add('8', grey_dib(9, -1, 99)), font.slots[1].samples = 65535;
  EXPECT_EQ(add('8', grey_dib(9, 1, 1)), 2);
  EXPECT_THAT(state(1), ElementsAre(99, 0, 0));
}

TEST_F(Font, font_slots) {
  for (int i = 0; i < 128; ++i) EXPECT_EQ(add(i + 1, grey_dib(1 + i % 3, 1 - 2 * (i % 2), 1)), i + 1);
  unsigned long facts[4] = {9, 9, 9, 9};
  const auto info = [&](int i) { return font.Get_Char_Info(i, &facts[0], &facts[1], &facts[2], &facts[3]); };
  for (const int i : {-1, 128, INT_MIN}) EXPECT_FALSE(info(i) || font.Set_Char_Info(i, 1) || font.Delete_Char(i));
  EXPECT_THAT(facts, ElementsAre(9, 9, 9, 9));
  EXPECT_TRUE(info(1) && font.Delete_Char(4) && font.Set_Char_Info(6, 300));
  EXPECT_THAT(facts, ElementsAre(1, 0xFFFFFFFF, 2, 2));  // a height of -1, as it is stored
  for (const int code : {129, 5, 7}) EXPECT_FALSE(add(code, grey_dib(1, 1, 1)) || mask(code, grey_dib(1, 1, 1)));
  EXPECT_EQ(std::pair(add(0, grey_dib(1, 1, 44)), add(300, grey_dib(1, 1, 3))), std::pair(5, 7));
  EXPECT_THAT(state(4), ElementsAre(44, 0, 1));
  GetImage = reinterpret_cast<char*>(font.slots[9].image);
  EXPECT_TRUE(font.UnloadFont() == 0 && font.UnloadFont() == 0 && font.count == 0 && GetImage == nullptr);
}

TEST_F(Font, font_masks) {
  EXPECT_EQ(std::pair(mask(0, grey_dib(5, 3, 1)), add('7', grey_dib(5, 3, 10))), std::pair(0, 1));
  // Larger, a palette that leaves no room for pixels, a shorter header, rows top to bottom.
  for (const Bytes& image : {grey_dib(9, 9, 77), dib({40, 5, 3, 8, 0, 0, 9999}, Bytes(24, 1)),
                             dib({12, 2, 2}, Bytes(8, 7)), grey_dib(5, -3, 77)}) {
    Bytes wanted = variance();
    std::copy_n(image.begin(), std::min(image.size(), wanted.size()), wanted.begin());
    EXPECT_TRUE(mask('7', image) == 1 && variance() == wanted && add('7', grey_dib(5, 3, 10)) == 1);
  }
  EXPECT_THAT(state(0), ElementsAre(10, 77 * 8 % 256 / 9, 9));
}

TEST_F(Font, font_file_order) {
  for (int i = 0; i < 6; ++i) add(std::string("BA\1C\x80\x7F")[unsigned(i)] & 0xFF, grey_dib(6, 2, i));
  font.Set_Char_Info(2, 0), font.Set_Char_Info(3, 65), mask(127, grey_dib(6, 2, 9));
  Bytes wanted = joined(plain_record(65, 1, 1, 0), plain_record(65, 1, 3, 0), plain_record(66, 1, 0, 0),
                        plain_record(127, 2, 5, 9));
  for (std::string* name : {&full, &nowhere, &path}) EXPECT_EQ(font.SaveFont(name->data()), 0);
  EXPECT_EQ(written(), wanted);
  // More than an image's own header says is kept.
  append(wanted, font_record(6, 2, 127, 3, joined(grey_dib(6, 2, 1), noise(900, 5)), noise(1980, 6)));
  EXPECT_TRUE(load(wanted) == 5 && font.SaveFont(path.data()) == 0 && written() == wanted);
  Bytes many;
  for (int i = 0; i < 130; ++i) append(many, plain_record(i, i, 1, 2));
  EXPECT_EQ(std::pair(load(many), font.count), std::pair(128, 128));
}

TEST_F(Font, font_file_faults) {
  Bytes image = grey_dib(6, 2, 1), one = plain_record(65, 3, 1, 1), two = joined(one, plain_record(66, 1, 1, 1));
  for (std::size_t n = 0; n < two.size(); ++n) {
    const int whole = n < one.size() ? 0 : 1;
    EXPECT_EQ(load(Bytes(two.begin(), two.begin() + long(n))), whole) << n;
    EXPECT_TRUE(font.count == whole && add(66, image) == whole + 1) << n;
  }
  for (const auto& [width, height] : {std::pair(0, 2), {6, 0}}) {
    EXPECT_EQ(load(two), 2);
    EXPECT_EQ(load(joined(one, font_record(width, height, 66, 1, image, image))), 0);
    EXPECT_EQ(std::tuple(font.count, add(65, image), add(66, image)), std::tuple(2, 1, 0));
  }
  EXPECT_TRUE(font.LoadFont(folder.data()) == 0 && font.count == 2 && font.slots[0].code == 0);
  std::ranges::copy(longs({0xFFFFFFFF}), &two[one.size() + 14]);  // the size of the second record's images
  EXPECT_EQ(std::pair(load(two), font.count), std::pair(1, 1));
  for (const long size : {0, 11, 39, 41, 1079}) {
    const Bytes part(image.begin(), image.begin() + size);
    EXPECT_EQ(load(joined(font_record(6, 2, 65, 3, part, part), one)), 2) << size;
    EXPECT_FALSE(add(65, image) || mask(65, image) || font.SaveFont(path.data()) || written() != one);
    EXPECT_TRUE(font.Clear_Variance() == 1 && font.slots[0].samples == 3);
  }
}

TEST_F(Font, font_clear_variance) {
  constexpr int kCases[][5] = {{40, 1, 5, 256, 10}, {40, 6, 2, 10, 0}, {40, 6, -2, 256, 0}, {12, 1, 5, 256, 10}};
  constexpr int kRamp[][4] = {{0, 0, 0, 0},     {1, 0, 4, 0},     {63, 0, 252, 0}, {64, 0, 0, 0},
                              {65, 4, 251, 0},  {127, 252, 3, 0}, {128, 0, 0, 0},  {129, 251, 0, 2},
                              {191, 3, 0, 126}, {192, 0, 0, 128}, {255, 0, 0, 254}};
  for (const auto& [bytes, width, height, colours, kept] : kCases) {
    const Bytes image = dib({bytes, width, height, 8, 0, 0, colours}, Bytes(20, 60));
    const int pixels = (width + 3) / 4 * 4 * std::abs(height), entry = bytes == 40 ? 4 : 3;
    EXPECT_TRUE(font.UnloadFont() == 0 && add(65, image) == 1 && mask(65, image) == 1 && font.Clear_Variance() == 1);
    Bytes wanted = variance(image.size() - 20 + unsigned(pixels)), none = wanted;
    std::fill_n(wanted.end() - pixels, pixels - kept, std::uint8_t{0});
    std::fill_n(wanted.end() - kept, kept, std::uint8_t{60});
    for (const auto& [i, blue, green, red] : kRamp) {
      const int colour[] = {blue, green, red, 0};
      if (i < colours) std::copy_n(colour, entry, &wanted[unsigned(bytes + entry * i)]);
    }
    EXPECT_TRUE(none == wanted && font.slots[0].samples == 1) << bytes << " " << width << " " << height;
    font.slots[0].samples = 0, font.slots[0].variance[50] = 9;
    EXPECT_TRUE(font.Clear_Variance() == 1 && font.slots[0].samples == 0 && font.slots[0].variance[50] == 9);
  }
}

}  // namespace
