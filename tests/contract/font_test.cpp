// DIBs in memory, bitmap files, and the store of templates.
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <fstream>

#include "support.hpp"
using namespace zel::test;
using testing::Each;
using testing::ElementsAre;

namespace {

struct Header {
  unsigned bytes;
  int width, height;
  unsigned bits = 8, compression = 0, image_bytes = 0, used = 0;
};

// A whole DIB with an arbitrary palette; pixels: the rows with their padding.
Bytes dib(const Header& h, const Bytes& pixels = {}) {
  Bytes out = longs({h.bytes});
  append(
      out,
      h.bytes == 40 ? longs({unsigned(h.width), unsigned(h.height)}) : shorts({unsigned(h.width), unsigned(h.height)}),
      shorts({1, h.bits}));
  if (h.bytes == 40) append(out, longs({h.compression, h.image_bytes, 0, 0, h.used, 0}));
  append(out, noise(std::size_t(PaletteSize(reinterpret_cast<char*>(out.data()))), 1), pixels);
  return out;
}
Bytes grey(int width, int height, int level) {
  return dib({40, width, height}, Bytes(std::size_t((width + 3) / 4 * 4 * std::abs(height)), std::uint8_t(level)));
}
void put(Bytes& to, std::size_t at, unsigned value) { std::ranges::copy(longs({value}), to.begin() + long(at)); }
char* chars(Bytes& bytes) { return reinterpret_cast<char*>(bytes.data()); }
Bytes bytes_at(const void* memory, std::size_t n) {
  const auto* const first = static_cast<const std::uint8_t*>(memory);
  return Bytes(first, first + n);
}

Bytes record(unsigned width, unsigned height, unsigned code, unsigned samples, const Bytes& image,
             const Bytes& variance) {
  Bytes out = longs({width, height, code});
  append(out, shorts({samples}), longs({image.size()}), image, variance);
  return out;
}
Bytes plain(unsigned code, unsigned samples, int image, int variance) {
  return record(6, 2, code, samples, grey(6, 2, image), grey(6, 2, variance));
}
Bytes joined(const auto&... parts) {
  Bytes out;
  append(out, parts...);
  return out;
}

// A store, and a file without a place.
struct Font : testing::Test {
  ~Font() override { close(fd); }
  void write(const Bytes& bytes) { std::ofstream(path) << std::string(bytes.begin(), bytes.end()); }
  Bytes written() { return Bytes(std::istreambuf_iterator<char>(std::ifstream(path).rdbuf()), {}); }
  int load(const Bytes& bytes) { return write(bytes), font.LoadFont(path.data()); }
  int add(int code, Bytes sample) { return font.Add_Char(code, chars(sample)); }
  int mask(int code, Bytes image) { return font.Add_Mask(code, chars(image)); }
  // Pixel i of mean and variance of a slot, and its samples.
  std::array<int, 3> state(int slot, int i = 0) {
    return {font.slots[slot].image[1064 + i], font.slots[slot].variance[1064 + i], font.slots[slot].samples};
  }
  const int fd = memfd_create("font", 0);
  std::string path = "/proc/self/fd/" + std::to_string(fd), folder = "/", nowhere = "nowhere/x", full = "/dev/full";
  FontAPI font;
};
using State = std::array<int, 3>;

}  // namespace

TEST_F(Font, dib_headers) {
  const struct {
    Header header;
    int colours, palette, at, size;
  } kCases[] = {{{40, 5, 3}, 256, 1024, 1064, 1088},
                {{40, 33, 2, 1}, 2, 8, 48, 64},
                {{40, 5, 2, 4}, 16, 64, 104, 112},
                {{40, 3, 2, 24}, 0, 0, 40, 64},
                {{40, 5, 3, 8, 0, 9, 10}, 10, 40, 80, 104},
                {{40, 5, -3}, 256, 1024, 1064, 1040},
                {{40, 5, 3, 8, 1, 7}, 256, 1024, 1064, 1071},
                {{40, 5, 3, 8, 3, 7}, 256, 1024, 1064, 1088},
                {{40, 5, 3, 8, 0, 0, 65537}, 65537, 4, 44, 68},
                {{40, INT_MAX, INT_MIN, 32}, 0, 0, 40, 40},
                {{12, 5, 3}, 256, 768, 780, 804},
                {{108, 65535, 1, 1}, 2, 6, 18, 8210}};
  for (const auto& [header, colours, palette, at, size] : kCases) {
    Bytes image = dib(header);
    char* const p = chars(image);
    EXPECT_EQ(std::pair(DIBWidth(p), DIBHeight(p)), std::pair(header.width, header.height)) << size;
    EXPECT_THAT((std::array{DIBNumColors(p), PaletteSize(p), int(FindDIBBits(p) - p), DIBSize(p),
                            CreateDIBPalette(p, nullptr)}),
                ElementsAre(colours, palette, at, size, 0));
  }
}

