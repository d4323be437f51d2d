// Banknotes: the decoding against its own steps, the rules of acceptance by hand, and what becomes of the images.

#include <cstdlib>

#include "imagbox_page.hpp"

namespace zel::test {
namespace {

// A DIB with a grey ramp whose row r, as it lies, and column c are value(r, c).
Bytes drawn(int width, int height, auto value) {
  Page page(width, height);
  for (int r = 0; r < std::abs(height); ++r) {
    for (int c = 0; c < page.stride; ++c) page.at(c, r) = std::uint8_t(value(r, c));
  }
  return page.bytes;
}
Bytes grey(int width, int height, int level) { return Page(width, height, level).bytes; }
int figure(int r, int c) { return (r / 4 * 7 + c / 5 * 3 + r * c / 90) % 3 == 0 ? 0 : 255; }

// A note with the figure where class 1 is looked for; so many pixels differ. Rows top to bottom are cut one row lower.
Bytes note(int differing, int height = 370) {
  return drawn(120, height, [&](int r, int c) {
    r = (height < 0 ? -height - r : r) - 300, c -= 38;
    const bool inside = r >= 0 && r < 62 && c >= 0 && c < 66;
    return inside ? figure(r, c) ^ (r * 66 + c < differing ? 255 : 0) : 128;
  });
}

void add(int code, Bytes image, Bytes mask) {
  ActualFont.Add_Char(code, chars(image)), ActualFont.Add_Mask(code, chars(mask));
}
void use(int code, const Bytes& image, const Bytes& mask) { ActualFont.UnloadFont(), add(code, image, mask); }
int decoded(Bytes dib) { return Money_Decode_Money(dib.data()); }

const Bytes kFigure = drawn(66, 62, figure), kTrusted = grey(66, 62, 0);

TEST(Money, convolution_counts_what_disagrees) {
  constexpr int kPixels[][4] = {{148, 106, 0, 1}, {148, 107, 0, 0}, {147, 0, 0, 0},   {106, 148, 0, 1},
                                {106, 147, 0, 0}, {107, 255, 0, 0}, {97, 255, 10, 0}, {0, 254, 106, 1}};
  for (const auto& [templ, level, mask, wanted] : kPixels) {
    Bytes a = grey(1, 1, templ), b = grey(1, 1, level), m = grey(1, 1, mask);
    EXPECT_EQ(Make_Convolution(a.data(), b.data(), m.data(), 0, 0, 9), wanted) << templ << ' ' << level << ' ' << mask;
  }
  // A 3 x 2 template, of which one pixel is masked, on a black 5 x 4 image.
  Bytes light = grey(3, 2, 255), mask = drawn(3, 2, [](int r, int c) { return r == 1 && c == 0 ? 200 : 0; });
  Bytes black = grey(5, 4, 0), upside_down = grey(5, -4, 0), short_mask = grey(3, 1, 0);
  constexpr int kPlaces[][3] = {{2, 2, 5}, {3, 2, 3}, {-1, 0, 4}, {0, -1, 2}, {INT32_MAX, 0, 0}, {0, INT32_MIN, 0}};
  for (const auto& [x, y, wanted] : kPlaces) {
    EXPECT_EQ(Make_Convolution(light.data(), black.data(), mask.data(), x, y, 0), wanted) << x << ' ' << y;
  }
  EXPECT_EQ(Make_Convolution(light.data(), upside_down.data(), mask.data(), 0, 0, 0), 0);
  EXPECT_EQ(Make_Convolution(light.data(), black.data(), short_mask.data(), 0, 0, 0), 3);
}

TEST(Money, class_one_alone_is_looked_for) {
  constexpr int kTable[] = {0,   38, 267, 86,   92, 1,   38,  300, 66,   62, 0,   -144, 30, 114, 172, 0,   -149, 39,
                            120, 95, 0,   -155, 40, 140, 100, 0,   -155, 40, 140, 100,  0,  715, 55,  140, 295};
  for (int code = 0; code < 18; ++code) {
    std::fill_n(&USDloc[0].enabled, 35, 1);
    code == 0 ? void(ActualFont.UnloadFont()) : use(code, kFigure, kTrusted);
    EXPECT_EQ(code == 16 ? Money_Decode_Money(nullptr) : decoded(note(0)), code % 16 == 1 ? 2 : 0) << code;
    EXPECT_EQ(memcmp(USDloc, kTable, sizeof kTable), 0);
  }
}

TEST(Money, money_templates_that_always_match_and_limits) {
  constexpr int kCases[][5] = {{66, 62, 0, 162, 2}, {66, 62, 0, 163, 0},   {66, 62, 127, 4092, 2}, {4, 6, 0, 4092, 2},
                               {5, 5, 0, 4092, 0},  {66, -62, 0, 4092, 2}, {66, -99, 0, 4092, 2},  {67, -5, 0, 4092, 0},
                               {67, 62, 0, 0, 0},   {0, 6, 0, 4092, 2}};
  for (const auto& [width, height, mask, differing, wanted] : kCases) {
    use(1, width < 10 ? grey(width, height, 255) : drawn(width, height, figure), grey(width, height, mask));
    EXPECT_EQ(decoded(width < 10 ? grey(120, 370, 9) : note(differing)), wanted) << width << " x " << height;
  }
}

TEST(Money, money_one_bad_slot_refuses_all_and_money_mask_has_rows_of_the_template) {
  // In the second slot: nothing; too large, first of another class; missing; of too many rows; a mask that the slot
  // holds, but not with the rows of the template.
  for (const int bad : {0, 1, 2, 3, 4, 5, 6, 7}) {
    use(1, kFigure, kTrusted), add(bad == 1 ? 2 : 17, bad == 2 ? grey(67, 62, 0) : kFigure, kTrusted);
    FontSlot& slot = ActualFont.slots[1];
    if (bad == 1 || bad == 2) --slot.size;
    if (bad == 3) std::free(slot.image), slot.image = nullptr;
    if (bad == 4) std::free(slot.variance), slot.variance = nullptr;
    if (bad == 5 || bad == 6) ++(bad == 5 ? slot.image : slot.variance)[8];
    if (bad == 7) slot.variance[8] = 61, slot.variance[32] = slot.variance[33] = 1;
    EXPECT_EQ(decoded(note(0)), bad < 2 ? 2 : 0) << bad;
  }
  std::swap(ActualFont.slots[0], ActualFont.slots[127]), ActualFont.slots[1].code = 0, ActualFont.count = 1000;
  EXPECT_EQ(decoded(note(0)), 2);  // 128 slots are looked at
  Bytes mask = drawn(66, 62, [](int r, int c) { return r * 66 + c < 200 ? 255 : 0; });
  mask[4] = 20, mask[8] = 50;  // of the header only
  use(1, kFigure, mask);
  EXPECT_EQ(decoded(note(200 + 162)) * 10 + decoded(note(200 + 163)), 20);
}

TEST(Money, money_get_value_and_what_it_leaves) {
  // Of the second image and the first: the figure (u upright, t turned), another one (b) or no image; what is returned;
  // value, side and upright, 7 when not written; which of the images are left turned (t).
  constexpr const char* kCases[] = {"ub2211--", "tu2210t-", "bu2201t-", "bt2200tt",
                                    "bb0700tt", "b-0710t-", "-u2201--", "--0777--"};
  use(1, kFigure, kTrusted);
  for (int k = 0; k < 16; ++k) {
    const std::string is = kCases[k / 2];
    Bytes image[2], after[2];
    for (std::size_t i : {0, 1}) {
      if (is[i] != '-') image[i] = after[i] = note(is[i] == 'b' ? 999 : 0, k % 2 == 0 ? 370 : -370);
      if (is[i] == 't') ImageBox_Rotate180(chars(image[i]));
      if ((is[i] == 't') != (is[6 + i] == 't')) ImageBox_Rotate180(chars(after[i]));
    }
    unsigned char told[] = {7, 7, 7};
    const int found = ZelIMPMoneyGetValue(image[1].data(), image[0].data(), told, told + 1, told + 2);
    EXPECT_EQ(found * 1000 + told[0] * 100 + told[1] * 10 + told[2], std::stoi(is.substr(2, 4))) << is;
    EXPECT_TRUE(image[0] == after[0] && image[1] == after[1]) << is;
  }
  // The least heights that have the region, and what becomes of a height.
  for (const auto& [height, value, left] : {std::array{-361, 2, -361}, {-360, 0, 360}, {362, 2, 362}, {361, 0, 361}}) {
    Bytes dib = note(0, height);
    EXPECT_TRUE(Money_Decode_Money(dib.data()) == value && DIBHeight(chars(dib)) == left) << height;
  }
}

TEST(Money, money_is_its_steps) {
  Random random(5);
  int counts[2] = {};
  for (int round = 0; round < 200; ++round) {
    const auto below = [&](int n) { return int(random.below(std::size_t(n))); };
    const auto noisy = [&](int percent, int value) { return below(100) < percent ? random.byte() : value; };
    const int width = 50 + below(17), height = 50 + below(13), left = below(3), up = below(3), wrong = below(14);
    Bytes image = drawn(width, height, [&](int r, int c) { return noisy(wrong, figure(r + up, c + left)); });
    Bytes mask = drawn(width, height, [&](int, int) { return below(11) * below(11); });
    Bytes dib = note(0);  // black and white, so that the stretch changes nothing
    std::transform(dib.begin() + 1064, dib.end(), dib.begin() + 1064, [&](int value) { return noisy(5, value); });
    bool wanted = false;
    for (int k = 0, columns = 67 - width; k < columns * (63 - height) && !wanted; ++k) {
      const int count = Make_Convolution(image.data(), dib.data(), mask.data(), 38 + k % columns, 300 + k / columns, 0);
      wanted = count < width * height / 25;
    }
    use(1, image, mask);
    ASSERT_EQ(decoded(dib), wanted ? 2 : 0) << round;
    ++counts[wanted];
  }
  ActualFont.UnloadFont();
  EXPECT_GT(std::min(counts[0], counts[1]), 30);
}

}  // namespace
}  // namespace zel::test
