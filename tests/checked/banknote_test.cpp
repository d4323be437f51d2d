// Banknotes through the checked interface: scores and places, the value of the flat call, a refusal of what is wrong.
#include <ZelIMP.h>
#include <gtest/gtest.h>

#include "checked/support.hpp"
#include "support/dib_builder.hpp"
#include "support/punched_line.hpp"

namespace {

using namespace zel::test;
using zelimp::Font;

// A black and white picture, top row first.
Bytes picture(int size) {
  Bytes pixels;
  for (int x = 0, y = 0; y < size; x = (x + 1) % size, y += x == 0 ? 1 : 0) {
    pixels.push_back((x * x * 31 + y * y * 17 + x * y * 7) / 97 % 2 == 0 ? 0 : 255);
  }
  return pixels;
}

// A note of 300 x 400 with one of 160 x 160 at column and row 40; so many of its lowest pixels are wrong.
Bytes note(std::size_t wrong, bool turned = false) {
  Bytes rows(300 * 400, 128), inside = picture(160);
  for (std::size_t k = 25600 - wrong; k < 25600; ++k) inside[k] ^= 255;
  for (std::size_t r = 0; r < 160; ++r) std::copy_n(&inside[160 * r], 160, &rows[(359 - r) * 300 + 40]);
  if (turned) std::ranges::reverse(rows);
  return bitmap_file(300, 400, rows);
}

TEST(Banknotes, tell_scores_and_places_as_the_flat_call_decides) {
  zelimp::NoteLocations locations;
  locations[5] = {true, -262, -202, 164, 164};
  Font font, corner;  // the upper left one of the picture is where class 1 is looked for
  for (const std::uint32_t code : {5, 21, 8})
    font.train(code, {160, 160, as_input(code == 5 ? Bytes(25600, 255) : picture(160))});
  const auto close = zelimp::read_banknote(as_input(note(1023)), {}, font, locations).matches;
  const auto none = zelimp::read_banknote(as_input(note(1024)), {}, font, locations);
  EXPECT_TRUE(close.size() == 2 && close[0].value == 50 && close[0].score == 999 && close[1].index == 0);
  EXPECT_TRUE(none.value == 0 && none.matches.size() == 4 && none.matches[0].score == 1000);
  corner.train(17, {50, 50, as_input(picture(50))});
  auto file = corner.save();
  ActualFont.Add_Char(17, reinterpret_cast<char*>(&file[18]));
  Bytes images[] = {note(0), note(0, true), bitmap_file(300, 400, Bytes(120000, 9))};
  for (const std::size_t kind : {0, 1, 2, 3, 4, 5, 6, 7}) {
    Bytes first = images[kind % 3], second = images[kind / 3];
    const auto found = zelimp::read_banknote(as_input(first), as_input(second).subspan(14), corner);
    const zelimp::NoteMatch match = found.matches.at(0);
    unsigned char told[3] = {};
    EXPECT_EQ(ZelIMPMoneyGetValue(&first[14], &second[14], told, told + 1, told + 2), found.value);
    EXPECT_TRUE(told[0] == match.value && match.second == (told[1] != 0) && match.upright == (told[2] != 0)) << kind;
    EXPECT_TRUE(match.place.left == 40 && match.place.top == 40 && match.score == 0 && match.limit == 100) << kind;
  }
  ActualFont.UnloadFont();
}

// 28 x 30 pixels, light but for a run of dark ones in each of the rows from 8 on: of bars[r] - '0', to column 26.
Bytes barred(const std::string& bars, bool top_down) {
  Bytes rows(28 * 30, 255);
  for (std::size_t r = 0; r < bars.size(); ++r) {
    std::uint8_t* const end = &rows[28 * (top_down ? 21 - r : 8 + r) + 27];
    std::fill(end - (bars[r] - '0'), end, std::uint8_t{0});
  }
  return bitmap_file(28, top_down ? -30 : 30, rows);
}

TEST(Banknotes, search_ends_at_the_first_place_orientation_and_image) {
  // What light templates find over rows 1 to 8 of these bars: their size; row of the best, whether it is upright, score
  // and, with rows top to bottom, where the half turn mirrors alone, the same again.
  constexpr const char* kBars[] = {"0100000JJ00000", "0200000JJ00000", "04040404JJ4040",
                                   "04040404JJ4020", "02111111JJ0000", "00J0J0J0J00000"};
  constexpr unsigned kCases[][6] = {{25, 2, 0, 1, 500, 500},  {25, 2, 1, 1, 0, 0},   {25, 2, 0, 0, 1500, 1500},
                                    {25, 2, 0, 0, 500, 1500}, {25, 2, 0, 0, 0, 500}, {4, 6, 0, 1, 12, 12}};
  const Bytes light(225, 255);
  for (const std::size_t k : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}) {
    const auto& [width, height, row, upright, score, other] = kCases[k / 2];
    const bool down = k % 2 != 0, accepted = (down ? other : score) < 1000;
    zelimp::NoteLocations locations;
    locations[0] = locations[1] = locations[2] = {true, 2, down ? 10 : 9, 25, 8};  // cut a row lower with down
    Font font;
    for (const unsigned code : {16, 18, 17}) font.train(code, {width, height, as_input(light).first(width * height)});
    font.train(33, {25, 9, as_input(light)}), font.remove(0);  // neither is compared
    const Bytes first = barred(kBars[2], down), second = barred(kBars[k / 2], down);
    const auto [value, matches] = zelimp::read_banknote(as_input(first), as_input(second), font, locations);
    ASSERT_EQ(matches.size(), accepted ? 2 : 8) << k;
    const auto& [index, code, its_value, is_second, is_upright, place, disagreeing, limit, its_score] = matches[0];
    EXPECT_TRUE(value == (accepted ? 5 : 0) && index == 1 && code == 18 && its_value == 5 && is_second) << k;
    EXPECT_TRUE(is_upright == (upright != 0) && place.left == 2 && place.top == 21 - height - row) << k;
    EXPECT_TRUE(its_score == int(down ? other : score) && disagreeing * (limit == 2 ? 500 : 1) == unsigned(its_score))
        << k;
  }
}

