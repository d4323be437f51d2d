// Fonts as values: the results of the flat store, a clear refusal of everything else.
#include <ZelIMP.h>
#include <ZelIMP.hpp>
#include <gtest/gtest.h>

#include <functional>

#include "support/dib_builder.hpp"

namespace {

using namespace zel::test;
using zelimp::Font;

std::span<const std::byte> input(const Bytes& bytes) { return std::as_bytes(std::span(bytes)); }
Bytes saved(const Font& font) { return bytes_at(font.save().data(), font.save().size()); }
bool shows(const zelimp::Pixels& a, const Bytes& b) { return std::ranges::equal(a.pixels, input(b)); }

// Rows of a bitmap, which has no others, from its top and without padding.
Bytes upright(std::uint32_t width, std::uint32_t height, const std::uint8_t* rows) {
  Bytes out;
  for (std::uint32_t y = height; y-- > 0;) append(out, std::span(rows + (width + 3) / 4 * 4 * y, width));
  return out;
}

// The status of the Error that call throws, or 0.
int refusal(const std::function<void()>& call) {
  try {
    return call(), 0;
  } catch (const zelimp::Error& error) {
    return static_cast<int>(error.status());
  }
}

TEST(CheckedFont, trains_as_the_flat_store) {
  Random random(1);
  Font font;
  FontAPI flat;
  for (int i = 0; i < 300; ++i) {
    const std::uint32_t code = 72 + random.below(9), width = 1 + random.below(14), height = 1 + random.below(11);
    Bytes rows((width + 3) / 4 * 4 * height);
    random.fill(rows);
    Bytes sample = dib({40, int(width), int(height)}, rows), picture = upright(width, height, rows.data());
    const zelimp::PixelView view{width, height, input(picture)};
    const std::size_t index = font.train(code, view);
    EXPECT_EQ(flat.Add_Char(int(code), chars(sample)), int(index) + 1);
    sample = dib({40, int(width), int(height)}, rows);
    if (refusal([&] { font.set_mask(code, view); }) == 0) flat.Add_Mask(int(code), chars(sample));
    const zelimp::FontCharacter made = font.character(index);
    const FontSlot& slot = flat.slots[index];
    EXPECT_TRUE(shows(made.mean, upright(slot.width, unsigned(slot.height), slot.image + 1064)) && made.code == code);
    EXPECT_TRUE(shows(made.variance, upright(slot.width, unsigned(slot.height), slot.variance + 1064))) << i;
    EXPECT_EQ(made.samples, slot.samples);
  }
  Font copy = font, rest;
  copy.remove(3), rest.merge(copy);
  EXPECT_TRUE(font.size() == 9 && copy.size() == 9 && rest.size() == 8 && saved(rest) == saved(copy));
  EXPECT_TRUE(saved(Font::load(font.save())) == saved(font) && !copy.find(0) && copy.character(3).code == 0);
}

TEST(CheckedFont, refuses_what_contradicts_itself) {
  constexpr int kNotLoaded = 1, kBadArgument = 16, kOverLimit = 17;
  const Bytes file = joined(plain_record(65, 3, 1, 2), plain_record(70, 65535, 3, 4)), grey = grey_dib(6, 2, 1);
  const auto load = [](const Bytes& bytes, zelimp::Limits limits = {}) {
    return refusal([&] {
      Font font = Font::load(input(bytes), limits);
      for (std::size_t i = 0; i < font.size(); ++i) font.character(i);
    });
  };
  for (std::size_t n = 0; n <= file.size(); ++n) {
    EXPECT_EQ(load(Bytes(file.begin(), file.begin() + long(n))), n % (file.size() / 2) == 0 ? 0 : kNotLoaded) << n;
  }
  Random random(3);
  std::array<int, 18> counts = {};
  for (int i = 0; i < 9000; ++i) {
    Bytes mutant = file;  // records and headers; in palettes and pixels nothing can be wrong
    for (int k = 0; k < 2; ++k)
      mutant[random.below(2) * 2178 + random.below(2) * 1080 + random.below(58)] = random.byte();
    ++counts[unsigned(load(mutant))];
  }
  EXPECT_TRUE(counts[0] > 900 && counts[kNotLoaded] > 900) << counts[0] << " " << counts[kNotLoaded];
  Bytes many;
  for (int i = 0; i < 130; ++i) append(many, plain_record(i, 1, 1, 2));
  EXPECT_EQ(load(many) + load(file, {.max_bytes = 2000}) + load(file, {.max_pixels = 11}), 3 * kOverLimit);
  for (const Bytes& bad : {font_record(6, 3, 65, 1, grey, grey), font_record(0, 2, 65, 1, grey, grey),
                           font_record(6, 2, 65, 1, dib({40, 6, 2, 24}, Bytes(24, 1)), grey)}) {
    EXPECT_EQ(load(bad), kNotLoaded);
  }
  Font font = Font::load(input(file));
  const zelimp::PixelView view{6, 2, input(grey).first(12)};
  EXPECT_EQ(refusal([&] { font.train(70, view); }), kOverLimit);
  const std::function<void()> wrong[] = {[&] { font.train(0, view); },
                                         [&] { font.train(128, view); },
                                         [&] { font.train(65, {}); },
                                         [&] { font.set_mask(66, view); },
                                         [&] {
                                           font.set_mask(65, {2, 6, view.pixels});
                                         },
                                         [&] { font.remove(2); },
                                         [&] { font.merge(font); }};
  for (const auto& call : wrong) EXPECT_EQ(refusal(call), kBadArgument);
}

}  // namespace
