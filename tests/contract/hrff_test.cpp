// The entry points of recognition: statuses, messages, what becomes of the caller's images, and the image utilities by
// hand.

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support.hpp"
#include "support/punched_line.hpp"

namespace zel::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

char* chars(Bytes& bytes, std::size_t from = 0) { return reinterpret_cast<char*>(bytes.data() + from); }
unsigned char* dib_of(Bytes& file) { return file.data() + 14; }

// A DIB of a few pixels, rows as they lie, with a grey ramp.
Bytes dib(int width, int height, const Bytes& pixels) {
  const Bytes file = bitmap_file(width, height, pixels);
  return {file.begin() + 14, file.end()};
}
Bytes pixels_of(const Bytes& dib) { return {dib.begin() + 1064, dib.end()}; }

// The pixels of a DIB that the library made; frees it.
template <class T>
Bytes taken(T* made, std::size_t pixels) {
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(made);
  const Bytes out(bytes + 1064, bytes + 1064 + pixels);
  std::free(made);
  return out;
}
char* given(const Bytes& dib) {
  return static_cast<char*>(std::memcpy(std::malloc(dib.size()), dib.data(), dib.size()));
}

Bytes content(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

// A face for ZelIMPValidateMH and what it is to give.
struct GivenFace {
  Bytes file;
  unsigned char* address;
  int status;
  std::string text;
};
std::vector<GivenFace> faces(bool rear, const std::string& failed, const std::string& missing) {
  auto* const no_dib = reinterpret_cast<unsigned char*>(std::uintptr_t{0} - 14);
  const Bytes blank = PunchedLine{.digits = "", .rear = rear}.file();
  std::vector<GivenFace> all = {
      {PunchedLine{.digits = "024680", .rear = rear}.file(), nullptr, 0, "024680"},
      {PunchedLine{.digits = "123456789", .rear = rear}.file(), nullptr, 0, "123456789"},
      {PunchedLine{.digits = "1234567", .rear = rear, .top_down = true}.file(), nullptr, 0, "1234567"},
      {PunchedLine{.digits = "97 5?3", .rear = rear, .width = 1403}.file(), nullptr, 0, "97  5?3"},
      {blank, nullptr, 1, failed},
      {{}, nullptr, 1, failed},
      {{}, no_dib, 2, missing}};
  for (GivenFace& face : all) {
    if (!face.file.empty()) face.address = face.file.data();
  }
  return all;
}

TEST(Hrff, validate_missing_and_null_and_validate_compares_faces) {
  const auto fronts = faces(false, "Error Decodeing Front\n", "Error reading the Front image\n");
  const auto rears = faces(true, "Error decoding rear\n", "Error reading the Rear image\n");
  for (const GivenFace& front : fronts) {
    for (const GivenFace& rear : rears) {
      GivenFace f = front, r = rear;
      if (!f.file.empty()) f.address = f.file.data();
      if (!r.file.empty()) r.address = r.file.data();
      char result[272] = {};
      EXPECT_EQ(ZelIMPValidateMH(f.address, r.address, result), front.status + 4 * rear.status);
      EXPECT_EQ(result, front.text == rear.text ? front.text : "Front=" + front.text + "\nRear=" + rear.text);
      EXPECT_EQ(f.file, front.file);
      Bytes mirrored = rear.file;
      if (!mirrored.empty()) ImageBox_Mirror(chars(mirrored, 14));
      EXPECT_EQ(r.file, mirrored);
    }
  }
}

TEST(Hrff, decode_statuses_and_messages) {
  struct {
    const char* digits;
    unsigned char side;
    int status;
    const char* result;
  } const cases[] = {{"314159", 0, 0, "314159"},
                     {"314159", 1, 0, "314159"},
                     {"", 0, 1, "Error Decoding Front"},
                     {"", 255, 1, "Error Decoding Rear\n"}};
  unsigned char side = 0;
  char result[128];
  for (const auto& c : cases) {
    Bytes file = PunchedLine{.digits = c.digits, .rear = c.side != 0}.file(), before = file;
    side = c.side;
    EXPECT_EQ(ZelIMPDecodeMH(chars(file, 14), result, &side), c.status);
    EXPECT_STREQ(result, c.result);
    if (side != 0) ImageBox_Mirror(chars(before, 14));
    EXPECT_EQ(file, before);
  }
  EXPECT_EQ(ZelIMPDecodeMH(nullptr, result, &side), 2);
  EXPECT_STREQ(result, "Error reading the image\n");
  EXPECT_EQ(TYPE, 2u);
}

TEST(Hrff, text_is_cut_to_the_length_given) {
  Bytes file = PunchedLine{.digits = "12345678"}.file();
  ImageBox_Init(2);
  const auto read = [&](int x, int outlen) {
    Bytes out(200, '#');
    EXPECT_EQ(MakeOCR_P(dib_of(file), x, 195, 540, 85, 0, chars(out), outlen), x == 166 ? 1 : 0);
    return std::string(out.begin(), std::find_if(out.rbegin(), out.rend(), [](auto c) { return c != '#'; }).base());
  };
  const auto filled = [](std::string text, std::size_t length) { return text.resize(length), text; };
  EXPECT_EQ(read(166, 5), filled("1234", 5));
  EXPECT_EQ(read(166, 128), filled("12345678", 128));
  EXPECT_EQ(read(166, 129), filled("12345678", 128));
  EXPECT_EQ(read(166, 1), filled("", 1));
  EXPECT_EQ(read(166, 0), "");
  EXPECT_EQ(read(166, -1), "");
  EXPECT_EQ(read(861, 128), "");  // one column beyond the image
  EXPECT_EQ(MakeOCR_P(nullptr, 0, 0, 0, 0, 0, nullptr, 9), 0);
}

TEST(Hrff, mix_front_rear_as_they_come) {
  Bytes even = PunchedLine{.digits = "0 2 4 6 8"}.file(), odd = PunchedLine{.digits = " 1 3 5 7 "}.file();
  Bytes faint = PunchedLine{.digits = "123456", .ink = 196}.file();
  char out[128];
  ImageBox_Init(2);
  const auto mix = [&](Bytes& front, Bytes& rear, int y) {
    return Mix_FrontRear(dib_of(front), dib_of(rear), 166, y, 540, 85, 0, out, 128);
  };
  EXPECT_EQ(mix(even, odd, 195), 1);
  EXPECT_STREQ(out, "012345678");
  EXPECT_EQ(mix(even, odd, 536), 0);  // one row beyond the images
  EXPECT_EQ(MakeOCR_P(dib_of(faint), 166, 195, 540, 85, 0, out, 128), 1);
  EXPECT_EQ(mix(faint, faint, 195), 0);
  EXPECT_EQ(Mix_FrontRear(dib_of(even), nullptr, 166, 195, 540, 85, 0, out, 128), 0);
}

TEST(Hrff, mirror_one_byte_off_and_mirror_top_down_turns_over) {
  struct {
    int width, height;
    Bytes before, after;
  } const cases[] = {
      {4, 2, {1, 2, 3, 4, 5, 6, 7, 8}, {0, 4, 3, 2, 1, 8, 7, 6}},
      {5,
       2,
       {1, 2, 3, 4, 5, 90, 91, 92, 6, 7, 8, 9, 10, 93, 94, 95},
       {0, 0, 0, 0, 5, 4, 3, 2, 1, 0, 0, 0, 10, 9, 8, 7}},
      {3, -3, {1, 2, 3, 90, 4, 5, 6, 91, 7, 8, 9, 92}, {7, 8, 9, 92, 4, 5, 6, 91, 1, 2, 3, 90}},
  };
  for (const auto& c : cases) {
    Bytes image = dib(c.width, c.height, c.before);
    EXPECT_EQ(ImageBox_Mirror(chars(image)), 1);
    EXPECT_EQ(image, dib(c.width, c.height, c.after)) << c.width;
  }
  Bytes colour = dib(4, 1, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}), before;
  colour[14] = 24, colour[32] = 0, before = colour;
  EXPECT_EQ(ImageBox_Mirror(chars(colour)), 0);
  EXPECT_EQ(Image_Equalize(colour.data()), 0);
  EXPECT_EQ(colour, before);
}

