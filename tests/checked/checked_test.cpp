// The checked interface: the same bytes as the flat one, a clear refusal of everything else, and no byte read outside
// the input, whatever it says.

#include <ZelIMP.h>
#include <ZelIMP.hpp>
#include <gtest/gtest.h>

#include <functional>

#include "support/guarded_buffer.hpp"
#include "support/random.hpp"
#include "support/tiff_builder.hpp"

namespace {

using namespace zel::test;
using zelimp::Format;
using zelimp::Rotation;
using zelimp::Side;
using zelimp::Status;

std::span<const std::byte> as_input(const Bytes& file) { return std::as_bytes(std::span(file)); }
Bytes as_bytes(const std::vector<std::byte>& file) {
  Bytes out(file.size());
  std::transform(file.begin(), file.end(), out.begin(), [](std::byte b) { return std::to_integer<std::uint8_t>(b); });
  return out;
}

TiffFile scan(std::uint32_t width, std::uint32_t height, std::uint32_t samples) {
  Bytes pixels(std::size_t{width} * height * samples);
  Random(width + 7 * height).fill(pixels);
  return device_tiff(width, height, samples, pixels);
}

// The status and tag of the Error that call throws; status 0 when it throws none.
struct Refusal {
  int status = 0;
  std::optional<std::uint16_t> tag;
  std::string sentence;
};
Refusal refusal(const std::function<void()>& call) {
  try {
    call();
    return {};
  } catch (const zelimp::Error& error) {
    return {static_cast<int>(error.status()), error.tag(), error.what()};
  }
}

TEST(Checked, process_gives_the_bytes_of_the_flat_call) {
  constexpr struct {
    Format format;
    int grey, colour;  // numbers of the flat call; 0 in colour: refused
  } kFormats[] = {{Format::group4, 0, 0}, {Format::one_bit, 9, 0}, {Format::tiff, 1, 2}, {Format::bitmap, 10, 0}};
  constexpr int kSides[] = {0, 2, 1, 7};   // in the order of Side
  constexpr int kRotations[] = {0, 2, 1};  // in the order of Rotation
  for (const std::uint32_t samples : {1u, 3u}) {
    const Bytes input = scan(61, 30, samples).bytes();
    for (const auto& [format, grey, colour] : kFormats) {
      if (samples == 3 && format != Format::tiff) {
        const Refusal refused = refusal([&] { zelimp::process_scan(as_input(input), {.format = format}); });
        EXPECT_EQ(refused.status, 3);
        continue;
      }
      for (int i = 0; i < 4 * 3 * 2; ++i) {
        const int side = i % 4, rotation = i / 4 % 3;
        const std::optional<int> threshold = i < 12 ? std::nullopt : std::optional(i * 10);
        Bytes flat_input = input;  // turning one face changes it
        Bytes flat(3 * input.size() + 2000);
        unsigned int size = 0;
        double skew = 1.0;
        ASSERT_EQ(ZelIMPImageProc(flat_input.data(), flat.data(), &size, samples == 1 ? grey : colour, kSides[side], 0,
                                  kRotations[rotation], threshold.has_value(), threshold.value_or(0), 0, &skew),
                  0u);
        flat.resize(size);
        zelimp::ProcessReport report;
        const auto checked = zelimp::process_scan(as_input(input),
                                                  {.format = format,
                                                   .side = static_cast<Side>(side),
                                                   .rotation = static_cast<Rotation>(rotation),
                                                   .threshold = threshold},
                                                  &report);
        EXPECT_EQ(as_bytes(checked), flat) << "samples " << samples << " format " << grey << " case " << i;
        const bool halved = side == 1 || side == 2;
        const std::pair<std::uint32_t, std::uint32_t> size_of_side(halved ? 30 : 61, 30);
        EXPECT_EQ(rotation == 0 ? std::pair(report.width, report.height) : std::pair(report.height, report.width),
                  size_of_side);
        EXPECT_EQ(report.black_share.has_value(), format == Format::group4 || format == Format::one_bit);
      }
    }
  }
}

TEST(Checked, black_share_counts_pixels) {
  TiffFile file = device_tiff(8, 4, 1, Bytes(32, 255));
  std::fill_n(file.pixels.begin(), 8, std::uint8_t{0});
  zelimp::ProcessReport report;
  zelimp::process_scan(as_input(file.bytes()), {.format = Format::one_bit, .threshold = 128}, &report);
  // A single row of black keeps no pixel: the filter whitens it from its ends.
  EXPECT_EQ(report.black_share, 0.0);
  std::fill_n(file.pixels.begin(), 16, std::uint8_t{0});
  zelimp::process_scan(as_input(file.bytes()), {.format = Format::one_bit, .threshold = 128}, &report);
  EXPECT_EQ(report.black_share, 0.5);
}

TEST(Checked, descramble_gives_the_bytes_of_the_image_object) {
  std::vector<std::uint16_t> white(3 * 64), black(64);
  for (std::size_t i = 0; i < white.size(); ++i) white[i] = static_cast<std::uint16_t>(180 + i % 50);
  for (std::size_t i = 0; i < black.size(); ++i) black[i] = static_cast<std::uint16_t>(i % 20);
  std::uint16_t* const w = white.data();
  for (const std::uint32_t samples : {1u, 3u}) {
    for (const std::uint32_t width : {12u, 13u}) {
      for (int i = 0; i < 4 * 2 * 3; ++i) {
        const bool swap = i % 2 != 0, tarsis = i / 2 % 2 != 0, tables = i / 4 % 2 != 0;
        const int halve = samples == 1 ? i / 8 : 0;
        Bytes input = scan(width, 9, samples).bytes();
        SWAP_SIDES = swap;
        Tarsis_7200 = tarsis;
        TiffImage image;
        ASSERT_EQ(image.load(input.data()), 0);
        Bytes pixels(image.GetImageSize());
        // Planes 64 entries long, as the checked call takes them.
        if (samples == 1) {
          image.DescrambleCalMono(pixels.data(), 2, 0, 0, 0, 0, tables ? w : nullptr, black.data(), halve);
        } else {
          image.DescrambleCalColor(pixels.data(), 2, 0, 0, 0, 0, tables ? w : nullptr, tables ? w + 64 : nullptr,
                                   tables ? w + 128 : nullptr, black.data());
        }
        image.SetImage(pixels.data());
        Bytes flat(image.GetTiffSize());
        image.save(flat.data());
        image.clear();

        zelimp::DescrambleOptions options = {.lag = 2, .swap_sides = swap, .tarsis_7200 = tarsis, .halve = halve};
        if (tables) options.white = std::span(white).first(64 * samples), options.black = black;
        EXPECT_EQ(as_bytes(zelimp::descramble(as_input(input), options)), flat)
            << "samples " << samples << " width " << width << " case " << i;
      }
    }
  }
  SWAP_SIDES = Tarsis_7200 = 1;
}

TEST(Checked, inspect_tells_facts_of_any_tiff) {
  const Bytes file = scan(6, 4, 3).bytes();
  const zelimp::Scan facts = zelimp::inspect(as_input(file));
  EXPECT_EQ(std::tuple(facts.width, facts.height, facts.bit_depth, facts.compression, facts.photometric),
            std::tuple(6u, 4u, 24u, 1, 2));
  EXPECT_EQ(std::tuple(facts.x_resolution, facts.y_resolution), std::tuple(200.0, 200.0));
  EXPECT_EQ(facts.make + "|" + facts.model + "|" + facts.description + "|" + facts.software,
            "Varnoke Industries, Inc|T 7200|front and rear|firmware 1.2");
  EXPECT_TRUE(facts.from_device && !facts.obstacle);
  EXPECT_EQ(facts.pixels.size(), 72u);
  EXPECT_EQ(facts.pixels.data() + facts.pixels.size(), as_input(file).data() + file.size());
  ASSERT_EQ(facts.tags.size(), 16u);
  EXPECT_EQ(std::tuple(facts.tags[2].id, facts.tags[2].count, facts.tags[2].value.size()), std::tuple(258, 3u, 6u));

  const Bytes foreign = scan(6, 4, 1).set(kMake, 2, text("Somebody")).bytes();
  const zelimp::Scan other = zelimp::inspect(as_input(foreign));
  EXPECT_TRUE(!other.from_device && other.obstacle && other.pixels.empty());
  EXPECT_EQ(other.make, "Somebody");
}

TEST(Checked, refuses_what_it_cannot_process) {
  const auto small = [] { return scan(6, 4, 1); };
  const struct {
    const char* what;
    Bytes file;
    int status;
    std::optional<std::uint16_t> tag;
  } kCases[] = {
      {"empty", {}, 1, {}},
      {"big-endian",
       [&] {
         TiffFile f = small();
         f.byte_order = 0x4D4D;
         return f.bytes();
       }(),
       1,
       {}},
      {"version",
       [&] {
         TiffFile f = small();
         f.version = 43;
         return f.bytes();
       }(),
       1,
       {}},
      {"no tags", TiffFile().bytes(), 1, 271},
      {"another maker", small().set(kMake, 2, text("Varnoke Industries, Inc.")).bytes(), 1, 271},
      {"no NUL", small().set(kMake, 2, ascii("Varnoke Resources, Inc")).bytes(), 1, 271},
      {"two strips", small().set(273, 4, longs({8, 20})).bytes(), 1, 273},
      {"two short strips", small().set(279, 3, shorts({12, 12})).bytes(), 1, 273},
      {"no strip", small().erase(273).bytes(), 1, 273},
      {"no strip size", small().erase(279).bytes(), 1, 279},
      {"16 bits", small().set(258, 3, shorts({16})).bytes(), 2, {}},
      {"compressed", small().set(259, 3, shorts({5})).bytes(), 2, {}},
      {"no width", small().set(256, 3, shorts({0})).bytes(), 1, 256},
      {"no height", small().erase(257).bytes(), 1, 257},
      {"lying height", small().set(257, 4, longs({5})).bytes(), 1, 279},
      {"lying strip size", small().set(279, 4, longs({25})).bytes(), 1, 273},
      {"strip far outside", small().set(273, 4, longs({0xFFFFFFFF})).bytes(), 1, 273},
      {"value outside", small().set(305, 2, longs({0xFFFFFFF0}), 100).bytes(), 1, 305},
      {"4 billion values", small().set(305, 12, longs({8}), 0xFFFFFFFF).bytes(), 1, 305},
      {"values larger than the file",
       small().set(270, 2, longs({0}), 200).set(272, 2, longs({0}), 200).set(305, 2, longs({0}), 200).bytes(),
       1,
       {}},
      {"too many pixels", small().set(257, 4, longs({0x80000000})).bytes(), 17, {}},
  };
  for (const auto& c : kCases) {
    const Refusal read = refusal([&] { zelimp::read_scan(as_input(c.file)); });
    EXPECT_EQ(read.status, c.status) << c.what << ": " << read.sentence;
    EXPECT_EQ(c.tag ? read.tag : c.tag, c.tag) << c.what << ": " << read.sentence;
    EXPECT_EQ(refusal([&] { zelimp::descramble(as_input(c.file)); }).sentence, read.sentence) << c.what;
    EXPECT_EQ(refusal([&] { zelimp::process_scan(as_input(c.file)); }).sentence, read.sentence) << c.what;
  }
}

TEST(Checked, refuses_options_out_of_range) {
  const Bytes grey = scan(6, 4, 1).bytes(), colour = scan(6, 4, 3).bytes(), narrow = scan(1, 4, 1).bytes();
  const std::vector<std::uint16_t> six(6), twelve(12), eighteen(18);
  const struct {
    const char* what;
    std::function<void()> call;
  } kCases[] = {
      {"lag takes all rows", [&] { zelimp::descramble(as_input(grey), {.lag = 4}); }},
      {"lag of 4 billion", [&] { zelimp::descramble(as_input(grey), {.lag = 0xFFFFFFFF}); }},
      {"lag takes all half rows", [&] { zelimp::descramble(as_input(grey), {.lag = 2, .halve = 1}); }},
      {"halved colour", [&] { zelimp::descramble(as_input(colour), {.halve = 1}); }},
      {"black missing", [&] { zelimp::descramble(as_input(grey), {.white = six}); }},
      {"white missing", [&] { zelimp::descramble(as_input(grey), {.black = six}); }},
      {"short table", [&] { zelimp::descramble(as_input(grey), {.white = std::span(six).first(5), .black = six}); }},
      {"one plane for three", [&] { zelimp::descramble(as_input(colour), {.white = six, .black = six}); }},
      {"no whole planes",
       [&] { zelimp::descramble(as_input(colour), {.white = std::span(eighteen).first(17), .black = six}); }},
      {"running index",
       [&] { zelimp::descramble(as_input(colour), {.swap_sides = false, .white = eighteen, .black = twelve}); }},
      {"half of one column", [&] { zelimp::process_scan(as_input(narrow), {.side = Side::front}); }},
      {"threshold", [&] { zelimp::process_scan(as_input(grey), {.threshold = 257}); }},
      {"format", [&] { zelimp::process_scan(as_input(grey), {.format = static_cast<Format>(99)}); }},
      {"side", [&] { zelimp::process_scan(as_input(grey), {.side = static_cast<Side>(-1)}); }},
      {"rotation", [&] { zelimp::process_scan(as_input(grey), {.rotation = static_cast<Rotation>(3)}); }},
  };
  for (const auto& c : kCases) EXPECT_EQ(refusal(c.call).status, 16) << c.what;
  const zelimp::Limits at = {.max_bytes = grey.size(), .max_pixels = 24, .max_tags = 16};
  EXPECT_NO_THROW(zelimp::read_scan(as_input(grey), at));
  for (const zelimp::Limits& below : {zelimp::Limits{.max_bytes = grey.size() - 1}, zelimp::Limits{.max_pixels = 23},
                                      zelimp::Limits{.max_tags = 15}}) {
    EXPECT_EQ(refusal([&] { zelimp::read_scan(as_input(grey), below); }).status, 17);
  }
}

// All calls on bytes that end where reading is a fault; the input must come out unchanged. Returns how many succeeded.
int try_everything(const Bytes& file) {
  const GuardedBuffer guarded(file.size(), Guard::behind);
  std::copy(file.begin(), file.end(), guarded.data());
  const auto input = std::as_bytes(std::span<const std::uint8_t>(guarded.data(), file.size()));
  const std::vector<std::uint16_t> white(48, 200), black(16, 10);
  int succeeded = 0;
  const auto attempt = [&](const std::function<std::size_t()>& call) {
    try {
      succeeded += call() != 0;
    } catch (const zelimp::Error&) {
    }
  };
  attempt([&] { return zelimp::inspect(input).tags.size(); });
  attempt([&] { return zelimp::descramble(input, {.lag = 1, .white = white, .black = black}).size(); });
  attempt([&] { return zelimp::descramble(input, {.swap_sides = false, .halve = 2}).size(); });
  attempt([&] { return zelimp::process_scan(input, {.side = Side::rear, .rotation = Rotation::clockwise}).size(); });
  attempt([&] { return zelimp::process_scan(input, {.format = Format::tiff, .side = Side::flip_front}).size(); });
  attempt([&] { return zelimp::process_scan(input, {.format = Format::bitmap}).size(); });
  EXPECT_TRUE(std::equal(file.begin(), file.end(), guarded.data()));
  return succeeded;
}

TEST(Checked, reads_nothing_outside_truncated_files) {
  for (const bool directory_last : {false, true}) {
    TiffFile whole = scan(10, 6, 1);
    whole.directory_last = directory_last;
    const Bytes file = whole.bytes();
    EXPECT_EQ(try_everything(file), 6);
    for (std::size_t n = 0; n < file.size(); ++n) {
      // With the pixels at the end, tags and facts can be told of a file that lacks some of them.
      const bool tags_are_there = !directory_last && n >= file.size() - whole.pixels.size();
      // Without its last four bytes, the offset of a next directory, a file is complete.
      const int most = tags_are_there ? 1 : directory_last && n >= file.size() - 4 ? 6 : 0;
      ASSERT_EQ(try_everything(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(n))), most) << n;
    }
  }
}

TEST(Checked, survives_random_changes) {
  constexpr std::uint8_t kNasty[] = {0, 1, 2, 3, 4, 5, 7, 8, 24, 127, 128, 254, 255};
  Random random(20);
  int succeeded = 0, tried = 0;
  for (const std::uint32_t samples : {1u, 3u}) {
    TiffFile whole = scan(9, 5, samples);
    const Bytes good = whole.bytes();
    const std::size_t header = good.size() - whole.pixels.size();
    for (int i = 0; i < 6000; ++i, tried += 6) {
      Bytes bad = good;
      for (int k = 0; k <= i % 3; ++k) {
        const std::size_t at = random.below(static_cast<std::uint32_t>(header));
        const std::size_t n = std::min<std::size_t>(header - at, 1 + random.below(4));
        for (std::size_t b = 0; b < n; ++b) bad[at + b] = kNasty[random.below(std::size(kNasty))];
      }
      succeeded += try_everything(bad);
      ASSERT_FALSE(HasFailure()) << "change " << i;
    }
  }
  EXPECT_GT(succeeded, tried / 20);
  EXPECT_LT(succeeded, tried * 19 / 20);
}

}  // namespace