TEST_F(Font, bitmap_files) {
  const struct {
    Header header;
    std::size_t pixels;
    unsigned entered;  // image size
  } kCases[] = {
      {{40, 5, -3, 8, 0, 99}, 24, 24}, {{40, 5, 3, 8, 2, 7}, 7, 7}, {{12, 9, 3, 24}, 84, 0}, {{40, -5, 3}, 0, 0}};
  for (const auto& [header, pixels, entered] : kCases) {
    Bytes image = dib(header, noise(pixels, 2)), head = ascii("BM------\0\0\0\0----");
    EXPECT_EQ(ImageBox_SaveDataToFile(path.data(), chars(image)), 1);
    EXPECT_TRUE(header.bytes == 12 || bytes_at(&image[20], 4) == longs({entered}));
    head = joined(ascii("BM"), longs({image.size() + 14, 0, 14 + image.size() - pixels}), image);
    EXPECT_EQ(written(), head);
    EXPECT_EQ(ImageBox_ReadDataFromFile(path.data()), 1);
    char* const read = ImageBox_ReadImageFromFile(path.data());
    EXPECT_TRUE(bytes_at(read, image.size()) == image && bytes_at(GetImage, image.size()) == image);
    std::free(read), std::free(GetImage);
  }
  Bytes image = grey(5, 3, 1);
  for (std::string* name : {&nowhere, &full}) EXPECT_EQ(ImageBox_SaveDataToFile(name->data(), chars(image)), 0);
  EXPECT_EQ(ImageBox_SaveDataToFile(path.data(), nullptr), 0);
  GetImage = chars(image);
  for (const Bytes& other : {Bytes(13, 'B'), Bytes(99, 'B')}) {
    write(other);
    for (char* name : {path.data(), nowhere.data(), folder.data(), static_cast<char*>(nullptr)}) {
      EXPECT_TRUE(ImageBox_ReadImageFromFile(name) == nullptr && ImageBox_ReadDataFromFile(name) == 0);
    }
  }
  EXPECT_EQ(GetImage, chars(image));
}

TEST_F(Font, font_training) {
  constexpr struct {
    int mean, variance, sample, n, new_mean, new_variance;
  } kCases[] = {{10, 0, 30, 1, 20, 5},     {10, 9, 30, 0, 30, 0},  {255, 100, 0, 5, 212, 33},
                {255, 200, 0, 2, 170, 19}, {7, 3, 200, 256, 7, 0}, {7, 255, 200, 257, 7, 0},
                {0, 255, 255, 1, 127, 63}, {9, 8, 99, -1, 9, 8},   {9, 9, 255, INT_MAX, 9, 0},
                {100, 50, 250, 3, 137, 1}};
  for (const auto& [mean, variance, sample, n, new_mean, new_variance] : kCases) {
    Bytes images[] = {grey(3, 2, mean), grey(3, 2, variance), grey(2, 3, sample)}, made[] = {images[0], images[1]};
    font.Mix_Images_average(images[0].data(), images[2].data(), n);
    font.Variance(images[0].data(), images[2].data(), images[1].data(), n);
    for (const std::size_t at : {1064u, 1065u, 1068u, 1069u}) {
      made[0][at] = std::uint8_t(new_mean), made[1][at] = std::uint8_t(new_variance);
    }
    EXPECT_TRUE(images[0] == made[0] && images[1] == made[1]) << mean << " " << n << ": " << int(images[1][1064]);
  }
  Bytes first = grey(5, 3, 10);
  EXPECT_EQ(font.Add_Char('7', chars(first)), 1);
  EXPECT_TRUE(first == grey(5, 3, 0) && bytes_at(font.slots[0].variance, 1088) == first);
  EXPECT_EQ(bytes_at(font.slots[0].image, 1088), grey(5, 3, 10));
  EXPECT_EQ(add('7', grey(5, 3, 30)), 1);
  EXPECT_EQ(state(0), (State{20, 5, 2}));
  // Larger, of other depths, top to bottom, without columns: what both have is taken, and any sample counts.
  for (const Bytes& other : {grey(8, 9, 20), dib({40, 5, 3, 1}, Bytes(12)), dib({40, 5, 3, 24}, Bytes(48, 20)),
                             grey(5, -3, 9), dib({40, 0, 3}), dib({12, 5, 3}, Bytes(24, 20))}) {
    EXPECT_EQ(add('7', other), 1);
  }
  EXPECT_EQ(state(0, 4), (State{20, 1, 8}));
  EXPECT_EQ(add('8', grey(9, -1, 99)), 2);
  font.slots[1].samples = 65535;
  EXPECT_EQ(add('8', grey(9, 1, 1)), 2);
  EXPECT_EQ(state(1), (State{99, 0, 0}));
}

