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
  Font font, rest;
  FontAPI flat;
  for (int i = 0; i < 300; ++i) {
    const std::uint32_t code = 72 + random.below(9), width = 1 + random.below(14), height = 1 + random.below(11);
    Bytes picture(width * height);
    random.fill(picture);
    Font alone;  // which tells the sample's bitmap
    alone.train(code, {width, height, input(picture)});
    Bytes sample = saved(alone), mask = sample;
    EXPECT_EQ(flat.Add_Char(int(code), chars(sample) + 18), int(font.train(code, {width, height, input(picture)})) + 1);
    if (refusal([&] { font.set_mask(code, {width, height, input(picture)}); }) == 0) {
      flat.Add_Mask(int(code), chars(mask) + 18);
    }
  }
  Bytes wanted;
  for (std::uint32_t code = 72; code < 81; ++code) {
    const FontSlot& s = flat.slots[font.find(code).value()];
    append(wanted, font_record(int(s.width), s.height, int(s.code), s.samples, bytes_at(s.image, s.size),
                               bytes_at(s.variance, s.size)));
  }
  EXPECT_TRUE(saved(font) == wanted && saved(Font::load(input(wanted))) == wanted);
  Font copy = font;
  copy.remove(3), rest.merge(copy);
  EXPECT_TRUE(copy.size() == 9 && rest.size() == 8 && saved(rest) == saved(copy) && saved(font) == wanted);
}

TEST(CheckedFont, refuses_what_contradicts_itself) {
  constexpr int kNotLoaded = 1, kBadArgument = 16, kOverLimit = 17;
  const Bytes file = joined(plain_record(65, 3, 1, 2), plain_record(70, 65535, 3, 4)), grey = grey_dib(6, 2, 1);
  const std::span<const std::byte> pixels = input(grey).first(12);
  const auto load = [&](const Bytes& bytes, zelimp::Limits limits = {}) {
    return refusal([&] {
      Font font = Font::load(input(bytes), limits);
      for (std::size_t i = 0; i < font.size(); ++i) font.character(i);
      if (font.size() > 0) font.train(65, {6, 2, pixels});
    });
  };
  for (std::size_t n = 0; n <= file.size(); ++n) {
    EXPECT_EQ(load(Bytes(file.begin(), file.begin() + long(n))), n % 2178 == 0 ? 0 : kNotLoaded) << n;
  }
  Random random(3);
  std::array<int, 18> counts = {};
  for (int i = 0; i < 9000; ++i) {
    Bytes mutant = file;  // records and headers; in palettes and pixels nothing can be wrong
    for (const std::size_t at : {0, 2178}) mutant[at + random.below(2) * 1080 + random.below(58)] = random.byte();
    ++counts[unsigned(load(mutant))];
  }
  EXPECT_TRUE(counts[0] > 900 && counts[kNotLoaded] > 900) << counts[0] << " " << counts[kNotLoaded];
  Bytes many;
  for (int i = 0; i < 130; ++i) append(many, plain_record(i, 1, 1, 2));
  for (const int status : {load(many), load(file, {.max_bytes = 4355}), load(file, {.max_pixels = 11})}) {
    EXPECT_EQ(status, kOverLimit);
  }
  for (const Bytes& bad : {font_record(6, 3, 65, 1, grey, grey), font_record(0, 2, 65, 1, grey, grey),
                           font_record(6, 2, 65, 1, dib({40, 6, 2, 24}, Bytes(40)), grey)}) {
    EXPECT_EQ(load(bad), kNotLoaded);
  }
  Font font = Font::load(input(file));
  EXPECT_EQ(refusal([&] { font.train(70, {6, 2, pixels}); }), kOverLimit);
  for (const auto& [code, width] : {std::pair(0u, 6u), {128u, 6u}, {65u, 5u}, {65u, 0u}}) {
    EXPECT_EQ(refusal([&] { font.train(code, {width, 2, pixels}); }), kBadArgument);
    EXPECT_EQ(refusal([&] { font.set_mask(code, {width, 2, pixels}); }), kBadArgument);
  }
  for (const auto& call : {std::function([&] { font.merge(font); }), {[&] { font.remove(2); }}})
    EXPECT_EQ(refusal(call), kBadArgument);
}

}  // namespace
