// Thresholds, noise filter and colour to grey.
#include <climits>

#include "support.hpp"
using namespace zel::test;

// The adaptive threshold through its exported steps, and as a whole: same pixels, margins and row buffers.
static void check(int width, int height, int window, int percent, Bytes src) {
  const int half = window / 2;
  std::vector<int> even(static_cast<std::size_t>(std::max(width, ZELIMP_ROW_SUMS)), -7), odd = even;
  Bytes want = untouched(src.size()), got = want;
  for (int r = 0, k = -1; r < height; ++r) {  // k: the pixel before that of the sum
    int* const now = (r % 2 == 0 ? even : odd).data();
    int* const above = (r % 2 == 0 ? odd : even).data();
    for (int c = 0; c < width; ++c, ++k) {
      now[c] = r == 0   ? getSquareValue(src.data(), width, height, 0, c, half, c == 0 ? -1 : now[c - 1])
                 : c == 0 ? getSquareValueNewLine(src.data(), width, height, r, half, above[0])
                        : getSquareValueFast(src.data(), width, height, r, c, half, above, now);
      const auto limit = static_cast<std::int32_t>(std::int64_t{now[c] / (window * window)} * percent);
      const auto pixel = static_cast<std::size_t>(std::max(k, 0));
      want[kMargin + pixel] = src[pixel] * 100 >= limit ? 255 : 0;
    }
  }
  if (width > ZELIMP_ROW_SUMS || width <= half) odd = even = std::vector<int>(ZELIMP_ROW_SUMS, -7);
  std::fill_n(m_prevSquareValue, ZELIMP_ROW_SUMS, -7);
  std::fill_n(m_squareValue, ZELIMP_ROW_SUMS, -7);
  convertToMono2(src.data(), &got[kMargin], width, height, window, percent);
  EXPECT_EQ(got, want) << width << " x " << height << ", window " << window << ", percent " << percent;
  EXPECT_TRUE(std::ranges::equal(even, m_prevSquareValue) && std::ranges::equal(odd, m_squareValue));
}

TEST(Mono, adaptive_threshold_is_its_steps) {
  unsigned seed = 0;
  for (const int window : {1, 2, 3, 7, 24, 25, 51, 129, 46340}) {
    const int half = std::clamp(window / 2, 1, 60);
    for (int i = 0; i < 6 * 5 * 8; ++i, ++seed) {
      const int width = std::array{1, half, half + 1, half + 2, window % 100 + 3, 61}[i % 6];
      const int height = std::array{1, 2, half + 1, half + 2, 33}[i / 6 % 5];
      const auto n = static_cast<std::size_t>(width * height);
      const Bytes sources[] = {Bytes(n, 255), Bytes(n, 100), noise(n, seed), runs(n, seed, 9)};
      const int percent = std::array{80, 137, 80, 1, 100, 0, -5, INT_MAX}[Random(seed).below(8)];
      check(width, height, window, percent, sources[i / 30 % 4]);
    }
  }
  for (const int width : {5119, 5120, 5121, 7001}) check(width, 4, 25, 80, runs(28004, 5, 40));
  check(4200, 2060, 4110, 1000, Bytes(4200 * 2060, 255));  // sums leave 31 bits, in row 0 as well
}

TEST(Mono, mono_first_column_excess_and_mono_one_pixel_lag) {
  Bytes src = {10, 20, 30, 1, 2, 3}, lag = {0, 9, 5, 5, 7, 1}, dst(7, 77);
  EXPECT_EQ(getSquareValue(src.data(), 3, 2, 1, 0, 1), 33);
  convertToMono2(src.data(), dst.data(), 3, 2, 1, 80);  // sums of one pixel, and from column 1 on of the first as well
  EXPECT_TRUE(std::equal(m_prevSquareValue, m_prevSquareValue + 3, std::array{10, 30, 40}.begin()));
  EXPECT_TRUE(std::equal(m_squareValue, m_squareValue + 3, std::array{1, 12, 13}.begin()));
  convertToMono2(lag.data(), dst.data(), 3, 2, 1, 100);  // a pixel is white when it reaches the next one
  EXPECT_EQ(dst, (Bytes{0, 255, 255, 0, 255, 77, 77}));
  for (const auto& [width, window] : {std::pair{4, 0}, {4, -3}, {4, 46341}, {0, 25}, {-4, 25}}) {
    convertToMono2(lag.data(), src.data(), width, 1, window, 80);
    EXPECT_EQ(src[0], 10) << width << ", " << window;
  }
}

TEST(Mono, noise_filter_and_fixed_threshold_and_colour_to_grey) {
  Bytes line(15, 255);
  std::fill_n(&line[6], 3, std::uint8_t{0});
  EXPECT_TRUE(hasNeighbors(line.data(), 5, 3, 2, 1, 2) && !hasNeighbors(line.data(), 5, 3, 2, 1, 3));
  removeImageNoise(line.data(), 5, 3, 2);
  EXPECT_EQ(line, Bytes(15, 255));  // pixel by pixel, each leaving the next one alone
  Bytes rgb = {255, 255, 255, 10, 20, 30, 99, 98, 97}, grey(3), bilevel(3);
  EXPECT_EQ(ZelIMPColorToGray(rgb.data(), 1, 3, grey.data()) + ZelIMPColorToGray(nullptr, 0, 9, nullptr), 0u);
  EXPECT_EQ(grey, (Bytes{76 + 150 + 28, 3 + 11 + 3, 29 + 57 + 10}));
  convertToMonoThreshold(grey.data(), bilevel.data(), 3, 1, 96);
  EXPECT_EQ(bilevel, (Bytes{255, 0, 255}));
}