TEST_F(Font, font_slots) {
  for (int i = 0; i < 128; ++i) EXPECT_EQ(add(i + 1, grey(1 + i % 3, 1 - 2 * (i % 2), 1)), i + 1);
  unsigned long facts[4] = {9, 9, 9, 9};
  const auto info = [&](int i) { return font.Get_Char_Info(i, &facts[0], &facts[1], &facts[2], &facts[3]); };
  for (const int i : {-1, 128, INT_MIN}) EXPECT_EQ(info(i) + font.Set_Char_Info(i, 1) + font.Delete_Char(i), 0);
  EXPECT_THAT(facts, Each(9u));
  EXPECT_EQ(info(4), 1);
  EXPECT_THAT(facts, ElementsAre(1, 1, 2, 5));
  EXPECT_EQ(info(1), 1);
  EXPECT_THAT(facts, ElementsAre(1, 0xFFFFFFFF, 2, 2));  // a height of -1, as it is stored
  EXPECT_EQ(add(129, grey(1, 1, 1)) + font.Delete_Char(4) + font.Set_Char_Info(6, 300) + font.count, 0 + 1 + 1 + 128);
  EXPECT_EQ(add(5, grey(1, 1, 1)) + mask(7, grey(1, 1, 1)), 0);
  EXPECT_EQ(add(0, grey(1, 1, 44)) + add(300, grey(1, 1, 3)), 5 + 7);
  EXPECT_EQ(state(4), (State{44, 0, 1}));
  GetImage = reinterpret_cast<char*>(font.slots[9].image);
  EXPECT_TRUE(font.UnloadFont() + font.UnloadFont() + font.count == 0 && GetImage == nullptr);
  EXPECT_EQ(add(1, grey(1, 1, 1)), 1);
}

TEST_F(Font, font_masks) {
  EXPECT_EQ(mask(0, grey(5, 3, 1)) + add('7', grey(5, 3, 10)) + mask('8', grey(5, 3, 1)), 0 + 1 + 0);
  // Larger, a palette that leaves no room for pixels, a shorter header, rows top to bottom.
  for (const Bytes& image :
       {grey(9, 9, 77), dib({40, 5, 3, 8, 0, 0, 9999}, Bytes(24, 1)), dib({12, 2, 2}, Bytes(8, 7)), grey(5, -3, 77)}) {
    Bytes wanted = bytes_at(font.slots[0].variance, 1088);
    std::copy_n(image.begin(), std::min(image.size(), wanted.size()), wanted.begin());
    EXPECT_EQ(mask('7', image), 1);
    EXPECT_EQ(bytes_at(font.slots[0].variance, 1088), wanted);
    EXPECT_EQ(add('7', grey(5, 3, 10)), 1);
  }
  EXPECT_EQ(state(0), (State{10, 77 * 8 % 256 / 9, 9}));
}

TEST_F(Font, font_file_order) {
  for (const int i : {1, 2, 3, 4, 5, 6}) add(std::array{66, 65, 1, 67, 128, 127}[unsigned(i - 1)], grey(6, 2, i));
  font.Set_Char_Info(2, 0), font.Set_Char_Info(3, 65), mask(127, grey(6, 2, 9));
  Bytes wanted = joined(plain(65, 1, 2, 0), plain(65, 1, 4, 0), plain(66, 1, 1, 0), plain(127, 2, 6, 9));
  EXPECT_EQ(font.SaveFont(path.data()), 0);
  EXPECT_EQ(written(), wanted);
  EXPECT_EQ(font.SaveFont(full.data()) + font.SaveFont(nowhere.data()) + font.SaveFont(nullptr), 0);
  // More than an image's own header says is kept.
  append(wanted, record(6, 2, 127, 3, joined(grey(6, 2, 1), noise(900, 5)), joined(grey(6, 2, 2), noise(900, 6))));
  EXPECT_EQ(load(wanted) + font.SaveFont(path.data()), 5);
  EXPECT_EQ(written(), wanted);
  Bytes many;
  for (unsigned i = 0; i < 130; ++i) append(many, plain(i, i, 1, 2));
  EXPECT_EQ(load(many) + font.count, 128 + 128);
}

