// The entry points of recognition: statuses, messages, what becomes of the caller's images, and the image utilities by
// hand.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "imagbox_page.hpp"

namespace zel::test {
namespace {

namespace fs = std::filesystem;

// An image for the library to free.
char* given(const Bytes& dib) { return static_cast<char*>(memcpy(std::malloc(dib.size()), dib.data(), dib.size())); }

struct Face {
  Bytes file;
  int status;
  std::string text;
};

// left: where the line begins, so that all of it lies only in the zone of the call that is tested.
std::vector<Face> faces(bool rear, int left, const char* failed, const char* missing) {
  return {{PunchedLine{.digits = "024680", .left = left, .rear = rear}.file(), 0, "024680"},
          {PunchedLine{.digits = "024680", .left = left, .rear = rear, .top_down = true}.file(), 0, "024680"},
          {PunchedLine{.digits = "97 5?3", .left = left, .rear = rear, .width = 1403}.file(), 0, "97  5?3"},
          {PunchedLine{.digits = "", .left = left, .rear = rear}.file(), 1, failed},
          {{}, 1, failed},
          {{}, 2, missing}};
}

TEST(Hrff, validate_missing_and_null_and_validate_compares_faces) {
  const auto address = [](const Face& face, Bytes& file) {
    auto* const no_file = reinterpret_cast<unsigned char*>(std::uintptr_t{0} - (face.status == 2 ? 14 : 0));
    return file.empty() ? no_file : file.data();
  };
  char result[272];
  for (const Face& front : faces(false, 400, "Error Decodeing Front\n", "Error reading the Front image\n")) {
    for (const Face& rear : faces(true, 400, "Error decoding rear\n", "Error reading the Rear image\n")) {
      Bytes front_file = front.file, rear_file = rear.file, mirrored = rear.file;
      EXPECT_EQ(ZelIMPValidateMH(address(front, front_file), address(rear, rear_file), result),
                front.status + 4 * rear.status);
      EXPECT_EQ(result, front.text == rear.text ? front.text : "Front=" + front.text + "\nRear=" + rear.text);
      if (!mirrored.empty()) ImageBox_Mirror(chars(mirrored) + 14);
      EXPECT_TRUE(front_file == front.file && rear_file == mirrored);
    }
  }
}

TEST(Hrff, decode_statuses_and_messages) {
  char result[128];
  for (unsigned char side : {std::uint8_t{0}, std::uint8_t{255}}) {
    for (const Face& face : faces(side != 0, 150, side == 0 ? "Error Decoding Front" : "Error Decoding Rear\n",
                                  "Error reading the image\n")) {
      Bytes file = face.file, after = file;
      if (file.empty() && face.status == 1) continue;  // only a bitmap file can be null and yet not missing
      EXPECT_EQ(ZelIMPDecodeMH(file.empty() ? nullptr : chars(file) + 14, result, &side), face.status);
      if (side != 0 && !file.empty()) ImageBox_Mirror(chars(after) + 14);
      EXPECT_TRUE(result == face.text && file == after) << result;
    }
  }
  EXPECT_EQ(TYPE, 2u);
}

TEST(Hrff, text_is_cut_to_the_length_given) {
  Bytes file = PunchedLine{.digits = "12345678"}.file();
  ImageBox_Init(2);
  for (const int outlen : {-1, 0, 1, 5, 128, 129}) {
    Bytes out(200, '#'), wanted = out;
    EXPECT_EQ(MakeOCR_P(&file[14], 861, 195, 540, 85, 0, chars(out), outlen), 0);  // a column beyond the image
    EXPECT_EQ(out, wanted);
    EXPECT_EQ(MakeOCR_P(&file[14], 166, 195, 540, 85, 0, chars(out), outlen), 1);
    std::fill_n(wanted.begin(), std::clamp(outlen, 0, 128), std::uint8_t{0});
    std::copy_n("12345678", std::clamp(outlen - 1, 0, 8), wanted.begin());
    EXPECT_EQ(out, wanted) << outlen;
  }
}

TEST(Hrff, mix_front_rear_as_they_come) {
  Bytes even = PunchedLine{.digits = "0 2 4 6 8"}.file(), odd = PunchedLine{.digits = " 1 3 5 7 "}.file();
  // A stain beside and below the line: 30 levels below the paper the line is free of it, but not once they are
  // stretched.
  Bytes stained = PunchedLine{.digits = "123456", .ink = 150}.file();
  for (const int row : {200, 201}) std::fill_n(&stained[1078 + row * 1400 + 168], 31, std::uint8_t{180});
  char out[128] = {}, stretched[128] = {};
  ImageBox_Init(2);
  const auto mix = [&](Bytes& front, unsigned char* rear, int y) {
    return Mix_FrontRear(&front[14], rear, 166, y, 540, 85, 0, out, 128) == 1 ? out : "-";
  };
  EXPECT_STREQ(mix(even, &odd[14], 195), "012345678");
  EXPECT_STREQ(mix(stained, &stained[14], 195), "123456");
  EXPECT_EQ(MakeOCR_P(&stained[14], 166, 195, 540, 85, 0, stretched, 128), 1);
  EXPECT_STRNE(stretched, "123456");
  EXPECT_STREQ(mix(even, &odd[14], 536), "-");  // a row beyond the images
  EXPECT_STREQ(mix(even, nullptr, 195), "-");
}

TEST(Hrff, mirror_one_byte_off_and_mirror_top_down_turns_over) {
  const auto mirrored = [](int width, int height, const Bytes& before) {
    Bytes image = ramp_dib(width, height, before);
    EXPECT_EQ(ImageBox_Mirror(chars(image)), 1);
    return bytes_at(image.data() + 1064, before.size());
  };
  EXPECT_EQ(mirrored(4, 2, {1, 2, 3, 4, 5, 6, 7, 8}), (Bytes{0, 4, 3, 2, 1, 8, 7, 6}));
  EXPECT_EQ(mirrored(5, 2, {1, 2, 3, 4, 5, 90, 91, 92, 6, 7, 8, 9, 10, 93, 94, 95}),
            (Bytes{0, 0, 0, 0, 5, 4, 3, 2, 1, 0, 0, 0, 10, 9, 8, 7}));
  EXPECT_EQ(mirrored(3, -3, {1, 2, 3, 90, 4, 5, 6, 91, 7, 8, 9, 92}), (Bytes{7, 8, 9, 92, 4, 5, 6, 91, 1, 2, 3, 90}));
  Bytes other = ramp_dib(4, 1, {1, 2, 3, 4}), before;
  other[14] = 4, before = other;
  EXPECT_EQ(ImageBox_Mirror(chars(other)) + Image_Equalize(other.data()), 0);
  EXPECT_EQ(other, before);
}

TEST(Hrff, equalize_stretches_stored_values) {
  const auto stretched = [](int width, int height, const Bytes& before, int mean, bool mapped = false) {
    Bytes image = ramp_dib(width, height, before);
    if (mapped) image[40 + 4 * 4] = 100, image[40 + 4 * 8] = 20, image[40 + 4 * 56] = 90;  // levels of 4, 8 and 56
    EXPECT_EQ(Image_Equalize(image.data()), mean);
    return bytes_at(image.data() + 1064, before.size());
  };
  Bytes image(148, 60), wanted(148, 51);  // the two darkest and the two brightest are beyond the limits
  image[0] = 0, image[1] = 10, image[2] = 50, image[145] = 100, image[146] = 240, image[147] = 250;
  wanted[0] = wanted[1] = wanted[2] = 0, wanted[145] = wanted[146] = wanted[147] = 255;
  EXPECT_EQ(stretched(4, 37, image, (142 * 51 + 3 * 255) / 148), wanted);
  EXPECT_EQ(stretched(3, 2, {9, 9, 9, 77, 9, 9, 9, 78}, 0), (Bytes{0, 0, 0, 77, 0, 0, 0, 78}));
  EXPECT_EQ(stretched(4, 1, {4, 8, 60, 200}, (90 + 255) / 4, true), (Bytes{0, 0, 56, 255}));
  // Rows top to bottom are none.
  EXPECT_EQ(stretched(4, -1, {4, 8, 60, 200}, 0), (Bytes{4, 8, 60, 200}));
  Bytes upside_down = ramp_dib(4, -1, {4, 8, 60, 200});
  const Bytes before = upside_down;
  EXPECT_EQ(ImageBox_Normalize(chars(upside_down)), 255);
  EXPECT_EQ(ImageBox_Box(chars(upside_down)), 0);
  EXPECT_EQ(upside_down, before);
}

TEST(Hrff, convolution_is_the_geometric_mean) {
  Bytes a = ramp_dib(3, 2, {0, 255, 10, 99, 2, 7, 200, 99}), b = ramp_dib(5, 1, {9, 255, 25, 1, 1, 99, 99, 99});
  const std::unique_ptr<unsigned char, decltype(&std::free)> both(Convolute_images(chars(a), chars(b)), std::free);
  EXPECT_EQ(Bytes(both.get(), both.get() + a.size() - 4), ramp_dib(3, 1, {0, 255, 16, 0}));
}

TEST(Hrff, mix_images_of_unequal_size_and_variance_of_unequal_size) {
  Bytes sample = ramp_dib(5, 1, {10, 20, 30, 40, 50, 0, 0, 0});
  char *mean = given(ramp_dib(2, 3, {100, 101, 1, 2, 102, 103, 3, 4, 110, 111, 5, 6})), *none = nullptr;
  char* fraction = given(ramp_dib(2, 3, {128, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
  char* variance = given(ramp_dib(2, 2, {8, 9, 0, 0, 10, 11, 0, 0}));
  ImageBox_Mix_Images(chars(sample), -1, &none, &none);
  ImageBox_Variance(chars(sample), -1, &mean, &none);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(ImageBox_Variance(chars(sample), 3, &mean, &variance), 0);
  EXPECT_EQ(ImageBox_Mix_Images(chars(sample), 1, &mean, &fraction), 0);
  constexpr std::uint8_t kWanted[][24] = {
      {55,  60,  142, 147, 152, 255, 255, 255, 182, 183, 130, 130,
       255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255},
      {64, 128, 128, 128, 128, 255, 255, 255, 128, 0, 0, 128, 0, 255, 255, 255, 0, 0, 0, 0, 0, 255, 255, 255},
      {28, 27, 183, 181, 178, 0, 0, 0, 46, 46, 191, 191, 191, 0, 0, 0, 227, 227, 191, 191, 191, 0, 0, 0}};
  constexpr int kLevel65[] = {0x00414141, -1, 0x0000FB04};  // what the colour tables show it as
  for (std::size_t k = 0; char* image : {mean, fraction, variance}) {
    EXPECT_EQ(DIBWidth(image) * 10 + DIBHeight(image), 53);
    EXPECT_EQ(memcmp(image + 40 + 4 * 65, &kLevel65[k], 4), 0);
    EXPECT_TRUE(std::ranges::equal(bytes_at(image + 1064, 24), kWanted[k++]));
    std::free(image);
  }
}

// In a working directory of its own.
TEST(Hrff, split_bitmap_files_and_the_font_comes_and_goes) {
  const fs::path folder = fs::temp_directory_path() / ("hrff" + std::to_string(getpid()));
  fs::create_directory(folder);
  fs::current_path(folder);

  Bytes image = dib({40, 2, -2, 24}, {0, 0, 0, 1, 11, 1, 99, 98, 10, 10, 10, 0, 0, 12, 97, 96});
  EXPECT_EQ(SplitBitmap(Page(2, 2).dib()) + SplitBitmap(nullptr), 0);
  EXPECT_TRUE(fs::is_empty("."));
  EXPECT_EQ(SplitBitmap(chars(image)), 0);
  EXPECT_EQ(content_of("Color.bmp", 54), (Bytes{0, 0, 0, 1, 11, 1, 99, 98, 10, 10, 10, 0, 0, 0, 0, 0}));
  EXPECT_EQ(content_of("BW.bmp", 54), (Bytes{0, 0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0, 0}));

  char font[] = "font", none[] = "none", prefix[] = "p_";
  Page sample(4, 1, 1), other(4, 1, 5), mask(4, 1, 9);
  EXPECT_EQ(ZelIMPAdd_Char('z', sample.dib()) * 10 + ZelIMPAdd_Char(14, other.dib()), 12);
  EXPECT_EQ(ZelIMPAdd_Mask(14, mask.dib()) * 10 + ZelIMPAdd_Mask(15, mask.dib()), 20);
  EXPECT_EQ(ZelIMPSaveFontFile(font) + ZelIMPGetFontImages(prefix), 0);
  EXPECT_TRUE(content_of("p_7AIMG.bmp", 14) == Page(4, 1, 1).bytes && content_of("p_EVAR.bmp", 14) == mask.bytes);
  EXPECT_EQ(ZelIMPUnloadAllRecognizers() * 10 + ActualFont.count, 10);
  ImageBox_Init(4);
  EXPECT_EQ(ZelIMPLoadRecognizer(none, 2) * 10 + static_cast<int>(TYPE), 4);
  EXPECT_EQ(ZelIMPLoadRecognizer(font, 3) * 10 + static_cast<int>(TYPE), 23);
  // Code 14 comes first now. A mask that is larger than its slot ends the list.
  ActualFont.slots[0].variance[4] = 40;
  for (const char* name : {"p_EIMG.bmp", "p_EVAR.bmp", "p_7AIMG.bmp"}) fs::remove(name);
  EXPECT_EQ(ZelIMPGetFontImages(prefix), 0);
  EXPECT_TRUE(fs::exists("p_EIMG.bmp") && !fs::exists("p_EVAR.bmp") && !fs::exists("p_7AIMG.bmp"));
  fs::current_path(fs::temp_directory_path());
  fs::remove_all(folder);
}

}  // namespace
}  // namespace zel::test
