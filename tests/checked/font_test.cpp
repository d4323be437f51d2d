// Fonts as values: the results of the flat store, a clear refusal of everything else.
#include <ZelIMP.h>
#include <gtest/gtest.h>

#include <map>

#include "checked/support.hpp"
#include "support/dib_builder.hpp"

namespace {

using namespace zel::test;
using zelimp::Font;
using zelimp::Status;

Bytes saved(const Font& font) { return bytes_at(font.save().data(), font.save().size()); }

TEST(CheckedFont, trains_as_the_flat_store) {
  Random random(1);
  Font font, rest;
  FontAPI flat;
  for (int i = 0; i < 300; ++i) {
    const std::uint32_t code = 72 + random.below(9), width = 1 + random.below(14), height = 1 + random.below(11);
    Bytes picture(width * height);
    random.fill(picture);
    Font alone;  // which tells the sample's bitmap
    alone.train(code, {width, height, as_input(picture)});
    Bytes sample = saved(alone), mask = sample;
    EXPECT_EQ(flat.Add_Char(int(code), chars(sample) + 18),
              int(font.train(code, {width, height, as_input(picture)})) + 1);
    if (refusal([&] { font.set_mask(code, {width, height, as_input(picture)}); }).status() == Status{0}) {
      flat.Add_Mask(int(code), chars(mask) + 18);
    }
  }
  Bytes wanted;
  for (std::uint32_t code = 72; code < 81; ++code) {
    const FontSlot& s = flat.slots[font.find(code).value()];
    append(wanted, font_record(int(s.width), s.height, int(s.code), s.samples, bytes_at(s.image, s.size),
                               bytes_at(s.variance, s.size)));
  }
  EXPECT_TRUE(saved(font) == wanted && saved(Font::load(as_input(wanted))) == wanted);
  Font copy = font;
  copy.remove(3), rest.merge(copy);
  EXPECT_TRUE(copy.size() == 9 && rest.size() == 8 && saved(rest) == saved(copy) && saved(font) == wanted);
}

TEST(CheckedFont, refuses_what_contradicts_itself) {
  const Bytes file = joined(plain_record(65, 3, 1, 2), plain_record(70, 65535, 3, 4)), grey = grey_dib(6, 2, 1);
  const std::span<const std::byte> pixels = as_input(grey).first(12);
  const auto load = [&](const Bytes& bytes, zelimp::Limits limits = {}) {
    const auto use = [&] {
      Font font = Font::load(as_input(bytes), limits);
      for (std::size_t i = 0; i < font.size(); ++i) font.character(i);
      if (font.size() > 0) font.train(65, {6, 2, pixels});
    };
    return refusal(use).status();
  };
  for (std::size_t n = 0; n <= file.size(); ++n) {
    EXPECT_EQ(load(Bytes(file.begin(), file.begin() + long(n))), n % 2178 == 0 ? Status{0} : Status::not_loaded) << n;
  }
  Random random(3);
  std::map<Status, int> counts;
  for (int i = 0; i < 9000; ++i) {
    Bytes mutant = file;  // records and headers; in palettes and pixels nothing can be wrong
    for (const std::size_t at : {0, 2178}) mutant[at + random.below(2) * 1080 + random.below(58)] = random.byte();
    ++counts[load(mutant)];
  }
  EXPECT_GT(std::min(counts[Status{0}], counts[Status::not_loaded]), 900);
  Bytes many;
  for (int i = 0; i < 130; ++i) append(many, plain_record(i, 1, 1, 2));
  for (const Status status : {load(many), load(file, {.max_bytes = 4355}), load(file, {.max_pixels = 11})}) {
    EXPECT_EQ(status, Status::over_limit);
  }
  for (const Bytes& bad : {font_record(6, 3, 65, 1, grey, grey), font_record(0, 2, 65, 1, grey, grey),
                           font_record(6, 2, 65, 1, dib({40, 6, 2, 24}, Bytes(40)), grey)}) {
    EXPECT_EQ(load(bad), Status::not_loaded);
  }
  Font font = Font::load(as_input(file));
  EXPECT_EQ(refusal([&] { font.train(70, {6, 2, pixels}); }).status(), Status::over_limit);
  for (const auto& [code, width] : {std::pair(0u, 6u), {128u, 6u}, {65u, 5u}, {65u, 0u}}) {
    EXPECT_EQ(refusal([&] { font.train(code, {width, 2, pixels}); }).status(), Status::bad_argument);
    EXPECT_EQ(refusal([&] { font.set_mask(code, {width, 2, pixels}); }).status(), Status::bad_argument);
  }
  for (const auto& call : {std::function([&] { font.merge(font); }), {[&] { font.remove(2); }}})
    EXPECT_EQ(refusal(call).status(), Status::bad_argument);
}

}  // namespace
