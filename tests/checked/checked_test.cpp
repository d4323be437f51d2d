// The checked interface: the same bytes as the flat one, a clear refusal of everything else, and no byte read outside
// the input, whatever it says.

#include <ZelIMP.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <fstream>

#include "checked/support.hpp"
#include "support/guarded_buffer.hpp"
#include "support/leaning_page.hpp"
#include "support/random.hpp"
#include "support/temporary_names.hpp"

namespace {

using namespace zel::test;
using zelimp::Format;
using zelimp::Rotation;
using zelimp::Side;
using zelimp::Status;

bool same(const std::vector<std::byte>& file, const Bytes& wanted) {
  return std::ranges::equal(file, as_input(wanted));
}

TiffFile scan(std::uint32_t width, std::uint32_t height, std::uint32_t samples) {
  Bytes pixels(std::size_t{width} * height * samples);
  Random(width + 7 * height).fill(pixels);
  return device_tiff(width, height, samples, pixels);
}

TEST(Checked, process_gives_the_bytes_of_the_flat_call) {
  // Format, its number in the flat call, samples of a pixel.
  constexpr std::tuple<Format, int, unsigned> kFormats[] = {{Format::group4, 0, 1},
                                                            {Format::one_bit, 9, 1},
                                                            {Format::bitmap, 10, 1},
                                                            {Format::tiff, 1, 1},
                                                            {Format::tiff, 2, 3}};
  for (const auto& [format, number, samples] : kFormats) {
    const Bytes input = scan(61, 30, samples).bytes();
    for (int i = 0; i < 4 * 3 * 2; ++i) {
      const int side = i % 4, rotation = i / 4 % 3;
      const std::optional<int> threshold = i < 12 ? std::nullopt : std::optional(i == 23 ? 256 : i * 10);
      Bytes flat_input = input, flat(3 * input.size() + 2000);  // turning one face changes the input
      unsigned int size = 0;
      double skew = 1.0;
      ZelIMPImageProc(flat_input.data(), flat.data(), &size, number, std::array{0, 2, 1, 7}[side], 0,
                      std::array{0, 2, 1}[rotation], threshold.has_value(), threshold.value_or(0), 0, &skew);
      flat.resize(size);
      zelimp::ProcessReport report;
      const zelimp::ProcessOptions options = {format, Side{side}, Rotation{rotation}, threshold};
      EXPECT_TRUE(same(zelimp::process_scan(as_input(input), options, &report), flat))
          << "format " << number << " case " << i;
      const std::uint32_t columns = side == 1 || side == 2 ? 30 : 61;
      EXPECT_EQ(std::pair(report.width, report.height),
                rotation == 0 ? std::pair(columns, 30u) : std::pair(30u, columns));
      EXPECT_EQ(report.black_share.has_value(), format == Format::group4 || format == Format::one_bit);
    }
  }
  TiffFile half_black = device_tiff(8, 4, 1, Bytes(32, 255));
  std::fill_n(half_black.pixels.begin(), 16, std::uint8_t{0});
  zelimp::ProcessReport report;
  zelimp::process_scan(as_input(half_black.bytes()), {.threshold = 128}, &report);
  EXPECT_EQ(report.black_share, 0.5);
}

// Every option that the flat call has no number of its own for stands in the crop parameters.
TEST(Checked, whole_road_gives_the_bytes_of_the_flat_call_and_tells_what_it_did) {
  const TemporaryNames names;
  if (names.taken() != nullptr) GTEST_SKIP() << names.taken();
  constexpr Format kForms[] = {Format::tiff, Format::jpeg_tiff, Format::jfif};
  constexpr Rotation kRotations[] = {Rotation::none, Rotation::counter_clockwise, Rotation::clockwise};
  for (int i = 0; i < 2 * 3 * 3 * 3 * 3; ++i) {
    const bool grey = i % 2 == 0;
    const int form = i / 2 % 3, deskew = i / 6 % 3, crop = grey ? 0 : i / 18 % 3, rotation = i / 54 % 3;
    const int number = (grey ? std::array{11, 3, 7} : std::array{2, 4, 8})[static_cast<std::size_t>(form)];
    const Bytes input = device_tiff(122, 64, grey ? 1 : 3, leaning_page(122, 64, grey ? 1 : 3)).bytes();
    Bytes flat_input = input, flat(4 * input.size() + 20000);
    unsigned int size = 0;
    double told = 7.5;
    ZelIMPSetCropParams(2, 3, 0, 8, 30, 0, 0);
    ZelIMPImageProc(flat_input.data(), flat.data(), &size, number, 1, crop, rotation, 0, 40, deskew, &told);
    flat.resize(size);

    std::vector<std::pair<zelimp::Step, std::uint32_t>> steps;
    zelimp::ProcessOptions options = {kForms[form], Side::rear, kRotations[rotation]};
    options.deskew = zelimp::Deskew{deskew};
    options.crop = {zelimp::CropMode{crop}, 2, 3, 700, 8, 30};
    options.quality = 40;
    options.observer = [&](zelimp::Step step, const zelimp::StepImage& image) {
      EXPECT_EQ(image.pixels.size(), std::size_t{image.width} * image.height * image.planes);
      steps.emplace_back(step, image.width);
    };
    zelimp::ProcessReport report;
    const auto call = [&] { return zelimp::process_scan(as_input(input), options, &report); };
    if (!grey && deskew != 0 && (crop != 1 || (deskew == 2 && rotation == 0))) {
      EXPECT_EQ(refusal(call).status(), Status::bad_argument) << i;
      continue;
    }
    EXPECT_TRUE(same(call(), flat)) << i;
    const bool found = grey ? deskew != 0 : crop == 1, corrected = deskew == 2;
    EXPECT_EQ(report.skew_found.has_value(), found) << i;
    EXPECT_EQ(report.skew_corrected, corrected ? report.skew_found : std::nullopt) << i;
    EXPECT_TRUE(grey || deskew == 0 || rotation == 0 || report.skew_found == told) << i;
    const zelimp::Box cut = report.cut.value_or(zelimp::Box{});
    EXPECT_TRUE(report.border.has_value() == (grey && found) && (crop != 0 || cut.left == cut.width)) << i;
    if (report.border) {
      // The right border of the rear face; the left one has been found first, on the front face.
      EXPECT_EQ(std::tuple(report.border->face, report.border->threshold, report.border->first_row),
                std::tuple(Side::front, 128, 16u));
      EXPECT_TRUE(report.border->columns.size() == 32 && report.border->columns[0] == 7 + 6 * 47 / 64);
    }
    EXPECT_EQ(std::pair(cut.width, cut.height),
              rotation == 0 ? std::pair(report.width, report.height) : std::pair(report.height, report.width));
    std::vector<std::pair<zelimp::Step, std::uint32_t>> wanted = {{zelimp::Step::cut, cut.width}};
    if (corrected)
      wanted.insert(grey ? wanted.begin() : wanted.end(), {zelimp::Step::deskewed, grey ? 2 * cut.width : cut.width});
    if (rotation != 0) wanted.emplace_back(zelimp::Step::turned, cut.height);
    EXPECT_EQ(steps, wanted) << i;
  }
}

TEST(Checked, other_files_are_those_of_the_flat_calls) {
  const TemporaryNames names;
  if (names.taken() != nullptr) GTEST_SKIP() << names.taken();
  for (const std::uint32_t samples : {1u, 3u}) {
    const TiffFile content = scan(13, 7, samples);
    Bytes input = content.bytes(), flat(8000), wrapped(8000);
    ASSERT_EQ(ZelIMPSaveMICR(input.data(), 0, flat.data(), 0, const_cast<char*>("hello")), 0u);
    const auto described = zelimp::save_with_description(as_input(input), "hello");
    flat.resize(described.size());
    EXPECT_TRUE(same(described, flat));
    EXPECT_EQ(zelimp::read_scan(described).description, "hello");

    ASSERT_EQ(ZelIMPProcessRaw_TIFF(Bytes(content.pixels).data(), 13, 7, 8 * samples, 199.5, const_cast<char*>("m"),
                                    nullptr, const_cast<char*>("s"), wrapped.data()),
              0u);
    const zelimp::RawPixels raw = {as_input(content.pixels), 13, 7, samples, 199.5, "m", {}, "s"};
    const auto file = zelimp::wrap_raw_pixels(raw);
    wrapped.resize(file.size());
    EXPECT_TRUE(same(file, wrapped));
  }
  const Bytes input = scan(13, 7, 1).bytes();
  const std::string path = testing::TempDir() + "zelimp_checked_" + std::to_string(getpid()) + ".tif";
  std::ofstream(path).write(reinterpret_cast<const char*>(input.data()), std::ssize(input));
  unsigned int size = 0;
  const unsigned char* const bitmap = ZelIMPLoadTIFF(path.c_str(), &size);
  std::remove(path.c_str());
  ASSERT_NE(bitmap, nullptr);
  EXPECT_TRUE(same(zelimp::load_bitmap(as_input(input)), Bytes(bitmap, bitmap + size)));
}

TEST(Checked, descramble_gives_the_bytes_of_the_image_object) {
  constexpr std::size_t kEntries = 64;  // of a table; enough for indices that run on
  std::vector<std::uint16_t> white(3 * kEntries), black(kEntries);
  for (std::size_t i = 0; i < white.size(); ++i) white[i] = static_cast<std::uint16_t>(180 + i % 50);
  for (std::size_t i = 0; i < black.size(); ++i) black[i] = static_cast<std::uint16_t>(i % 20);
  for (unsigned int i = 0; i < 2 * 2 * 4 * 2 * 3; ++i) {
    const std::uint32_t samples = i % 2 == 0 ? 1 : 3, width = 12 + i / 2 % 2;
    const bool swap = i / 4 % 2 != 0, tarsis = i / 8 % 2 != 0, tables = i / 16 % 2 != 0;
    const int halve = samples == 1 ? static_cast<int>(i / 32) : 0;
    Bytes input = scan(width, 9, samples).bytes();
    SWAP_SIDES = swap;
    Tarsis_7200 = tarsis;
    TiffImage image;
    ASSERT_EQ(image.load(input.data()), 0);
    Bytes pixels(image.GetImageSize());
    std::uint16_t* const b = tables ? black.data() : nullptr;
    std::uint16_t* const w = white.data();
    if (samples == 1) image.DescrambleCalMono(pixels.data(), 2, 0, 0, 0, 0, w, b, halve);
    if (samples == 3) image.DescrambleCalColor(pixels.data(), 2, 0, 0, 0, 0, w, w + kEntries, w + 2 * kEntries, b);
    image.SetImage(pixels.data());
    Bytes flat(image.GetTiffSize());
    image.save(flat.data());
    image.clear();

    zelimp::DescrambleOptions options = {.lag = 2, .swap_sides = swap, .tarsis_7200 = tarsis, .halve = halve};
    if (tables) options.white = std::span(white).first(kEntries * samples);
    if (tables) options.black = black;
    EXPECT_TRUE(same(zelimp::descramble(as_input(input), options), flat)) << "case " << i;
  }
  SWAP_SIDES = Tarsis_7200 = 1;
}

TEST(Checked, resample_gives_the_bytes_of_the_flat_call) {
  constexpr decltype(&ZelIMPResample8BitBitmap) kCalls[] = {ZelIMPResample8BitBitmap, nullptr,
                                                            ZelIMPResample24BitBitmap, ZelIMPResample32BitBitmap};
  for (const unsigned samples : {1u, 3u, 4u}) {
    Bytes src(31 * 22 * samples), want(46 * 33 * samples);
    Random(samples).fill(src);
    unsigned width = 0, height = 0;
    kCalls[samples - 1](src.data(), 31, 22, want.data(), &width, &height, 200, 300);
    EXPECT_TRUE(same(zelimp::resample({31, 22, as_input(src)}, 8 * samples, 200, 300).pixels, want)) << samples;
  }
  // Another filter, and more than the longest side of the flat calls.
  const zelimp::Pixels dots = zelimp::resample({2, 1, as_input(Bytes{250, 50})}, 8, 1, 3000, zelimp::Filter::box);
  EXPECT_EQ(std::pair(dots.width, dots.height), std::pair(6000u, 3000u));
  EXPECT_EQ(std::to_integer<int>(dots.pixels[4500]) + std::to_integer<int>(dots.pixels[4501]), 50);
}

TEST(Checked, filters_have_their_weights) {
  // Radius, and weights at 0.3, 1.3 and 2.3, the same in every bit everywhere.
  constexpr double kFilters[][4] = {{1.5, 0.66, 0.01999999999999999, 0},
                                    {0.5, 1, 0, 0},
                                    {2, 0.8155, -0.07350000000000012, 0},
                                    {1, 0.7938926261462366, 0, 0},
                                    {3, 0.8260000000000001, -0.10325000000000095, 0.012249999999999872},
                                    {2, 0.5901666666666666, 0.05716666666666665, 0},
                                    {1, 0.784, 0, 0},
                                    {3, 0.8443431970194815, -0.1423301291068262, 0.031105298763475026},
                                    {8, 0.8564094423750639, -0.18959790072425683, 0.09735027323284716},
                                    {2, 0.7403888888888889, -0.029944444444444624, 0},
                                    {1.5, 0.8200000000000001, -0.05999999999999983, 0},
                                    {1.5, 0.66, 0.020000000000000018, 0},
                                    {1, 0.7, 0, 0}};
  for (unsigned i = 0; i < std::size(kFilters); ++i) {
    const auto filter = static_cast<zelimp::Filter>(i);
    const double* const want = kFilters[i];
    EXPECT_EQ(zelimp::facts(filter).radius, want[0]);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(zelimp::filter_weight(filter, -0.3 - k), want[k + 1]) << i;
    EXPECT_EQ(zelimp::filter_weight(filter, want[0]), i == 1) << i;
  }
}

// A value that takes part in the header's size only until the file is written, and one of no bytes with an offset of
// nowhere.
TEST(Checked, odd_values_keep_the_result_whole) {
  const Bytes file = scan(6, 4, 1).set(278, 4, longs({4, 4})).add(400, 5, longs({0xFFFFFFF0}), 0).bytes();
  const auto result = zelimp::descramble(as_input(file));
  EXPECT_EQ(zelimp::read_scan(result).pixels.size(), 24u);
  EXPECT_EQ(&zelimp::read_scan(result).pixels.back(), &result.back());
}

TEST(Checked, inspect_tells_facts_of_any_tiff) {
  const Bytes file = scan(6, 4, 3).bytes();
  const zelimp::Scan facts = zelimp::inspect(as_input(file));
  EXPECT_EQ(std::tuple(facts.width, facts.height, facts.bit_depth, facts.compression, facts.photometric,
                       facts.x_resolution, facts.y_resolution, facts.from_device, facts.obstacle.has_value()),
            std::tuple(6u, 4u, 24u, 1, 2, 200.0, 200.0, true, false));
  EXPECT_EQ(facts.make + "|" + facts.model + "|" + facts.description + "|" + facts.software,
            "Varnoke Industries, Inc|T 7200|front and rear|firmware 1.2");
  EXPECT_TRUE(facts.pixels.size() == 72 && &facts.pixels.back() == &as_input(file).back());
  EXPECT_TRUE(facts.tags.size() == 16 && facts.tags[2].id == 258 && facts.tags[2].value.size() == 6);

  const Bytes foreign = scan(6, 4, 1).set(kMake, 2, text("Somebody")).bytes();
  const zelimp::Scan other = zelimp::inspect(as_input(foreign));
  EXPECT_TRUE(!other.from_device && other.obstacle && other.pixels.empty() && other.make == "Somebody");
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
      {"big-endian", {'M', 'M', 0, 42, 0, 0, 0, 8}, 1, {}},
      {"version", {'I', 'I', 43, 0, 8, 0, 0, 0}, 1, {}},
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
       small().set(270, 2, longs({0}), 200).set(272, 2, longs({0}), 200).set(305, 2, longs({0}), 200).bytes(), 1, 272},
      {"too many pixels", small().set(257, 4, longs({0x80000000})).bytes(), 17, {}},
  };
  for (const auto& c : kCases) {
    const zelimp::Error read = refusal([&] { zelimp::read_scan(as_input(c.file)); });
    EXPECT_EQ(static_cast<int>(read.status()), c.status) << c.what << ": " << read.what();
    EXPECT_EQ(read.tag(), c.tag) << c.what << ": " << read.what();
    EXPECT_STREQ(refusal([&] { zelimp::descramble(as_input(c.file)); }).what(), read.what()) << c.what;
    EXPECT_STREQ(refusal([&] { zelimp::process_scan(as_input(c.file)); }).what(), read.what()) << c.what;
  }
}