TEST(Banknotes, refuse_what_does_not_fit_together) {
  const Bytes file = note(0), image = grey_dib(6, 2, 1), turned = grey_dib(6, -2, 1);
  zelimp::NoteLocations locations;
  const auto read = [&](const Bytes& font) {
    return zelimp::read_banknote({}, as_input(file), Font::load(as_input(font)), locations).value;
  };
  for (const auto& [x, y, width] : {std::array{235, 0, 66}, {0, 339, 66}, {-301, 0, 66}, {0, -401, 66}, {0, 0, 0}}) {
    locations[1] = {true, x, y, static_cast<std::uint32_t>(width), 62};
    EXPECT_THROW(read(plain_record(1, 1, 1, 1)), zelimp::Error) << x << ' ' << y;
    EXPECT_EQ(read(plain_record(2, 1, 1, 1)), 0);
  }
  locations[1] = {true, 0, 0, 66, 62};
  EXPECT_EQ(read(plain_record(1, 1, 1, 1)), 2);
  EXPECT_THROW(read(font_record(6, -2, 1, 1, turned, turned)), zelimp::Error);
  for (const Bytes& mask : {turned, grey_dib(5, 2, 1), joined(grey_dib(6, 1, 1), Bytes(8))})
    EXPECT_THROW(read(font_record(6, 2, 1, 1, image, mask)), zelimp::Error);
  const Font font = Font::load(as_input(plain_record(1, 1, 1, 1)));
  EXPECT_THROW(zelimp::read_banknote(as_input(image), as_input(file), font, locations), zelimp::Error);
}

}  // namespace