TEST(Hrff, equalize_stretches_stored_values) {
  // 100 pixels, so that more than two count: the two darkest and brightest are beyond the limits.
  Bytes pixels(100, 60), wanted(100, 51);
  for (const auto& [at, from, to] :
       {std::array{0, 0, 0}, {1, 10, 0}, {2, 50, 0}, {97, 100, 255}, {98, 240, 255}, {99, 250, 255}}) {
    pixels[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(from);
    wanted[static_cast<std::size_t>(at)] = static_cast<std::uint8_t>(to);
  }
  Bytes image = dib(20, 5, pixels);
  EXPECT_EQ(Image_Equalize(image.data()), (94 * 51 + 3 * 255) / 100);
  EXPECT_EQ(pixels_of(image), wanted);

  Bytes uniform = dib(3, 2, {9, 9, 9, 77, 9, 9, 9, 78});
  EXPECT_EQ(Image_Equalize(uniform.data()), 0);
  EXPECT_THAT(pixels_of(uniform), ElementsAre(0, 0, 0, 77, 0, 0, 0, 78));
  // Value 4 has level 100 and 8 has 20, so that both are below the lowest level; 0 and 255 keep theirs.
  Bytes mapped = dib(4, 1, {4, 8, 60, 200});
  mapped[40 + 4 * 4] = 100, mapped[40 + 4 * 8] = 20;
  EXPECT_EQ(Image_Equalize(mapped.data()), (0 + 0 + 56 + 255) / 4);
  EXPECT_THAT(pixels_of(mapped), ElementsAre(0, 0, 56, 255));
  EXPECT_EQ(Image_Equalize(nullptr), 0);
}

TEST(Hrff, convolution_is_the_geometric_mean) {
  Bytes a = dib(3, 2, {0, 255, 10, 99, 2, 7, 200, 99}), b = dib(5, 1, {9, 255, 20, 1, 1, 99, 99, 99});
  auto* const both = Convolute_images(chars(a), chars(b));
  EXPECT_EQ(DIBWidth(reinterpret_cast<char*>(both)) * 10 + DIBHeight(reinterpret_cast<char*>(both)), 31);
  EXPECT_THAT(taken(both, 4), ElementsAre(0, 255, 14, 0));
  EXPECT_EQ(Convolute_images(chars(a), nullptr), nullptr);
}

TEST(Hrff, mix_images_of_unequal_size) {
  Bytes sample = dib(5, 1, {10, 20, 30, 40, 50, 0, 0, 0});
  char* mean = given(dib(2, 3, {100, 101, 1, 2, 102, 103, 3, 4, 110, 111, 5, 6}));
  char* fraction = given(dib(2, 3, {128, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(ImageBox_Mix_Images(chars(sample), 1, &mean, &fraction), 0);
  EXPECT_EQ(DIBWidth(mean) * 10 + DIBHeight(mean), 53);
  EXPECT_EQ(mean[40 + 4 * 200] & 255, 200);
  EXPECT_EQ(fraction[40 + 4 * 200 + 3] & 255, 255);
  EXPECT_THAT(taken(mean, 24), ElementsAre(55, 60, 142, 147, 152, 255, 255, 255, 182, 183, 130, 130, 255, 255, 255, 255,
                                           255, 255, 255, 255, 255, 255, 255, 255));
  EXPECT_THAT(taken(fraction, 24), ElementsAre(64, 128, 128, 128, 128, 255, 255, 255, 128, 0, 0, 128, 0, 255, 255, 255,
                                               0, 0, 0, 0, 0, 255, 255, 255));
  mean = fraction = nullptr;
  EXPECT_EQ(ImageBox_Mix_Images(chars(sample), -1, &mean, &fraction), 0);
  EXPECT_EQ(mean, nullptr);
  EXPECT_EQ(ImageBox_Mix_Images(chars(sample), 0, &mean, &fraction), 0);
  EXPECT_EQ(taken(mean, 8), (Bytes{10, 20, 30, 40, 50, 255, 255, 255}));
  std::free(fraction);
}

TEST(Hrff, variance_of_unequal_size) {
  Bytes sample = dib(5, 1, {10, 20, 30, 40, 50, 0, 0, 0}), mean_image = dib(2, 2, {100, 101, 1, 2, 102, 103, 3, 4});
  char *mean = chars(mean_image), *none = nullptr, *variance = given(dib(2, 2, {8, 9, 0, 0, 10, 11, 0, 0}));
  EXPECT_EQ(ImageBox_Variance(chars(sample), 3, &mean, &variance), 0);
  EXPECT_EQ(DIBWidth(variance) * 10 + DIBHeight(variance), 52);
  EXPECT_THAT(std::span(variance + 40 + 4 * 65, 4), ElementsAreArray({'\4', '\xFB', '\0', '\0'}));
  EXPECT_THAT(taken(variance, 16), ElementsAre(28, 27, 183, 181, 178, 0, 0, 0, 46, 46, 191, 191, 191, 0, 0, 0));
  variance = nullptr;
  EXPECT_EQ(ImageBox_Variance(chars(sample), -1, &mean, &variance), 0);
  EXPECT_EQ(variance, nullptr);
  EXPECT_EQ(ImageBox_Variance(chars(sample), 0, &none, &variance), 0);
  EXPECT_THAT(taken(variance, 8), ElementsAre(246, 236, 226, 216, 206, 0, 0, 0));
}

// A folder that is the working directory until the end of the test.
class Hrff_files : public testing::Test {
 protected:
  void SetUp() override {
    before_ = std::filesystem::current_path();
    folder_ = std::filesystem::path(testing::TempDir()) / ("hrff" + std::to_string(getpid()));
    std::filesystem::create_directory(folder_);
    std::filesystem::current_path(folder_);
  }
  void TearDown() override {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(folder_);
  }
  std::filesystem::path before_, folder_;
};

TEST_F(Hrff_files, split_bitmap_files) {
  Bytes image = dib(2, -2, {0, 0, 0, 1, 11, 1, 99, 98, 10, 10, 10, 0, 0, 12, 97, 96});
  image[14] = 24;
  image.erase(image.begin() + 40, image.begin() + 1064);
  EXPECT_EQ(SplitBitmap(chars(image)), 0);
  const Bytes colour = {0, 0, 0, 1, 11, 1, 99, 98, 10, 10, 10, 0, 0, 0, 0, 0};
  const Bytes bilevel = {0, 0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0};
  for (const auto& [name, pixels] : {std::pair("Color.bmp", &colour), {"BW.bmp", &bilevel}}) {
    const Bytes file = content(name);
    ASSERT_EQ(file.size(), 70u) << name;
    EXPECT_THAT(Bytes(file.begin() + 54, file.end()), ElementsAreArray(*pixels)) << name;
    std::filesystem::remove(name);
  }
  image[14] = 8;
  EXPECT_EQ(SplitBitmap(chars(image)), 0);
  EXPECT_EQ(SplitBitmap(nullptr), 0);
  EXPECT_TRUE(std::filesystem::is_empty("."));
}

TEST_F(Hrff_files, the_font_comes_and_goes) {
  char font[] = "font", none[] = "none", prefix[] = "p_";
  Bytes sample = dib(4, 1, {1, 2, 3, 4}), other = dib(4, 1, {5, 6, 7, 8}), mask = dib(4, 1, {9, 9, 9, 9});
  const Bytes first = sample;
  EXPECT_EQ(ZelIMPAdd_Char('z', chars(sample)), 1);
  EXPECT_EQ(ZelIMPAdd_Char(14, chars(other)), 2);
  EXPECT_EQ(ZelIMPAdd_Mask(14, chars(mask)), 2);
  EXPECT_EQ(ZelIMPAdd_Mask(15, chars(mask)), 0);
  EXPECT_EQ(ZelIMPSaveFontFile(font), 0);
  EXPECT_EQ(ZelIMPGetFontImages(prefix), 0);
  for (const auto& [name, dib] : {std::pair("p_7AIMG.bmp", &first), {"p_EVAR.bmp", &mask}}) {
    const Bytes file = content(name);
    EXPECT_TRUE(file.size() == 1082 && std::equal(dib->begin(), dib->end(), file.begin() + 14)) << name;
  }
  EXPECT_EQ(ZelIMPUnloadAllRecognizers(), 1);
  EXPECT_EQ(ActualFont.count, 0);
  ImageBox_Init(4);
  EXPECT_EQ(ZelIMPLoadRecognizer(none, 2), 0);
  EXPECT_EQ(TYPE, 4u);
  EXPECT_EQ(ZelIMPLoadRecognizer(font, 3), 2);
  EXPECT_EQ(TYPE, 3u);
  // By code after loading: 14 comes first. A mask larger than its slot is not written, nor is anything after it.
  ActualFont.slots[0].variance[4] = 40;
  for (const char* name : {"p_EIMG.bmp", "p_EVAR.bmp", "p_7AIMG.bmp"}) std::filesystem::remove(name);
  EXPECT_EQ(ZelIMPGetFontImages(prefix), 0);
  EXPECT_TRUE(std::filesystem::exists("p_EIMG.bmp"));
  EXPECT_FALSE(std::filesystem::exists("p_EVAR.bmp") || std::filesystem::exists("p_7AIMG.bmp"));
  ZelIMPUnloadAllRecognizers();
}

}  // namespace
}  // namespace zel::test
