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
  EXPECT_TRUE(std::equal(even.begin(), even.end(), m_prevSquareValue));
  EXPECT_TRUE(std::equal(odd.begin(), odd.end(), m_squareValue));
}

TEST(Mono, adaptive_threshold_is_its_steps) {
  unsigned seed = 0;
  for (const int window : {1, 2, 3, 7, 24, 25, 51, 46340}) {
    const int half = std::clamp(window / 2, 1, 60);
    for (const int width : {1, half, half + 1, half + 2, window % 100 + 3, 61}) {
      for (const int height : {1, 2, half + 1, half + 2, 33}) {
        const auto n = static_cast<std::size_t>(width * height);
        for (const Bytes& src : {Bytes(n, 255), Bytes(n, 100), noise(n, seed), runs(n, seed, 9)}) {
          check(width, height, window, std::array{80, 137, 80, 1, 80, 0, -5, INT_MAX}[seed++ % 8], src);
        }
      }
    }
  }
  for (const int width : {5119, 5120, 5121, 7001}) check(width, 4, 25, 80, runs(28004, 5, 40));
}

TEST(Mono, mono_first_column_excess_and_mono_one_pixel_lag) {
  Bytes src = {10, 20, 30, 1, 2, 3}, lag = {0, 9, 5, 5, 7, 1}, flat(1600, 100), dst(1600, 77);
  EXPECT_EQ(getSquareValue(src.data(), 3, 2, 1, 0, 1), 33);
  convertToMono2(src.data(), dst.data(), 3, 2, 1, 80);  // sums of one pixel, and from column 1 on of the first as well
  EXPECT_TRUE(std::equal(m_prevSquareValue, m_prevSquareValue + 3, std::array{10, 30, 40}.begin()));
  EXPECT_TRUE(std::equal(m_squareValue, m_squareValue + 3, std::array{1, 12, 13}.begin()));
  convertToMono2(lag.data(), dst.data(), 3, 2, 1, 100);  // a pixel is white when it reaches the next one
  EXPECT_EQ(Bytes(dst.begin(), dst.begin() + 7), (Bytes{0, 255, 255, 0, 255, 77, 77}));
  convertToMono2(flat.data(), dst.data(), 40, 40, 25, 99);  // from column 13 on the mean of 100s is 102
  EXPECT_TRUE(dst[20 * 40 + 11] == 255 && dst[20 * 40 + 12] == 0);
  for (const auto& [width, window] : {std::pair{4, 0}, {4, -3}, {4, 46341}, {0, 25}, {-4, 25}}) {
    convertToMono2(flat.data(), src.data(), width, 1, window, 80);
    EXPECT_EQ(src[0], 10) << width << ", " << window;
  }
}

TEST(Mono, noise_filter) {
  Bytes corner = {0, 0, 0, 255}, pair = {0, 0, 255, 255}, line(15, 255);
  std::fill_n(&line[6], 3, std::uint8_t{0});
  removeImageNoise(corner.data(), 2, 2, 2);
  removeImageNoise(pair.data(), 2, 2, 2);
  removeImageNoise(line.data(), 5, 3, 2);
  EXPECT_EQ(corner, (Bytes{0, 0, 0, 255}));
  EXPECT_TRUE(pair == Bytes(4, 255) && line == Bytes(15, 255));  // pixel by pixel, each leaving the next one alone
  for (int i = 0; i < 900; ++i) {
    const int width = 1 + i % 30, height = 1 + i / 30 % 7, least = i % 12 - 1;
    Bytes got = runs(static_cast<std::size_t>(width * height), static_cast<unsigned>(i), 3), want = got;
    for (int k = 0; k < width * height; ++k) {
      if (!hasNeighbors(want.data(), width, height, least, k / width, k % width)) want.begin()[k] = 255;
    }
    removeImageNoise(got.data(), width, height, least);
    EXPECT_EQ(got, want) << width << " x " << height << ", " << least;
  }
}

TEST(Mono, fixed_threshold_and_colour_to_grey) {
  Bytes rgb = {255, 255, 255, 10, 20, 30, 99, 98, 97}, grey(3), bilevel(3);
  EXPECT_EQ(ZelIMPColorToGray(rgb.data(), 1, 3, grey.data()) + ZelIMPColorToGray(nullptr, 0, 9, nullptr), 0u);
  EXPECT_EQ(grey, (Bytes{76 + 150 + 28, 3 + 11 + 3, 29 + 57 + 10}));
  for (const int threshold : {0, 96, 97, 256}) {
    convertToMonoThreshold(grey.data(), bilevel.data(), 3, 1, threshold);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(bilevel[i], grey[i] < threshold ? 0 : 255);
  }
}
