// Descrambling against a walk over the read-out, sample by sample.
#include "support.hpp"
using namespace zel::test;

using Levels = const unsigned short*;

struct Call {
  bool colour, calibrated;
  int width, rows, lag, halve;
  Levels white[3], black;
};

static int correct(int sample, Levels white, Levels black, int i) {
  if (white == nullptr || black == nullptr || i < 0) return sample;
  if (sample <= black[i]) return 0;
  return black[i] >= white[i] ? sample - black[i] : std::min((sample - black[i]) * 255 / (white[i] - black[i]), 255);
}

// Status, *dstSize for a source of 1000 bytes, and dst with its margins.
using Result = std::tuple<unsigned, unsigned, Bytes>;

static Result walked(const Call& call, const Bytes& src, Bytes dst) {
  const auto& [colour, calibrated, width, rows, lag, halve, white, black] = call;
  const int samples = colour ? 3 : 1, row_bytes = samples * width, step = halve == 0 ? 1 : 2;
  const unsigned positive = static_cast<unsigned>(lag);
  if (calibrated && !colour && positive > static_cast<unsigned>(rows)) return {1, 7, dst};
  int a_index = 0, b_index = 0;
  for (int r = halve == 1; r < rows; r += step) {
    const auto put = [&](int row, int position, int plane, int column, int index) {
      const int at = row * row_bytes + position, from = r * row_bytes + plane * call.width + column;
      const int sample = correct(src.begin()[from], call.white[plane], call.black, index);
      if (at >= 0 && at < call.rows * row_bytes) (dst.begin() + kMargin)[at] = static_cast<std::uint8_t>(sample);
    };
    const int direction = Tarsis_7200 ? -1 : 1;
    int a = !Tarsis_7200 ? row_bytes / 2 : SWAP_SIDES ? row_bytes / 2 - 1 : row_bytes - 1;
    int b = SWAP_SIDES ? row_bytes / 2 : 0;
    if (!colour || (Tarsis_7200 && SWAP_SIDES)) a_index = Tarsis_7200 ? width - 1 : width / 2;
    if (!colour || SWAP_SIDES) b_index = 0;
    for (int j = 0; j < width; j += 2) {
      for (int p = 0; p < samples && (colour || r < rows - step * lag); ++p, a += direction) {
        put(r / step, a, calibrated ? samples - 1 - p : p, j, a_index);
      }
      if (!colour || Tarsis_7200) a_index += direction;
      if (r < step * lag || j + 1 >= width || (colour && lag < 0)) continue;
      for (int p = 0; p < samples; ++p) put(r / step - lag, b++, p, j + 1, b_index);
      ++b_index;
    }
  }
  return {0, 1000 - positive * static_cast<unsigned>(row_bytes), dst};
}

static Result by_library(const Call& call, const Bytes& src, Bytes dst) {
  const auto& [colour, calibrated, width, rows, lag, halve, white, black] = call;
  const unsigned w = static_cast<unsigned>(width), l = static_cast<unsigned>(lag);
  const auto [white1, white2, white3] = white;
  const auto [in, to] = std::pair(src.data(), &dst[kMargin]);
  unsigned n = 7;
  const unsigned status =
      calibrated && colour
          ? ZelIMPDescrambleCal_color(in, 1000, to, &n, rows, width, l, 0, 0, 0, 0, white1, white2, white3, black)
      : calibrated ? ZelIMPDescrambleCal_mono(in, 1000, to, &n, rows, w, l, 0, 0, 0, 0, white1, black, halve)
      : colour     ? ZelIMPDescramble_color(in, 1000, to, &n, rows, w, l)
                   : ZelIMPDescramble_mono(in, 1000, to, &n, rows, w, lag);
  return {status, n, dst};
}

// All layouts, sizes, lags and kinds of tables: none, white ones only, first white one missing, all.
static void check_all(bool colour, bool calibrated, int halve = 0) {
  constexpr std::size_t kEntries = 6300;
  const Bytes src = noise(3 * 6 * 2100, 77), random = noise(4 * kEntries, 78);
  std::vector<unsigned short> levels;
  for (unsigned i = 0; i < 4 * kEntries; ++i) {
    levels.push_back(0xFFFF & (i < kEntries ? random[i] * 2u / 3 : i % 5 == 0 ? random[i] * 257u : 100u + random[i]));
  }
  for (int k = 0; k < 4 * 13 * 8 * 11 * (calibrated ? 4 : 1); ++k) {
    Tarsis_7200 = k % 2 != 0 ? 9 : 0;
    SWAP_SIDES = k % 4 > 1 ? 9 : 0;
    const int width = std::array{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 38, 530, 2100}[k / 4 % 13], tables = k / 4576;
    const int rows = k / 52 % 8 - 1, lag = k / 416 % 11 - 2;
    Call call = {colour, calibrated, width, rows, lag, halve, {}, tables < 2 ? nullptr : levels.data()};
    for (std::size_t i = tables == 2; i < 3 && tables != 0; ++i) call.white[i] = &levels[(i + 1) * kEntries];
    const Bytes dst = untouched(static_cast<std::size_t>(std::max(rows, 0) * width * (colour ? 3 : 1)));
    EXPECT_EQ(by_library(call, src, dst), walked(call, src, dst)) << width << " x " << rows << ", lag " << lag;
  }
  SWAP_SIDES = Tarsis_7200 = 1;
}

TEST(Descramble, descramble_layouts) { check_all(false, false); }
TEST(Descramble, descramble_colour_tail_rows) { check_all(true, false); }
TEST(Descramble, cal_mono_table_index_and_cal_mono_statuses) { check_all(false, true); }
TEST(Descramble, cal_mono_halving) { check_all(false, true, 1), check_all(false, true, 2), check_all(false, true, -1); }
TEST(Descramble, cal_colour_running_index_and_cal_colour_plane_order) { check_all(true, true); }

TEST(Descramble, one_sample_is_corrected) {
  const unsigned short white[] = {200, 250, 60, 60}, black[] = {50, 0, 60, 70};
  const int kCases[][3] = {{100, 0, 85}, {50, 0, 0}, {251, 1, -1}, {250, 1, 255}, {100, 2, 40}, {100, 3, 30}};
  for (const auto& [sample, index, want] : kCases) {
    EXPECT_EQ(Calibrate_ONE_Pixel(static_cast<unsigned char>(sample), white, black, index), want) << sample;
  }
  EXPECT_EQ(Calibrate_ONE_Pixel(7, nullptr, black, 0) + Calibrate_ONE_Pixel(7, white, nullptr, 0), 14);
}
