// Parameters, grey levels, the line, its boxes, and what they decode to.
#include <gmock/gmock.h>

#include <climits>
#include <cstdlib>

#include "imagbox_page.hpp"
using namespace zel::test;
using testing::ElementsAre;

namespace {

using Told = std::vector<int>;

TEST(ImagBox, init_table_and_init_from_font) {
  const auto set = [](unsigned type) {
    EXPECT_EQ(ImageBox_Init(type), 0);
    EXPECT_EQ(TYPE, type);
    return std::array{MINCHAR_WIDTH, MINCHAR_HEIGHT, MAXCHAR_WIDTH, MAXCHAR_HEIGHT,
                      MAXCHAR_HOLE,  CHAR_SPACING,   ACCEPTANCE,    CHAR_DENSITY};
  };
  CHAR_SPACING = 77;
  ActualFont.UnloadFont();
  EXPECT_THAT(set(0), ElementsAre(28, 40, 33, 50, 4, 77, 50, 20));
  EXPECT_THAT(set(2), ElementsAre(29, 51, 33, 54, 5, 50, 0, 10));
  EXPECT_THAT(set(3), ElementsAre(3, 3, 100, 100, 10, 100, 0, 10));
  EXPECT_THAT(set(4), ElementsAre(10, 19, 15, 24, 2, 20, 0, 20));
  for (const unsigned other : {5u, UINT_MAX}) EXPECT_THAT(set(other), ElementsAre(3, 3, 60, 100, 3, 20, 50, 20));
  ImageBox_Init(4);
  for (const int width : {9, 14, 3}) ActualFont.Add_Char(width, Page(width, width * 3 - 5).dib());
  NumCharFont = 2;
  EXPECT_THAT(set(1), ElementsAre(6, 12, 15, 37, 3, 20, 9, 20));  // 9 and 19, less a third
  EXPECT_THAT(set(1), ElementsAre(4, 8, 15, 37, 3, 20, 9, 20));
  MINCHAR_WIDTH = MINCHAR_HEIGHT = ActualFont.slots[0].samples = 0;
  EXPECT_THAT(set(1), ElementsAre(9, 24, 15, 37, 3, 20, 9, 20));
  ActualFont.UnloadFont();
}

TEST(ImagBox, normalize_last_entry_and_single_steps) {
  Page page(5, 4, 9);
  page.fill(0, 1, 0, 4, 200), page.fill(1, 2, 0, 2, 255), page.fill(5, 8, 0, 4, 7);  // the padding too
  page.entry(9) = 30, page.entry(200) = 60, page.entry(255) = 50;
  const auto vertical = [&](int x, int y0, int y1, unsigned t) {
    return ImageBox_ver_vertical(page.dib(), x, y0, y1, 5, t) + 10 * ImageBox_get_vertical(page.dib(), x, y0, y1, 5);
  };
  const auto horizontal = [&](int x0, int x1, int y, unsigned t) {
    return ImageBox_ver_horizzontal(page.dib(), x0, x1, y, 5, t);
  };
  EXPECT_EQ(vertical(1, 0, 4, 51), 1 + 10 * (50 + 50 + 30 + 30));
  EXPECT_EQ(vertical(1, 1, 3, 50), 10 * 80);  // one pixel is no ink, nor is one at the threshold
  EXPECT_EQ(vertical(0, 2, 5, 300), 1 + 10 * (60 + 60 + 255));
  EXPECT_EQ(vertical(5, 0, 2, 300) + vertical(-1, 0, 2, 300), 20 * 510);  // outside is white, and no ink
  EXPECT_EQ(vertical(0, 2, 2, 300) + vertical(0, 3, 2, 300), 0);
  EXPECT_TRUE(horizontal(0, 3, 0, 51) == 1 && horizontal(0, 3, 0, 50) == 0 && horizontal(0, 2, 3, 60) == 0);
  EXPECT_TRUE(horizontal(4, -1, 0, 256) == 0 && horizontal(0, 5, 4, 256) == 0 && horizontal(2, 1, 0, 256) == 0);
  for (const auto& [density, threshold] : {std::pair{69, 30}, {70, 50}, {79, 50}, {80, 60}, {99, 60}, {100, 255}}) {
    Page again = page;
    CHAR_DENSITY = unsigned(density);
    EXPECT_EQ(ImageBox_Normalize(again.dib()), threshold) << density;
    EXPECT_TRUE(again.at(0, 0) == 60 && again.at(1, 0) == 50 && again.at(4, 3) == 30 && again.at(5, 0) == 7);
    EXPECT_TRUE(again.entry(254) == 254 && again.entry(9) == 9 && again.entry(255) == 50);
  }
  page.bytes[14] = 4;  // bits
  const Bytes before = page.bytes;
  int row = 3;
  EXPECT_EQ(ImageBox_Normalize(page.dib()) + ImageBox_Box(page.dib()) + ImageBox_Rows(page.dib(), &row, &row), 255);
  EXPECT_TRUE(Extract_string(page.dib()) == nullptr && page.bytes == before && row == 3);
}

// The size of the string and its first pixel, ink in the rows and columns given on white.
Told string_of(Page page) {
  char* const string = Extract_string(page.dib());
  if (string == nullptr) return {};
  const int width = DIBWidth(string);
  const Told told = {width, DIBHeight(string), width == 0 ? 0 : static_cast<unsigned char>(*FindDIBBits(string))};
  std::free(string);
  return told;
}

TEST(ImagBox, string_without_last_column_and_row) {
  ImageBox_Init(3);
  MINCHAR_HEIGHT = MAXCHAR_HEIGHT = 9, CHAR_DENSITY = 25;
  Page page(100, 30);
  EXPECT_EQ(string_of(page), Told());
  page.fill(30, 60, 10, 20, 40), page.fill(31, 60, 12, 20, 41);
  EXPECT_EQ(string_of(page), (Told{29, 9, 40}));
  page.fill(0, 100, 28, 30, 99);     // the threshold
  for (const int dirt : {95, 60}) {  // gone with the second try, the fifth
    page.fill(50, 66, 2, 30, dirt);
    EXPECT_EQ(string_of(page), (Told{19, 9, 40}));
  }
  page.fill(50, 66, 2, 30, 58);  // its rows stay, but only the line is ink below 49
  EXPECT_EQ(string_of(page), (Told{19, 27, 255}));
  page.fill(80, 90, 0, 30, 30);  // no part of the band, which ends 20 columns before the image
  EXPECT_EQ(string_of(page), (Told{59, 9, 40}));
  // The band begins 20 columns before the first inked one, for which three rows at either edge do not count.
  for (const auto& [dirty, from, height] : {std::array{2, 19, 9}, {2, 20, 18}, {3, 19, 25}}) {
    page = Page(100, 30), page.fill(40, 60, 10, 20), page.fill(from, from + 2, 1, 2);
    for (const int y : {dirty, 29 - dirty}) page.fill(5, 8, y, y + 1);
    EXPECT_EQ(string_of(page), (Told{19, height, height == 9 ? 0 : 255}));
  }
  page = Page(19, 30), page.fill(7, 8, 10, 20);
  EXPECT_EQ(string_of(page), (Told{0, 30, 0}));  // a row of one pixel is none, a column of ten is one
  page = Page(19, 30), page.fill(17, 19, 10, 20);
  EXPECT_EQ(string_of(page), (Told{1, 9, 0}));
}

// Bars from row 4 on, and the boxes found.
Told boxes_of(int width, std::initializer_list<std::array<int, 2>> columns, int rows = 10) {
  Page page(width, 20);
  for (const auto& [from, to] : columns) page.fill(from, to, 4, 4 + rows);
  return boxes_of(page);
}

TEST(ImagBox, boxes_none_and_boxes_last_at_edge_and_boxes_last_without_successor) {
  ImageBox_Init(3);  // heights from 3 to 100, gaps of 10
  CHAR_SPACING = 20, MINCHAR_WIDTH = 5, CHAR_DENSITY = 60;
  EXPECT_EQ(boxes_of(80, {}), (Told{0, -7}));
  EXPECT_EQ(box_char[127].top * 100 + box_char[127].bottom, 20);
  EXPECT_EQ(boxes_of(80, {{10, 20}, {30, 40}, {70, 80}}), (Told{1, 3, 10, 20, 4, 13, 30, 40, 4, 13, 70, 80, 4, 13}));
  EXPECT_EQ(boxes_of(80, {{10, 20}, {70, 79}}), (Told{1, 1, 10, 20, 4, 13}));  // complete, but without room behind
  EXPECT_EQ(boxes_of(80, {{10, 20}, {77, 80}}), (Told{1, 1, 10, 20, 4, 13}));  // too narrow
  EXPECT_EQ(boxes_of(80, {{10, 12}, {14, 16}, {24, 32}}), (Told{1, 2, 10, 16, 4, 13, 25, 32, 4, 13}));
  MAXCHAR_HOLE = 2;
  EXPECT_EQ(boxes_of(80, {{10, 12}, {15, 22}}), (Told{1, 1, 15, 22, 4, 13}));  // a gap of three: given up
  EXPECT_EQ(boxes_of(80, {{10, 12}, {14, 22}}), (Told{1, 1, 10, 22, 4, 13}));
  for (const int spacing : {0, 4, 9}) {  // the same bar again, or nothing behind it
    CHAR_SPACING = unsigned(spacing);
    EXPECT_EQ(boxes_of(80, {{10, 20}}).size(), 2 + 4 * (spacing < 9 ? 128u : 2u)) << spacing;
  }
  CHAR_SPACING = 0;
  EXPECT_EQ(boxes_of(80, {{3, 20}}), (Told{0, -7}));  // the next start would lie left of the image
  ImageBox_Init(3);
  CHAR_DENSITY = 60;
  Page many(20000, 20), uneven(600, 40);
  for (int i = 0; i < 199; ++i) many.fill(10 + 100 * i, 50 + 100 * i, 4, 15);
  EXPECT_EQ(boxes_of(many).size(), 2 + 4 * 128u);
  MINCHAR_HEIGHT = 12;  // rows grow with ink, shrink without, but to no less than the least height
  for (const int x : {40, 140}) uneven.fill(x, x + 40, 10, 30);
  uneven.fill(240, 280, 6, 34), uneven.fill(335, 380, 4, 8), uneven.fill(340, 380, 10, 34);
  uneven.fill(440, 480, 14, 22), uneven.fill(550, 560, 1, 39), uneven.fill(0, 4, 37, 40);
  EXPECT_EQ(boxes_of(uneven),
            (Told{1, 5, 40, 80, 10, 29, 140, 180, 10, 29, 240, 280, 6, 33, 335, 380, 4, 33, 440, 480, 14, 33}));
  EXPECT_EQ(box_char[127].top * 100 + box_char[127].bottom, 1029);
}

TEST(ImagBox, rows_of_a_line) {
  ImageBox_Init(3);
  MINCHAR_HEIGHT = 6, CHAR_DENSITY = 60;
  Page page(200, 60);
  const auto rows = [&](int from) {
    int top = from, bottom = -9;
    const int found = ImageBox_Rows(page.dib(), &top, &bottom);
    return Told{found, top, bottom};
  };
  EXPECT_EQ(rows(0), (Told{0, 0, -9}));
  page.fill(60, 90, 4, 10);                                  // six rows are too few
  page.fill(138, 140, 20, 32), page.fill(139, 190, 12, 60);  // of these two columns are in the band, and one
  EXPECT_EQ(rows(0), (Told{1, 16, 36}));
  EXPECT_EQ(rows(-9), (Told{1, 16, 36}));
  EXPECT_EQ(rows(22), (Told{1, 19, 35}));  // measured from the row to start from
  EXPECT_EQ(rows(26), (Told{0, 26, -9}));
  EXPECT_EQ(rows(INT_MAX), (Told{0, INT_MAX, -9}));
  page.fill(60, 90, 32, 60);
  EXPECT_EQ(rows(0), (Told{1, 7, 59}));  // a last run ends in the last row
  page.fill(60, 90, 0, 60), page.fill(60, 190, 20, 30, 255);
  for (const int y : {1, 3, 5, 7}) page.fill(60, 90, y, y + 1, 255);
  EXPECT_EQ(rows(1), (Told{1, 0, 59}));  // the eighth run goes on to the end, whatever is in it
}

// What the cells of a box decode to, trial by trial and pixel by pixel.
char digit(Page& page, const CHAR_BOX& box) {
  for (int trial = 0; trial < 72; ++trial) {
    const int wide = box.right - box.left, high = box.bottom - box.top;
    const auto pixel = [&](int x, int y) {
      const int column = box.left + trial / 3 % 6 - 2 + x, row = box.top + trial % 3 + y;
      const bool inside = x < wide && y < high && column >= 0 && row >= 0 && column < page.width && row < page.height;
      return inside ? page.at(column, row) : 255;
    };
    Told all, wrong(10);
    for (int i = 0; i < wide * high; ++i) all.push_back(pixel(i % wide, i / wide));
    std::ranges::nth_element(all, all.begin() + long(all.size() / 5));
    const int limit = all[all.size() / 5] - 40 + trial / 18 * 20;
    for (int cell = 0; cell < 35; ++cell) {
      int dark = 0, y = (50 + (6 - cell / 5) * (high * 100 / 7)) / 100, x = (50 + cell % 5 * wide * 20) / 100;
      for (int i = 0; i < 16; ++i) dark += pixel(x + 1 + i % 4, y + 1 + i / 4) < limit;
      for (int d = 0; d < 10; ++d) wrong[d] += MicroholesFont[35 * d + cell] != (dark > 1);
    }
    const auto found = std::ranges::find_if(wrong, [](int n) { return n < 2; });
    if (found != wrong.end()) return static_cast<char>('0' + (found - wrong.begin()));
  }
  return '?';
}

TEST(ImagBox, decode_holes_is_its_trials) {
  int read = 0, unread = 0;
  for (unsigned seed = 0; seed < 200; ++seed) {
    Random random(seed);
    PunchedLine line = {.left = 20, .bottom = 3, .width = 80, .height = 60};
    line.paper = 239 - int(random.below(90));
    const std::string drawn = std::to_string(random.below(10));
    line.digits = drawn;
    line.ink = line.paper - 10 - int(random.below(130));
    Page page(80, 60);
    const Bytes file = line.file();
    page.bytes.assign(file.begin() + 14, file.end());
    for (auto n = random.below(4) == 0 ? 0 : random.below(2500); n > 0; --n)
      page.at(int(random.below(80)), int(random.below(60))) = random.byte();
    const int x = 17 + int(random.below(6)), y = int(random.below(7)) - 1;
    box_char[0] = {x, x + 30 + int(random.below(4)), y, y + 51 + int(random.below(4))};
    if (random.below(9) == 0) box_char[0] = {x - 22, x, y - 4, y + int(random.below(20))};
    num_box = 1;
    char text[128];
    ASSERT_EQ(ImageBox_Decode_holes(page.dib(), text), 1);
    const char wanted = digit(page, box_char[0]);
    ASSERT_EQ(text[0], wanted) << seed;
    ++(wanted == '?' ? unread : read);
  }
  EXPECT_TRUE(read > 50 && unread > 50) << read << ' ' << unread;
}

}  // namespace