TEST(Checked, refuses_options_out_of_range) {
  const Bytes grey = scan(6, 4, 1).bytes(), colour = scan(6, 4, 3).bytes(), narrow = scan(1, 4, 1).bytes();
  const Bytes wide = device_tiff(65501, 1, 1, Bytes(65501)).bytes(), raw(12);
  const std::vector<std::uint16_t> six(6), twelve(12), nineteen(19);
  const zelimp::CropOptions automatic = {.mode = zelimp::CropMode::automatic};
  const zelimp::PixelView dots = {3, 2, as_input(raw).first(6)};
  const zelimp::Limits all = {~std::uint64_t{0}, ~std::uint64_t{0}};
  const auto descramble = [](const Bytes& file, const zelimp::DescrambleOptions& options) {
    return [=, &file] { zelimp::descramble(as_input(file), options); };
  };
  const auto process = [](const Bytes& file, const zelimp::ProcessOptions& options) {
    return [=, &file] { zelimp::process_scan(as_input(file), options); };
  };
  const auto resample = [](const zelimp::PixelView& source, unsigned bits, double from, double to,
                           const zelimp::Limits& limits = {}) {
    return [=] { zelimp::resample(source, bits, from, to, {}, limits); };
  };
  const auto wrap = [&](std::size_t bytes, std::uint32_t width, std::uint32_t planes, double dpi) {
    return [=, &raw] { zelimp::wrap_raw_pixels({as_input(raw).first(bytes), width, 3, planes, dpi}); };
  };
  const struct {
    const char* what;
    std::function<void()> call;
    Status status = Status::bad_argument;
  } kCases[] = {
      {"lag takes all rows", descramble(grey, {.lag = 4})},
      {"lag of 4 billion", descramble(grey, {.lag = 0xFFFFFFFF})},
      {"lag takes all half rows", descramble(grey, {.lag = 2, .halve = 1})},
      {"halved colour", descramble(colour, {.halve = 1})},
      {"black missing", descramble(grey, {.white = six})},
      {"white missing", descramble(grey, {.black = six})},
      {"short table", descramble(grey, {.white = std::span(six).first(5), .black = six})},
      {"one plane for three", descramble(colour, {.white = six, .black = six})},
      {"no whole planes", descramble(colour, {.white = nineteen, .black = six})},
      {"running index",
       descramble(colour, {.swap_sides = false, .white = std::span(nineteen).first(18), .black = twelve})},
      {"colour as Group 4", process(colour, {}), Status::no_such_format},
      {"colour as bitmap", process(colour, {.format = Format::bitmap}), Status::no_such_format},
      {"half of one column", process(narrow, {.side = Side::front})},
      {"threshold", process(grey, {.threshold = 257})},
      {"rotation", process(grey, {.rotation = static_cast<Rotation>(3)})},
      {"format", process(grey, {.format = static_cast<Format>(99)})},
      {"side", process(grey, {.side = static_cast<Side>(-1)})},
      {"deskew", process(grey, {.deskew = static_cast<zelimp::Deskew>(3)})},
      {"crop", process(grey, {.crop = {static_cast<zelimp::CropMode>(3)}})},
      {"quality 101", process(grey, {.quality = 101})},
      {"quality 0", process(grey, {.quality = 0})},
      {"length 0", process(grey, {.crop = {.max_length = 0}})},
      {"cropped grey", process(grey, {.side = Side::rear, .crop = automatic})},
      {"both cropped", process(colour, {.format = Format::tiff, .crop = automatic})},
      {"negative margin", process(colour, {.format = Format::tiff, .crop = {.left_margin = -1}})},
      {"no columns left",
       process(colour, {.format = Format::tiff, .side = Side::front, .crop = {zelimp::CropMode::fixed, 3, 3}})},
      {"wide JPEG", process(wide, {.format = Format::jfif}), Status::over_limit},
      {"filter", [&] { zelimp::resample(dots, 8, 1, 2, static_cast<zelimp::Filter>(13)); }},
      {"filter of facts", [] { zelimp::facts(static_cast<zelimp::Filter>(-1)); }},
      {"filter of a weight", [] { zelimp::filter_weight(static_cast<zelimp::Filter>(13), 0); }},
      {"bits", resample({3, 2, as_input(raw)}, 16, 1, 2)},
      {"no columns", resample({0, 2, {}}, 8, 1, 2)},
      {"pixels missing", resample({7, 1, dots.pixels}, 8, 1, 2)},
      {"pixels left", resample({5, 1, dots.pixels}, 8, 1, 2)},
      {"bytes left", resample({1, 1, dots.pixels}, 32, 1, 2)},
      {"pixels of 32 bits", resample({0x80000000, 2, {}}, 8, 1, 2), Status::over_limit},
      {"source resolution", resample(dots, 8, 0, 2)},
      {"target resolution", resample(dots, 8, 2, -1)},
      {"no number", resample(dots, 8, 2, std::nan(""))},
      {"endless resolution", resample(dots, 8, 1, HUGE_VAL)},
      {"no rows left", resample(dots, 8, 3, 1)},
      {"sides of 32 bits", resample({6, 1, dots.pixels}, 8, 1, 0x1p30, all), Status::over_limit},
      {"endless sides", resample(dots, 8, 1e-300, 1e300, all), Status::over_limit},
      {"large source", resample(dots, 8, 1, 1, {.max_pixels = 5}), Status::over_limit},
      {"long source", resample(dots, 8, 1, 1, {.max_bytes = 5}), Status::over_limit},
      {"large result", resample(dots, 8, 1, 2, {.max_pixels = 23}), Status::over_limit},
      {"colour bitmap", [&] { zelimp::load_bitmap(as_input(colour)); }, Status::unsupported},
      {"NUL", [&] { zelimp::save_with_description(as_input(grey), std::string_view("a\0b", 3)); }},
      {"too few pixels", wrap(5, 2, 1, 200)},
      {"two planes", wrap(12, 2, 2, 200)},
      {"no pixels", wrap(0, 0, 1, 200)},
      {"resolution", wrap(6, 2, 1, std::nan(""))},
      {"many pixels", [&] { zelimp::wrap_raw_pixels({as_input(raw), 4, 3}, {.max_pixels = 11}); }, Status::over_limit},
      {"long file", [&] { zelimp::read_scan(as_input(grey), {.max_bytes = grey.size() - 1}); }, Status::over_limit},
      {"large scan", [&] { zelimp::read_scan(as_input(grey), {.max_pixels = 23}); }, Status::over_limit},
      {"many tags", [&] { zelimp::read_scan(as_input(grey), {.max_tags = 15}); }, Status::over_limit},
  };
  for (const auto& c : kCases) EXPECT_EQ(refusal(c.call).status(), c.status) << c.what;
  EXPECT_NO_THROW(zelimp::process_scan(as_input(narrow)));
  EXPECT_NO_THROW(zelimp::read_scan(as_input(grey), {grey.size(), 24, 16}));
}

