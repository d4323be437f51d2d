// Texts of boxes, templates, parts of images, strokes and dots.
#include <climits>
#include <cstdlib>

#include "imagbox_page.hpp"
using namespace zel::test;

namespace {

// A page of these digits from these columns on, and their boxes.
Page punched(const std::vector<int>& lefts, std::string_view digits) {
  Page page(700, 80);
  num_box = 0;
  for (const int left : lefts) {
    unsigned char* const drawn = Make_font_holes(digits[std::size_t(num_box)] - '0');
    for (int y = 0; y < 54; ++y) std::copy_n(drawn + 1064 + y * 36, 33, &page.at(left, 9 + y));
    std::free(drawn);
    box_char[num_box++] = {left + 1, left + 32, 10, 62};
  }
  return page;
}

std::string text_of(Page page, auto decode, int result) {
  std::string text(130, '#');
  EXPECT_EQ(decode(page.dib(), text.data()), result);
  EXPECT_TRUE(text[127] == 0 && text[128] == '#');
  return text.c_str();
}

TEST(ImagBox, holes_lower_digit_wins_and_spaces_by_pitch) {
  const auto read = [](Page page) { return text_of(page, ImageBox_Decode_holes, num_box); };
  EXPECT_EQ(read(punched({10, 60, 110, 160, 210, 260, 310, 360, 410, 460}, "0123456789")), "0123456789");
  EXPECT_EQ(read(punched({10, 40, 70, 160}, "1234")), "123  4");  // a pitch of 37, a limit of 49
  EXPECT_EQ(read(punched({10, 60, 110, 160}, "1234")) + read(punched({10, 60}, "12")), "1 2 3 41  2");
  EXPECT_EQ(read(punched({10, 60, 110, 160, 213}, "12345")), "12345");  // 40, 53
  EXPECT_EQ(read(punched({10, 60, 110, 160, 214}, "12345")), "1234 5");
  EXPECT_EQ(read(punched({60, 10}, "12")) + read(punched({10}, "7")) + read(punched({}, "")), "127");
  Page page = punched({10}, "8"), flat = page;
  for (int i = 0; i < 80; ++i)
    std::transform(&flat.at(0, i), &flat.at(699, i), &flat.at(0, i), [](int p) { return p < 250 ? 100 : 200; });
  EXPECT_EQ(read(flat), "8");  // by the lightest threshold
  const Bytes font(MicroholesFont, MicroholesFont + 350);
  MicroholesFont[35 * 8] = 2;  // unlike any cell
  EXPECT_EQ(read(page), "8");
  MicroholesFont[35 * 8 + 34] = 1;
  EXPECT_EQ(read(page), "?");
  std::copy_n(&font[35 * 8], 35, &MicroholesFont[35 * 8]);
  std::copy_n(&font[35 * 8], 35, &MicroholesFont[35 * 2]);
  MicroholesFont[35 * 2 + 17] = 0;
  EXPECT_EQ(read(page), "2");
  std::ranges::copy(font, MicroholesFont);
  for (int i = 0; i < 128; ++i) box_char[i] = {i < 127 ? 0 : 1300, INT_MAX, INT_MIN, i};
  num_box = 1000;
  EXPECT_EQ(text_of(page, ImageBox_Decode_holes, 128), std::string(127, '?'));
}

// Adds a template.
void train(int code, Page page, int deviation = 0) {
  const int slot = ActualFont.Add_Char(code, page.dib()) - 1;
  std::fill_n(ActualFont.slots[slot].variance + 1064, page.bytes.size() - 1064, std::uint8_t(deviation));
  NumCharFont = slot + 1;
}

std::string read_by_font(Page page, CHAR_BOX box, unsigned acceptance) {
  num_box = 1, box_char[0] = box, ACCEPTANCE = acceptance;
  return text_of(page, ImageBox_Decode, 0);
}

TEST(ImagBox, decode_by_font_and_decode_rivals) {
  Bytes text = ascii("untouched");
  NumCharFont = 0;
  ActualFont.UnloadFont();
  EXPECT_EQ(ImageBox_Decode(nullptr, chars(text)), 0);
  EXPECT_EQ(text, ascii("untouched"));
  // Of a template, columns wide, 4 x (10 - 4)^2, 2 x 155^2 where only it has pixels, 2 x 165^2 where only the box has,
  // and 2 x 6^2 with 4 x 165^2; the other one is as far off, or more by 1.
  for (const auto& [columns, off] : {std::pair{3, std::array{255, 193, 19, 3, 0, 0}}, {1, {255, 209, 16, 3, 1, 0}}}) {
    for (const int more : {0, 1}) {
      Page padded(4, 3, 90);
      for (int i = 0; i < 6; ++i) padded.at(2 + i % 2, i / 2) = std::uint8_t(255 - off[std::size_t(i)]);
      padded.at(3, 2) = std::uint8_t(255 - more);
      train('L' + 256, padded), train('D', Page(columns, 2, 100), 4);
      EXPECT_EQ(read_by_font(Page(9, 9, 90), {5, 7, 2, 5}, 0), more == 0 ? "L" : "D");
      EXPECT_EQ(GetImage, reinterpret_cast<char*>(ActualFont.slots[1].image));
      ActualFont.UnloadFont();
    }
  }
  train('A', Page(1, 1, 246)), train('B', Page(1, 1, 245)), train('C', Page(1, 1, 0));
  ActualFont.slots[2].samples = 0;  // no distance: of 81 and 100 the second is worse by 21 percent of the mean
  EXPECT_EQ(read_by_font(Page(9, 9), {8, 9, 8, 9}, 21) + read_by_font(Page(9, 9), {8, 9, 8, 9}, 22), "A?");
  EXPECT_EQ(read_by_font(Page(9, 9, 246), {20, 21, -3, -2}, 21), "A");  // outside of the page: white
  ActualFont.UnloadFont();
  train('A', Page(1, 1)), train('B', Page(1, 1));
  ActualFont.slots[1].code = 'A';
  EXPECT_EQ(read_by_font(Page(9, 9), {8, 9, 8, 9}, 50), "A");  // a mean of 0
  train('B', Page(1, 1, 0));
  EXPECT_EQ(read_by_font(Page(9, 9), {8, 9, 8, 9}, 50), "?");
  ActualFont.UnloadFont();
}

TEST(ImagBox, decode_distances) {
  ActualFont.UnloadFont();
  Page black(13211, 5, 0);  // 2^32 - 1 off a white template, once four pixels are less so
  for (int i = 0; i < 4; ++i) black.at(i, 0) = std::array<std::uint8_t, 4>{224, 248, 252, 254}[i];
  train('N', Page(13211, 5));
  EXPECT_EQ(read_by_font(black, {0, 13211, 0, 5}, 0), "?");
  black.at(0, 0) = 225;
  EXPECT_EQ(read_by_font(black, {0, 13211, 0, 5}, 0), "N");
  train('O', Page(13211, 5, 1));  // nearer, but its distance has no sign
  EXPECT_EQ(read_by_font(black, {0, 13211, 0, 5}, unsigned(INT_MIN)), "N");
  ActualFont.UnloadFont();
}

TEST(ImagBox, extract_image_top_down_and_extract_image_padding) {
  // Whether rows lie top to bottom, the zone, and the first of its rows as they lie; -1: refused.
  constexpr int kCases[][6] = {
      {0, 1, 4, 5, 3, 4},   {0, 5, 8, 1, 1, 8},   {0, 0, 0, 0, 0, 0},        {0, 2, 4, 5, 3, -1}, {0, 1, 7, 5, 3, -1},
      {0, -1, 4, 5, 3, -1}, {0, 1, 4, 5, -3, -1}, {0, INT_MAX, 4, 5, 3, -1}, {1, 1, 4, 5, 3, 5},  {1, 1, 7, 5, 3, 2},
      {1, 0, 3, 6, 3, 6},   {1, 0, 9, 0, 0, -1},  {1, 1, 8, 5, 3, -1},       {1, 1, 4, 5, 2, -1}, {1, 1, 4, 5, 5, -1},
      {1, 1, -4, 5, 3, -1}, {1, 2, 4, 5, 3, -1}};
  for (const auto& [down, x, y, w, h, first] : kCases) {
    Page page(6, down != 0 ? -9 : 9);
    for (int i = 0; i < 9 * 8; ++i) page.at(i % 8, i / 8) = std::uint8_t(i);
    Page other = page;
    other.bytes[14] = 24;
    EXPECT_TRUE(Extract_image(other.data(), x, y, w, h) == nullptr && DIBHeight(other.dib()) == page.height);
    unsigned char* const zone = Extract_image(page.data(), x, y, w, h);
    EXPECT_EQ(zone == nullptr, first < 0) << down << ' ' << x << ' ' << y << ' ' << w << ' ' << h;
    EXPECT_EQ(DIBHeight(page.dib()), down != 0 && zone != nullptr ? -9 : 9);
    if (zone == nullptr) continue;
    Page wanted(w == 0 ? 6 : w, h == 0 ? 9 : h);
    for (int i = 0; i < wanted.stride * wanted.height; ++i) {
      const int row = first + i / wanted.stride * (down != 0 ? -1 : 1), from = row * 8 + x + i % wanted.stride;
      wanted.at(i, 0) = std::uint8_t(from < 72 ? from : 0);
    }
    EXPECT_EQ(bytes_at(zone, wanted.bytes.size()), wanted.bytes);
    std::free(zone);
  }
}

TEST(ImagBox, rotate180) {
  for (const int height : {1, 2, 5, -5}) {
    Page page(5, height);
    const int rows = std::abs(height);
    for (int i = 0; i < rows * 8; ++i) page.at(i % 8, i / 8) = std::uint8_t(i + 1);
    EXPECT_EQ(ImageBox_Rotate180(page.dib()), 1);
    for (int i = 0; i < rows * 8; ++i) {
      const int x = i % 8, y = height < 0 ? i / 8 : rows - 1 - i / 8;
      EXPECT_EQ(page.at(x, i / 8), x < 5 ? y * 8 + 4 - x + 1 : 0);
    }
  }
}

TEST(ImagBox, strokes_and_line_norm) {
  Page page(20, 12);
  page.fill(5, 6, 2, 9), page.fill(6, 11, 5, 6), page.fill(3, 5, 6, 7);  // a stem, a branch, a stub
  const auto list = [&](int x0, int y0, int x1, int y1) {
    charline* const points = ImageBox_liner(page.data(), x0, y0, x1, y1);
    std::vector<int> told;
    for (int i = 0; i < 256; ++i) told.insert(told.end(), {points[i].x, points[i].y});
    std::free(points);
    told.erase(std::ranges::search_n(told, 4, -1).begin(), told.end());
    return told;
  };
  EXPECT_EQ(list(0, 0, 5, 5).size() + list(0, INT_MIN, 20, 1).size() + list(6, 3, 4, INT_MAX).size(), 0u);
  // The stem's middle between branch and end is nearer; what was left out goes with the stub.
  EXPECT_EQ(list(-9, 0, INT_MAX, 2),
            (std::vector{5, 2, 5, 3, 5, 4, 5, 6, 5, 7, 5, 8, -1, -1, 6, 5, 7, 5, 8, 5, 9, 5, 10, 5}));
  EXPECT_TRUE(page.at(5, 2) == 254 && page.at(10, 5) == 254 && page.at(5, 5) == 255 && page.at(3, 6) == 255);

  page = Page(300, 9);
  page.fill(0, 300, 1, 2);
  EXPECT_EQ(list(0, 0, 300, 9).size(), 2 * 254u);
  EXPECT_EQ(page.at(299, 1), 254);  // what is left is a branch, for which there is no room

  std::vector<charline> points = {{4, 10}, {6, 20}, {-1, -1}, {5, 15}, {-1, -1}, {-1, -1}};
  points.resize(256, {9, 9});
  charlinenorm* norm = ImageBox_LineNorm(points.data());
  EXPECT_TRUE(norm[0].x == 0 && norm[1].x == 0.1f && norm[1].y == 0.5f && norm[2].x == -1 && norm[3].y == 0.25f);
  EXPECT_TRUE(norm[4].y == -1 && norm[5].x == -1);
  std::free(norm);
  std::ranges::fill(points, charline{7, 10});
  norm = ImageBox_LineNorm(points.data());
  EXPECT_TRUE(norm[254].y == 0 && norm[255].x == -1 && norm[255].y == -1);
  std::free(norm);
}

TEST(ImagBox, neighbours_and_middles) {
  constexpr charline kClockwise[] = {{0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}, {-1, -1}, {-1, 0}, {-1, 1}};
  for (int d = 0; d < 8; ++d) {
    Page page(3, 3, 100);
    charline before = {1 - kClockwise[d].x, 1 - kClockwise[d].y};
    for (const int turn : {0, d < 2 ? 1 - d : d == 7 ? 0 : d - 1}) {  // straight on; else the first of two alike
      int x = 1, y = 1;
      const int to = turn == 0 && page.at(1 + kClockwise[d].x, 1 + kClockwise[d].y) == 100 ? d : turn;
      EXPECT_EQ(best_vicinity(page.data(), &x, &y, 101, &before, 1), 1);
      EXPECT_TRUE(x == 1 + kClockwise[to].x && y == 1 + kClockwise[to].y) << d << ' ' << to;
      page.at(1 + kClockwise[d].x, 1 + kClockwise[d].y) = 254;
    }
    int x = 1, y = 1;
    EXPECT_EQ(best_vicinity(page.data(), &x, &y, 100, &before, 1), 0);
    EXPECT_TRUE(x == 1 && y == 1) << d;
  }
  Page page(30, 30);
  const auto balanced = [&page](int x, int y) {
    const int result = Center_Balance(page.data(), &x, &y, 128, 0);
    return std::vector{result, x, y};
  };
  page.fill(4, 9, 2, 20);
  EXPECT_EQ(balanced(8, 3), (std::vector{0, 6, 3}));
  page.fill(0, 30, 10, 13);
  EXPECT_EQ(balanced(20, 12), (std::vector{0, 20, 11}));
  page.fill(0, 30, 0, 30, 0);
  EXPECT_EQ(balanced(7, 12), (std::vector{0, 7, 12}));
}

TEST(ImagBox, drawn_digits_are_read) {
  EXPECT_TRUE(Make_font_holes(-1) == nullptr && Make_font_holes(10) == nullptr);
  ImageBox_Init(2);
  char text[128];
  char* const string = Extract_string(punched({60, 110, 160, 210, 260, 310, 360, 410, 460, 510}, "0123456789").dib());
  EXPECT_EQ(ImageBox_Box(string), 1);
  EXPECT_EQ(ImageBox_Decode_holes(string, text), 10);
  EXPECT_STREQ(text, "0123456789");
  std::free(string);
  unsigned char* const dot = Make_dot();
  const Bytes pixels = bytes_at(dot + 1064, 64);
  std::free(dot);
  EXPECT_TRUE(pixels[27] == 0 && pixels[0] == 255);
  for (int i = 0; i < 64; ++i) EXPECT_TRUE(pixels[i] == pixels[i % 8 * 8 + i / 8] && pixels[i] == pixels[63 - i]);
}

}  // namespace