TEST_F(Font, font_file_faults) {
  const Bytes image = grey(6, 2, 1), one = plain(65, 3, 1, 1), two = joined(one, plain(66, 1, 1, 1));
  for (std::size_t n = 0; n < two.size(); ++n) {
    const int whole = n < one.size() ? 0 : 1;
    EXPECT_EQ(load(Bytes(two.begin(), two.begin() + long(n))), whole) << n;
    EXPECT_EQ(font.count + add(66, image), 2 * whole + 1) << n;
  }
  for (const Bytes& fault : {record(0, 2, 66, 1, image, image), record(6, 0, 66, 1, image, image)}) {
    EXPECT_EQ(load(two) + load(joined(one, fault, two)) + font.count, 2 + 0 + 2);
    EXPECT_EQ(add(65, image) + add(66, image), 1 + 0);
  }
  EXPECT_EQ(font.LoadFont(folder.data()) + font.LoadFont(nullptr) + font.count, 0 + 0 + 2);
  EXPECT_TRUE(font.slots[0].code == 0 && font.slots[0].image == nullptr);
  Bytes absurd = two;
  put(absurd, one.size() + 14, 0xFFFFFFFF);
  EXPECT_EQ(load(absurd) + font.count, 1 + 1);
  for (const long size : {0, 11, 39, 41, 1079}) {
    const Bytes part(image.begin(), image.begin() + size);
    EXPECT_EQ(load(joined(record(6, 2, 65, 3, part, part), one)), 2) << size;
    EXPECT_EQ(add(65, image) + mask(65, image) + font.SaveFont(path.data()), 0);
    EXPECT_EQ(written(), one);
    EXPECT_EQ(font.Clear_Variance() + font.slots[0].samples, 1 + 3);
  }
}

TEST_F(Font, font_clear_variance) {
  EXPECT_EQ(font.Clear_Variance(), 1);
  const struct {
    Header header;
    long pixels, kept;
    int colours;
  } kCases[] = {{{40, 1, 5}, 20, 10, 256},
                {{40, 6, 2, 8, 0, 0, 10}, 16, 0, 10},
                {{40, 6, -2}, 16, 0, 256},
                {{12, 1, 5}, 20, 10, 256}};
  constexpr std::uint8_t kRamp[][5] = {{0, 0, 0, 0, 0},     {1, 0, 4, 0, 0},     {63, 0, 252, 0, 0},
                                       {64, 0, 0, 0, 0},    {65, 4, 251, 0, 0},  {127, 252, 3, 0, 0},
                                       {128, 0, 0, 0, 0},   {129, 251, 0, 2, 0}, {191, 3, 0, 126, 0},
                                       {192, 0, 0, 128, 0}, {255, 0, 0, 254, 0}};
  for (const auto& [header, pixels, kept, colours] : kCases) {
    const Bytes image = dib(header, Bytes(std::size_t(pixels), 60));
    font.UnloadFont();
    EXPECT_EQ(add(65, image) + mask(65, image) + font.Clear_Variance(), 1 + 1 + 1);
    const Bytes made = bytes_at(font.slots[0].variance, image.size());
    EXPECT_EQ(std::count(made.end() - pixels, made.end() - kept, 0), pixels - kept);
    EXPECT_TRUE(std::equal(image.end() - kept, image.end(), made.end() - kept) && font.slots[0].samples == 1);
    const std::size_t entry = header.bytes == 40 ? 4 : 3;
    for (const auto& [i, blue, green, red, reserved] : kRamp) {
      const Bytes colour = {blue, green, red, reserved};
      EXPECT_TRUE(i >= colours || std::equal(&colour[0], &colour[0] + entry, &made[header.bytes + entry * i]))
          << int(i);
    }
  }
  font.slots[0].samples = 0;
  const Bytes before = bytes_at(font.slots[0].variance, 804);
  font.slots[0].variance[790] = 9;
  EXPECT_EQ(font.Clear_Variance() + font.slots[0].samples + font.slots[0].variance[790], 1 + 0 + 9);
}
