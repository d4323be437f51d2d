// Resampling: the engine with all filters, the calls with theirs, and the conversions.
#include <ZelIMP.hpp>
#include <limits>

#include "support.hpp"
using namespace zel::test;

namespace {

using Call = decltype(&ZelIMPResample8BitBitmap);
constexpr Call kCalls[] = {ZelIMPResample8BitBitmap, ZelIMPResample24BitBitmap, ZelIMPResample32BitBitmap};
constexpr unsigned kSamples[] = {1, 3, 4}, kFilters[] = {12, 1, 1};  // of the calls
constexpr unsigned kMost = 4096;

// Lines of so many samples, `step` apart, as defined: every position by itself, from all source samples near it.
Bytes lines(const Bytes& src, unsigned from, unsigned to, unsigned step, unsigned filter) {
  const auto kernel = static_cast<zelimp::Filter>(filter % 13);
  const double scale = double(to) / from, radius = zelimp::facts(kernel).radius;
  const double width = scale > 1 ? radius : radius / scale, factor = std::min(scale, 1.0);
  Bytes dst(src.size() / from * to);
  for (unsigned i = 0; i < dst.size(); ++i) {
    const double centre = i / step % to / scale;
    const int left = static_cast<int>(centre + 0.5 - width), right = static_cast<int>(left + 2 * width);
    const std::uint8_t* const line = &src[i / step / to * from * step + i % step];
    double sum = 0, weights = 0;
    for (int j = std::max(left, 0); j <= std::min(right, static_cast<int>(from) - 1); ++j) {
      const double weight = zelimp::filter_weight(kernel, (centre - j) * factor);
      sum += line[unsigned(j) * step] * weight;
      weights += weight;
    }
    dst[i] = static_cast<std::uint8_t>(weights == 0 ? 0.0 : std::clamp(sum / weights, 0.0, 255.0));
  }
  return dst;
}

Bytes model(const Bytes& src, unsigned w, unsigned h, unsigned columns, unsigned rows, unsigned samples,
            unsigned filter) {
  if (w == columns && h == rows) return src;
  return lines(lines(src, w, columns, samples, filter), h, rows, samples * columns, filter);
}

// Packed pixels as words.
Bytes words(const Bytes& packed, std::size_t samples, std::uint8_t rest) {
  Bytes out(packed.size() / samples * 4, rest);
  for (std::size_t i = 0; i < packed.size(); ++i) out[i / samples * 4 + i % samples] = packed[i];
  return out;
}

TEST(Resample, engine_matches_the_definition) {
  // The last two: sides beyond the limit, and weights of 1 at both ends of a window that is rounded down.
  constexpr unsigned kSizes[10][4] = {{1, 1, 7, 2},     {2, 9, 9, 2},   {13, 6, 26, 3}, {30, 31, 10, 62},
                                      {31, 40, 29, 17}, {50, 7, 51, 7}, {23, 5, 92, 5}, {9, 8, 0, 3},
                                      {3, 1, 5000, 1},  {744, 1, 4, 1}};
  for (unsigned i = 0; i < 13 * 10 * 3; ++i) {
    const auto [w, h, columns, rows] = kSizes[i / 13 % 10];
    const unsigned samples = kSamples[i / 130], filter = i % 13;
    const unsigned made = std::clamp(columns, 1u, kMost), number = filter + 13 * (i % 2 == 0 ? 0 : 330382098);
    const std::size_t n = std::size_t{samples} * w * h;
    const Bytes packed = i % 3 == 0 ? Bytes(n, 255) : i % 3 == 1 ? noise(n, i) : runs(n, i, 9);
    const Bytes want = framed(words(model(packed, w, h, made, rows, samples, filter), samples, 0));
    Bytes src = words(packed, samples, 77), dst = untouched(want.size() - 2 * kMargin);
    EXPECT_EQ(CreateResampledBitmap(src.data(), w, h, &dst[kMargin], columns, rows, samples * 8 & 0xFF, number), 0);
    EXPECT_TRUE(dst == want) << i << ": filter " << number << ", " << w << " x " << h << ", " << samples << " samples";
  }
}

// Between pixels of 250 and 50, four steps each.
TEST(Resample, resample_box_edge) {
  const auto eight = [](unsigned filter) {
    Bytes two = words({250, 50}, 1, 0), out(32);
    EXPECT_EQ(CreateResampledBitmap(two.data(), 1, 2, out.data(), 1, 8, 8, filter), 0);
    return out;
  };
  EXPECT_EQ(eight(0), words({221, 191, 150, 108, 78, 58, 50, 50}, 1, 0));
  EXPECT_EQ(eight(1), words({250, 250, 150, 50, 50, 50, 50, 0}, 1, 0));
  EXPECT_EQ(eight(4), words({250, 205, 150, 94, 49, 24, 11, 8}, 1, 0));
}

TEST(Resample, engine_refuses) {
  Bytes src(16, 9), dst = untouched(4);
  constexpr unsigned kCases[][3] = {{0, 1, 8}, {1, 0, 8}, {1, 1, 0}, {1, 1, 16}, {1, 1, 40}, {65536, 16384, 8}};
  for (const auto& [w, h, bits] : kCases) {
    EXPECT_EQ(CreateResampledBitmap(src.data(), w, h, &dst[kMargin], 2, 2, bits & 0xFF, 1), 1) << w << ' ' << bits;
  }
  EXPECT_EQ(CreateResampledBitmap(nullptr, 1, 1, &dst[kMargin], 1, 1, 8, 1), 1);
  EXPECT_EQ(CreateResampledBitmap(src.data(), 1, 1, nullptr, 1, 1, 8, 1), 1);
  if constexpr (sizeof(void*) == 4) {  // a row with more weights than there is memory
    Bytes row(std::size_t{1} << 26);
    EXPECT_EQ(CreateResampledBitmap(row.data(), 1u << 24, 1, &dst[kMargin], 64, 1, 32, 8), 1);
  }
  EXPECT_EQ(dst, untouched(4));
}

TEST(Resample, resample_white_page) {
  unsigned w = 0, h = 0, counts[256] = {};
  Bytes page(425 * 550, 255), target(283 * 366);
  EXPECT_EQ(ZelIMPResample8BitBitmap(page.data(), 425, 550, target.data(), &w, &h, 300.0, 200.0), 0);
  for (const std::uint8_t pixel : target) ++counts[pixel];
  EXPECT_EQ((std::array{w, h, counts[255], counts[254], counts[253]}), (std::array{283u, 366u, 59983u, 39451u, 4144u}));
}

TEST(Resample, resample_sizes) {
  constexpr struct {
    unsigned width, height;
    double from, to;
    unsigned columns, rows;
    int status;
  } kCases[] = {{40, 30, -300, -200, 26, 20, 0},    {1, 1, 2, -1, 0, 0, 0},          {1, 1, 1, -1, 0, 0, 1},
                {1, 2, 1, 4294967295.5, -1u, 0, 1}, {0, 5, 1, 2, 0, 10, 1},          {5, 0, 1, 2, 10, 0, 1},
                {65536, 16384, 1, 1e-4, 6, 1, 1},   {1, 9, 300, 200, 0, 6, 0},       {3000, 2, 100, 150, 4500, 3, 0},
                {16, 4, 1, 4096, 65536, 16384, 1},  {2, 3000, 100, 150, 3, 4500, 0}, {5000, 2, 100, 100, 5000, 2, 0},
                {2, 1, 1, 0x1p31, 0, 1u << 31, 1}};
  for (unsigned i = 0; i < 3 * std::size(kCases); ++i) {
    const auto& [width, height, from, to, columns, rows, status] = kCases[i / 3];
    const unsigned samples = kSamples[i % 3];
    const unsigned c = std::max(columns, 1u), r = std::max(rows, 1u);
    Bytes src = noise(status == 0 ? samples * width * height : 4, i), want(4, 0xA5);
    if (status == 0 && (i % 3 == 2 || (columns != 0 && rows != 0))) {
      want = model(src, width, height, std::min(c, kMost), std::min(r, kMost), samples, kFilters[i % 3]);
      want.resize(samples * c * r, i % 3 == 2 ? 0xA5 : 0);
    }
    unsigned w = 7, h = 7;
    Bytes dst = untouched(want.size());
    CounterStart.tv_sec = -1;
    EXPECT_EQ(kCalls[i % 3](src.data(), width, height, &dst[kMargin], &w, &h, from, to), status) << i;
    EXPECT_EQ(std::pair(w, h), std::pair(columns, rows)) << i;
    EXPECT_TRUE(dst == framed(want)) << i;
    EXPECT_TRUE(status != 0 || (CounterStart.tv_sec == -1) == (i % 3 != 0));
    EXPECT_EQ(kCalls[i % 3](nullptr, 5, 5, &dst[kMargin], &w, &h, 1, 1), 1);
    EXPECT_EQ(kCalls[i % 3](src.data(), 1, 1, nullptr, &w, &h, 1, 1), 1);
    if (i > 2) continue;  // in place
    EXPECT_EQ(kCalls[i % 3](src.data(), width, height, src.data(), &w, &h, from, to), 0);
    EXPECT_TRUE(std::equal(want.begin(), want.end(), src.begin()));
  }
  EXPECT_EQ(ZelIMPGetOutputBufferSize(1000, 500, 24, 300.0, 200.0), 665334u);
  EXPECT_EQ(ZelIMPGetOutputBufferSize(3, 3, 1, 1.0, 1.0), 1u);
  EXPECT_EQ(ZelIMPGetOutputBufferSize(30000, 30000, 32, 2.0, 2.0), 378774528u);  // the bits wrap
  EXPECT_EQ(ZelIMPGetOutputBufferSize(3, 0xFFFFFFFF, 8, 1.0, 2.0), 0u);
}

TEST(Resample, conversions) {
  // Bytes of the source and of the target, and what the target is then: "." not written, empty when refused.
  constexpr struct {
    decltype(&convert8to32) convert;
    unsigned source, target;
    const char* wanted;
  } kCases[] = {
      {convert8to32, 2, 9, "1...2...."},  {convert8to32, 2, 7, ""},           {convert8to32, 0x40000000, 9, ""},
      {convert24to32, 6, 8, "12304560."}, {convert24to32, 3, 9, "1230....."}, {convert24to32, 4, 5, "12304...."},
      {convert24to32, 6, 7, ""},          {convert32to24, 7, 9, "123567..."}, {convert32to24, 1, 0, "........."},
      {convert32to24, 8, 5, ""},          {convert32to8, 8, 9, "15......."},  {convert32to8, 8, 1, ""}};
  for (const auto& [convert, source, target, wanted] : kCases) {
    Bytes digits = ascii("12345678"), dst = ascii(".........");
    EXPECT_EQ(convert(digits.data(), source, dst.data(), target), *wanted == 0 ? 4 : 0);
    EXPECT_EQ(convert(nullptr, 8, dst.data(), 0) + convert(digits.data(), 8, nullptr, 0), 2);
    std::ranges::replace(dst, 0, '0');
    EXPECT_TRUE(*wanted == 0 || dst == ascii(wanted)) << wanted;
  }
  Bytes src{1, 2, 3, 4};
  EXPECT_EQ(reverseByteOrder(src.data(), 3), 0);
  EXPECT_EQ(src, (Bytes{3, 2, 1, 4}));
  EXPECT_EQ(reverseByteOrder(nullptr, 0), 1);
}
}  // namespace