// All calls on bytes that end where reading is a fault; the input must come out unchanged. Returns how many succeeded.
int try_everything(const Bytes& file) {
  const GuardedBuffer guarded(file.size(), Guard::behind);
  std::copy(file.begin(), file.end(), guarded.data());
  const auto input = as_input(guarded.bytes());
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
  attempt([&] { return zelimp::process_scan(input, {.format = Format::jfif, .deskew = zelimp::Deskew::on}).size(); });
  attempt([&] { return zelimp::save_with_description(input, "d").size(); });
  attempt([&] { return zelimp::load_bitmap(input).size(); });
  EXPECT_TRUE(std::equal(file.begin(), file.end(), guarded.data()));
  return succeeded;
}

TEST(Checked, reads_nothing_outside_truncated_files) {
  for (const bool directory_last : {false, true}) {
    TiffFile whole = scan(10, 6, 1);
    whole.directory_last = directory_last;
    const Bytes file = whole.bytes();
    EXPECT_EQ(try_everything(file), 9);
    for (std::size_t n = 0; n < file.size(); ++n) {
      // With the pixels at the end, tags and facts can be told of a file that lacks some of them.
      const bool tags_are_there = !directory_last && n >= file.size() - whole.pixels.size();
      // Without its last four bytes, the offset of a next directory, a file is complete.
      const int most = tags_are_there ? 1 : directory_last && n >= file.size() - 4 ? 9 : 0;
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
    for (int i = 0; i < 6000; ++i, tried += 9) {
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
