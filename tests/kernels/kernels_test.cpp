// All variants of all kernels against models that follow the kernels' headers, pixel by pixel: every width up to 70,
// sources and destinations that end or begin at a guard page, and no byte written but the promised ones.

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <iostream>
#include <numeric>
#include <vector>

#include "../support/guarded_image.hpp"
#include "kernels/bit_pack.hpp"
#include "kernels/border_trace.hpp"
#include "kernels/box_threshold.hpp"
#include "kernels/column_profile.hpp"
#include "kernels/deinterleave.hpp"
#include "kernels/edge_profile.hpp"
#include "kernels/flat_field.hpp"
#include "kernels/g4_encode.hpp"
#include "kernels/half_turn.hpp"
#include "kernels/histogram.hpp"
#include "kernels/ink_profile.hpp"
#include "kernels/isolated_pixels.hpp"
#include "kernels/quarter_turn.hpp"
#include "kernels/resample.hpp"
#include "kernels/rgb_to_grey.hpp"
#include "kernels/rotate_nearest.hpp"
#include "kernels/run_scan.hpp"
#include "kernels/second_darkest.hpp"
#include "kernels/shear.hpp"
#include "kernels/template_match.hpp"

namespace zel::test {
namespace {

using testing::AssertionResult;

// Calls check(run) for every variant, which tells a failure. No function may stand for two variants.
void for_each_variant(const auto& variants, auto check) {
  for (const auto& variant : variants) {
    ASSERT_EQ(std::ranges::count_if(variants, [&](auto& other) { return other.run == variant.run; }), 1);
    SCOPED_TRACE(variant.name);
    if (cpu_has(variant.isa))
      check(variant.run);
    else
      std::cout << "[  SKIPPED ] " << variant.name << ": this CPU cannot run it\n";
  }
}

// Calls check(run, shape, random) for every variant: rounds times with each width up to 70 at either guard page, and
// with widths beyond any block that a kernel works in.
void for_all(const auto& variants, int rounds, auto check) {
  for_each_variant(variants, [&](auto run) {
    Random random(1);
    for (std::size_t k = 0; k < static_cast<std::size_t>(rounds) * 142; ++k) {
      const std::size_t width = k % 142 / 2, height = 1 + random.below(random.below(8) == 0 ? 200 : 30);
      Shape s = {width, height, random.below(14), k % 2 == 0 ? Guard::behind : Guard::before};
      if (width == 0)
        s = {1 + random.below(300) + (k % 284 == 0 ? 8000 : 0), 1 + random.below(60), random.below(3), s.guard};
      ASSERT_TRUE(check(run, s, random)) << s.width << " x " << s.height;
    }
  });
}

// Both channels side by side in one destination. run(raw, a, b, lag, mirror_a)
AssertionResult separates(auto run, const Shape& s, Random& random, std::size_t samples, kern::PlaneOrder order_a) {
  const std::size_t half = samples * s.width;
  const GuardedImage raw(2 * half, s.height, s, &random);
  const std::size_t lag = random.below(3) == 0 ? 0 : random.below(s.height + 1), b_rows = s.height - lag;
  const std::size_t a_rows = random.below(3) == 0 ? random.below(s.height + 1) : s.height;
  const std::size_t a_begin = random.below(2) * half;
  const bool mirror_a = random.below(2) != 0;
  const auto model = [&](std::size_t r, std::size_t c) {
    const bool is_a = c / half == a_begin / half;
    std::size_t pixel = c % half / samples, plane = c % samples;
    if (is_a && mirror_a) pixel = s.width - 1 - pixel;
    if (is_a && order_a == kern::PlaneOrder::backward) plane = samples - 1 - plane;
    if (r >= (is_a ? a_rows : b_rows)) return kKept;
    return raw.at(is_a ? r : r + lag, plane * 2 * s.width + 2 * pixel + (is_a ? 0 : 1));
  };
  const auto separate = [&](MutableView dst) {
    run(raw.view, dst.part(0, a_begin, a_rows, half), dst.part(0, half - a_begin, b_rows, half), lag, mirror_a);
  };
  return writes(2 * half, s.height, s, model, separate) << "lag " << lag << ", mirror " << mirror_a << ", ";
}

TEST(Kernels, deinterleave) {
  for_all(kern::kDeinterleaveGrey, 9, [](auto run, const Shape& s, Random& random) {
    return separates(run, s, random, 1, kern::PlaneOrder::forward);
  });
  for_all(kern::kDeinterleaveColour, 9, [](auto run, const Shape& s, Random& random) {
    const auto order = random.below(2) == 0 ? kern::PlaneOrder::forward : kern::PlaneOrder::backward;
    return separates([&](auto... arguments) { run(arguments..., order); }, s, random, 3, order);
  });
}

using Levels = std::vector<std::uint16_t>;

AssertionResult corrects(auto run, const GuardedImage& image, const Levels& white, const Levels& black) {
  const auto model = [&](std::size_t r, std::size_t c) {
    const int above = image.at(r, c) - black[c];
    if (above <= 0) return 0;
    return black[c] >= white[c] ? above : std::min(above * 255 / (white[c] - black[c]), 255);
  };
  return changes(image, model, [&] { run(image.view, white, black); });
}

TEST(Kernels, flat_field) {
  for_all(kern::kFlatField, 3, [](auto run, const Shape& s, Random& random) {
    Levels white(s.width), black(s.width);  // some of them beyond what a sample can be
    for (std::uint16_t& level : white) level = static_cast<std::uint16_t>(random.byte() * (random.below(9) ? 1 : 257));
    for (std::uint16_t& level : black) level = static_cast<std::uint16_t>(random.below(random.below(9) ? 99 : 65536));
    return corrects(run, GuardedImage(s.width, s.height, s, &random), white, black);
  });
  // All quotients there can be, above a black level of 0, and all samples with all pairs of levels up to 257.
  for_each_variant(kern::kFlatField, [](auto run) {
    for (std::uint16_t level = 0; level < 258; ++level) {
      const GuardedImage image(level == 0 ? 65536 : 258, 256, {0, 0, 0, Guard::behind});
      Levels white(image.view.width());
      std::iota(white.begin(), white.end(), std::uint16_t{0});
      for (std::size_t r = 0; r < 256; ++r) std::ranges::fill(image.view.row(r), static_cast<std::uint8_t>(r));
      ASSERT_TRUE(corrects(run, image, white, Levels(white.size(), level))) << level;
    }
  });
}

// The sums themselves are compared with their single steps elsewhere; here, all variants with the reference, and rows
// that lie apart with the same back to back.
TEST(Kernels, box_threshold) {
  for_all(kern::kBoxThreshold, 20, [](auto run, const Shape& s, Random& random) {
    const int window = std::array{1, 2, 3, 7, 24, 25, 127, 128, 129, 46340}[random.below(10)];
    const int percent = std::array{-5, 0, 1, 7, 80, 80, 100, 1000, 2'000'000'000}[random.below(9)];
    const Shape dense = {s.width, s.height, 0, s.guard};
    const GuardedImage src(s.width, s.height, s, &random), packed(s.width, s.height, dense);
    const GuardedImage want(s.width, s.height, dense), sums(8 * s.width, 1, s), want_sums(8 * s.width, 1, s);
    for (std::size_t r = 0; r < s.height; ++r) std::ranges::copy(src.view.row(r), packed.view.row(r).begin());
    const auto threshold = [&](auto* by, const GuardedImage& from, MutableView dst, const GuardedImage& both) {
      const std::span all(reinterpret_cast<std::int32_t*>(both.view.row_ptr(0)), 2 * s.width);
      by(from.view, dst, {all.first(s.width), all.last(s.width)}, window, percent);
    };
    threshold(kern::box_threshold_scalar, packed, want.view, want_sums);
    const auto model = [&](std::size_t r, std::size_t c) {
      const bool is_last = r + 1 == s.height && c + 1 == s.width;  // which is kept unless it is the only one
      return is_last && r + c > 0 ? kKept : want.at(r, c);
    };
    auto result = writes(s.width, s.height, s, model, [&](MutableView dst) { threshold(run, src, dst, sums); });
    if (result) result = AssertionResult(std::ranges::equal(sums.bytes(), want_sums.bytes()));
    return result << "window " << window << ", percent " << percent << ", ";
  });
}

TEST(Kernels, isolated_pixels) {
  for_all(kern::kIsolatedPixels, 30, [](auto run, const Shape& s, Random& random) {
    const GuardedImage image(s.width, s.height, s), model(s.width, s.height, s);
    random.fill_bilevel(image.bytes(), 8 + random.below(90), 1 + random.below(3));
    if (random.below(3) == 0) std::ranges::generate(image.bytes(), [&] { return random.below(4) * 85 % 251; });
    // A lone value other than 0 and 255, somewhere.
    if (random.below(4) == 0) image.bytes()[random.below(image.bytes().size())] = random.byte();
    const int min_count = std::array{INT_MIN, INT_MAX, -1, 0, 1, 2, 2, 2, 2, 3, 4, 5, 6, 7, 8, 9}[random.below(16)];
    std::ranges::copy(image.bytes(), model.bytes().begin());
    for (std::size_t i = 0; i < s.width * s.height; ++i) {
      const std::size_t row = i / s.width, col = i % s.width;
      std::int64_t count = 0, sum = 0;
      for (std::size_t r = row - std::min<std::size_t>(row, 1); r < std::min(row + 2, s.height); ++r) {
        for (std::size_t c = col - std::min<std::size_t>(col, 1); c < std::min(col + 2, s.width); ++c, ++count) {
          sum += model.at(r, c);
        }
      }
      const bool stays = model.at(row, col) != 0 || static_cast<std::int32_t>((count - min_count) * 255) > sum;
      if (kern::has_neighbours(model.view, min_count, row, col) != stays) return AssertionResult(false);
      if (!stays) model.view.row(row)[col] = 255;
    }
    const auto whitened = [&](std::size_t r, std::size_t c) { return model.at(r, c); };
    return changes(image, whitened, [&] { run(image.view, min_count); }) << "min_count " << min_count << ", ";
  });
}

TEST(Kernels, rgb_to_grey) {
  for_all(kern::kRgbToGrey, 3, [](auto run, const Shape& s, Random& random) {
    const GuardedImage rgb(3 * s.width, 1, s, &random);
    const auto model = [&](std::size_t, std::size_t c) {
      return rgb.at(0, 3 * c) * 30 / 100 + rgb.at(0, 3 * c + 1) * 59 / 100 + rgb.at(0, 3 * c + 2) * 11 / 100;
    };
    return writes(s.width, 1, s, model, [&](MutableView grey) { run(rgb.bytes(), grey.row(0)); });
  });
}

TEST(Kernels, quarter_turn) {
  for_all(kern::kQuarterTurn, 6, [](auto run, const Shape& s, Random& random) {
    const std::size_t samples = 1 + 2 * random.below(2);
    const bool clockwise = random.below(2) == 0;
    const auto turn = clockwise ? kern::Turn::clockwise : kern::Turn::counter_clockwise;
    const GuardedImage src(s.width * samples, s.height, s, &random);
    const auto model = [&](std::size_t r, std::size_t c) {
      const std::size_t row = clockwise ? s.height - 1 - c / samples : c / samples;
      return src.at(row, (clockwise ? r : s.width - 1 - r) * samples + c % samples);
    };
    return writes(s.height * samples, s.width, s, model, [&](auto dst) { run(src.view, dst, samples, turn); });
  });
}

TEST(Kernels, histogram_and_ink) {
  for_all(kern::kHistogram, 3, [](auto run, const Shape& s, Random& random) {
    const GuardedImage src(s.width, s.height, s, &random);
    std::array<std::uint32_t, 256> counts, model = {};
    for (std::size_t i = 0; i < s.width * s.height; ++i) ++model[src.view.row(i / s.width)[i % s.width] &= 0xF3];
    run(src.view, counts);
    return AssertionResult(counts == model);
  });
  for_all(kern::kInkColumns, 3, [](auto run, const Shape& s, Random& random) {
    const GuardedImage src(s.width, s.height, s, &random);
    const int threshold = std::array{INT_MIN, 0, 1, 255, 256, INT_MAX, 9, 30, 100}[random.below(9)];
    const std::size_t rows = random.below(4) == 0 ? 0 : s.height;
    const auto model = [&](std::size_t, std::size_t c) {
      std::size_t dark = 0;
      for (std::size_t r = 0; r < rows; ++r) dark += src.at(r, c) < threshold;
      return dark > 1;
    };
    return writes(s.width, 1, s, model,
                  [&](auto dst) { run(src.view.part(0, 0, rows, s.width), threshold, dst.row(0)); });
  });
  for_all(kern::kInkRow, 9, [](auto run, const Shape& s, Random& random) {
    const GuardedImage src(s.width, 1, s, &random);
    const int threshold = std::array{INT_MIN, 0, 1, 2, 256, 1000}[random.below(6)] + int(random.below(20));
    const auto n = std::ranges::count_if(src.view.row(0), [=](int p) { return p < threshold; });
    return AssertionResult(run(src.view.row(0), threshold) == (n > 1));
  });
}

TEST(Kernels, second_darkest) {
  for_all(kern::kSecondDarkest, 2, [](auto run, Shape s, Random& random) {
    s.height += 3;
    const GuardedImage src(s.width + 3, s.height, s, &random);
    const auto model = [&](std::size_t r, std::size_t c) {
      std::array<int, 16> window;
      for (std::size_t i = 0; i < 16; ++i) window[i] = src.at(r + i / 4, c + i % 4);
      std::ranges::sort(window);
      return window[1];
    };
    return writes(s.width, s.height - 3, s, model, [&](auto dst) { run(src.view, dst); });
  });
}

TEST(Kernels, half_turn) {
  for_all(kern::kHalfTurn, 3, [](auto run, const Shape& s, Random& random) {
    const GuardedImage src(s.width, 1, s, &random);
    const auto model = [&](std::size_t, std::size_t c) { return src.at(0, s.width - 1 - c); };
    return writes(s.width, 1, s, model, [&](MutableView dst) { run(src.bytes(), dst.row(0)); });
  });
  // Two parts of one row, with or without bytes between them.
  for_all(kern::kExchangeTurned, 3, [](auto run, const Shape& s, Random& random) {
    const std::size_t samples = 1 + 2 * random.below(2);
    const std::size_t part = s.width * samples, last = part + s.gap;
    const GuardedImage row(last + part, 1, s, &random);
    const auto model = [&](std::size_t, std::size_t c) {
      if (c >= part && c < last) return kKept;
      const std::size_t at = c < part ? c : c - last, other = c < part ? last : 0;
      return row.at(0, other + (s.width - 1 - at / samples) * samples + at % samples);
    };
    return changes(row, model, [&] { run(row.bytes().first(part), row.bytes().last(part), samples); });
  });
}

TEST(Kernels, bit_pack) {
  for_all(kern::kBitPack, 3, [](auto run, const Shape& s, Random& random) {
    const GuardedImage src(s.width, s.height, s, &random);
    const auto model = [&](std::size_t r, std::size_t c) {
      int byte = 0;
      for (std::size_t k = 8 * c; k < 8 * c + 8; ++k) byte = 2 * byte + (k < s.width && src.at(r, k) >= 128 ? 1 : 0);
      return byte;
    };
    return writes((s.width + 7) / 8, s.height, s, model, [&](MutableView dst) { run(src.view, dst); });
  });
}

// Bytes as a coder meets them: any values, noise, runs, or a blank page.
void fill_page(std::span<std::uint8_t> bytes, Random& random) {
  const std::size_t kind = random.below(4);
  kind == 0 ? random.fill(bytes) : random.fill_bilevel(bytes, kind == 3 ? 0 : 50, kind == 1 ? 1 : 20);
}

TEST(Kernels, run_scan) {
  for_all(kern::kRunScan, 9, [](auto run, const Shape& s, Random& random) {
    const GuardedBuffer row(s.width, s.guard);
    fill_page(row.bytes(), random);
    std::vector<std::int32_t> wanted;
    for (std::size_t c = 0; c < s.width; ++c) {
      if (row.data()[c] != (c == 0 ? 255 : row.data()[c - 1])) wanted.push_back(static_cast<std::int32_t>(c));
    }
    const std::size_t count = wanted.size();
    wanted.resize(count + kern::kSentinels, static_cast<std::int32_t>(s.width));
    const GuardedBuffer room((s.width + kern::kSentinels) * sizeof wanted[0], s.guard);
    const std::span got(reinterpret_cast<std::int32_t*>(room.data()), s.width + kern::kSentinels);
    return AssertionResult(run(row.bytes(), got) == count && std::ranges::equal(wanted, got.first(wanted.size())));
  });
}

// The coding itself is compared with the coder's single steps elsewhere; here, that all variants write the same and
// not a byte more than they return.
TEST(Kernels, g4_encode) {
  for_all(kern::kG4Encode, 9, [](auto run, const Shape& s, Random& random) {
    const GuardedImage src(s.width, s.height, s);
    fill_page(src.bytes(), random);
    std::vector<std::uint8_t> wanted(2 * s.width * s.height + 8);
    const std::size_t size = kern::kG4Encode[0].run(src.view, wanted);
    const auto model = [&](std::size_t, std::size_t c) { return int{wanted[c]}; };
    const auto encode = [&](MutableView dst) { EXPECT_EQ(run(src.view, {dst.row_ptr(0), wanted.size()}), size); };
    return writes(size, 1, {size, 1, 0, Guard::behind}, model, encode);
  });
}

TEST(Kernels, edge_profile) {
  for_all(kern::kEdgeProfile, 30, [](auto run, const Shape& s, Random& random) {
    const std::size_t step = 1 + 2 * random.below(2), end = s.width < 3 ? 0 : random.below(s.width - 1);
    const int begin = int(random.below(end + 1)), threshold = int(random.below(random.below(5) == 0 ? 1786 : 400));
    const GuardedImage band(s.width * step, 3, s, &random);
    for (std::uint8_t& b : band.bytes()) b = random.below(90) == 0 ? b : std::uint8_t(b / 8);
    std::optional<kern::EdgeColumns> want;
    for (std::size_t x = std::size_t(begin); x < end; ++x) {
      const auto p = [&](std::size_t r, std::size_t c) { return band.at(r, (x + c) * step + step / 2); };
      const int gx = p(0, 0) + 2 * p(1, 0) + p(2, 0) - p(0, 2) - 2 * p(1, 2) - p(2, 2);
      const int gy = p(0, 0) + 2 * p(0, 1) + p(0, 2) - p(2, 0) + 2 * p(2, 1) + p(2, 2);
      if (std::max(std::abs(gx), std::abs(gy)) > threshold) want = {want ? want->first : x, x};
    }
    return AssertionResult(run(band.view, step, std::size_t(begin), end, threshold) == want);
  });
}

TEST(Kernels, column_profile_and_border_trace) {
  for_all(kern::kColumnProfile, 6, [](auto run, const Shape& s, Random& random) {
    const GuardedImage src(s.width, s.height * (random.below(4) == 0 ? 20 : 1), s, &random);
    if (random.below(2) == 0) std::ranges::generate(src.bytes(), [&] { return random.below(300) == 0 ? 0 : 255; });
    std::vector<std::uint64_t> level(s.width, 9), change(s.width, 9);
    run(src.view, level, change);
    for (std::size_t i = s.width, c = 0; i < s.width * src.view.height(); ++i, c = i % s.width) {
      level[c] -= src.view.row(i / s.width)[c];
      change[c] -= std::abs(src.at(i / s.width, c) - src.at(i / s.width - 1, c));
    }
    return AssertionResult(std::ranges::max(level) == 0 && std::ranges::max(change) == 0);
  });
  for_all(kern::kBorderTrace, 30, [](auto run, const Shape& s, Random& random) {
    const GuardedImage row(s.width, 1, s);
    const std::uint8_t level = random.byte();
    for (std::uint8_t& b : row.bytes()) b = random.below(s.width) == 0 ? random.byte() : std::min(random.byte(), level);
    std::size_t first = s.width, last = 0;
    for (std::size_t x = s.width; x-- > 0;) first = row.at(0, x) > level ? x : first;
    for (std::size_t x = 0; x < s.width; ++x) last = row.at(0, x) > level ? x : last;
    return AssertionResult(run(row.bytes(), level, true) == first && run(row.bytes(), level, false) == last);
  });
}

TEST(Kernels, rotate_nearest_and_shear) {
  for_all(kern::kRotateNearest, 12, [](auto run, const Shape& s, Random& random) {
    const std::size_t samples = 1 + 2 * random.below(2);
    const std::size_t k = s.width > 4096 ? 0 : random.below(9);  // large angles go by tiles of that width
    const float angle = std::array{0.1f, 0.0f, 1e-4f, 0.01f, -0.03f, 0.8f, 1.5707964f, -2.0f, NAN}[k];
    const float cosine = std::cos(angle), sine = std::sin(angle), w = float(s.width), h = float(s.height);
    const GuardedImage src(s.width * samples, s.height, s, &random);
    const auto model = [&](std::size_t r, std::size_t c) {
      const float x = float(c / samples) - w / 2, y = float(r) - h / 2;
      const float u = cosine * x + sine * y + w / 2 + 0.5f, v = cosine * y - sine * x + h / 2 + 0.5f;
      if (!(u > -1 && u < w && v > -1 && v < h)) return 0;
      return src.at(std::size_t(std::max(v, 0.0f)), std::size_t(std::max(u, 0.0f)) * samples + c % samples);
    };
    return writes(s.width * samples, s.height, s, model, [&](auto dst) { run(src.view, dst, samples, cosine, sine); });
  });
  for_all(kern::kShear, 6, [](auto run, const Shape& s, Random& random) {
    const GuardedImage src(1 + random.below(99), 1 + random.below(99), s, &random);
    std::vector<std::uint32_t> across(s.height), down(s.width);
    std::ranges::generate(across, [&] { return random.below(20); });
    for (std::size_t x = 1; x < s.width; ++x) down[x] = random.below(5) == 0 ? random.below(20) : down[x - 1];
    const auto model = [&](std::size_t r, std::size_t x) {
      const bool inside = r + down[x] < src.view.height() && x + across[r] < src.view.width();
      return inside ? src.at(r + down[x], x + across[r]) : 0;
    };
    return writes(s.width, s.height, s, model, [&](MutableView dst) { run(src.view, dst, down, across); });
  });
}

// Among them: sums of 1 and other ones side by side; lobes whose sums leave 0..255; weights of 0 between others;
// weights that nearly cancel, so that quotients leave 32 bits; a smooth one that is wider than a vector.
constexpr kern::ResampleFilter kFilters[] = {
    {[](double x) { return std::fabs(x) <= 0.5 ? 1.0 : 0.0; }, 0.5},
    {[](double x) { return std::max(1.0 - std::fabs(x), 0.0); }, 1.0},
    {[](double x) { return std::fabs(x) < 0.25   ? 1.0
                           : std::fabs(x) < 0.75 ? 0.7
                                                 : 0.0; }, 0.75},
    {[](double x) { return std::fabs(x) < 0.9 ? 1.1 - x * x : -0.3; }, 2.0},
    {[](double x) { return std::fabs(x) < 0.6 || std::fabs(x) > 1.3 ? 1.0 - std::fabs(x) / 3 : 0.0; }, 2.3},
    {[](double x) { return x < 0    ? 1.0
                           : x == 0 ? 1e-12
                                    : -0.9999999999999; }, 1.5},
    {[](double x) { return 1.0 / (1.0 + x * x); }, 8.0}};

// n samples of the line whose sample j is at(j).
std::vector<int> resampled(std::size_t length, auto at, std::size_t n, const kern::ResampleFilter& filter) {
  const double scale = double(n) / double(length), factor = std::min(scale, 1.0), reach = filter.radius / factor;
  std::vector<int> line(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double centre = double(i) / scale;
    const int left = int(centre + 0.5 - reach), right = int(left + 2 * reach);
    double sum = 0, weights = 0;
    for (int j = std::max(left, 0); j <= right && j < int(length); ++j) {
      const double weight = filter.weight((centre - j) * factor);
      sum += at(std::size_t(j)) * weight;
      weights += weight;
    }
    const double quotient = sum / weights;
    line[i] = std::fabs(quotient) < 0x1p31 ? std::clamp(int(quotient), 0, 255) : 0;
  }
  return line;
}

TEST(Kernels, resample) {
  for_all(kern::kResample, 8, [](auto run, const Shape& s, Random& random) {
    const std::size_t samples = std::array{1, 3, 4}[random.below(3)];
    const kern::ResampleFilter& filter = kFilters[random.below(std::size(kFilters))];
    const auto other = [&](std::size_t n) {
      const std::size_t any = random.below(2 * n + 9);
      const std::array sides = {n, 2 * n / 3, 3 * n / 2, n / 2, n / 7, std::size_t{1}, any};
      return std::max<std::size_t>(sides[random.below(sides.size())], 1);
    };
    const std::size_t width = other(s.width), height = other(s.height);
    const GuardedImage src(s.width * samples, s.height, s, &random);
    const int kind = int(random.below(3));
    const auto flat = static_cast<std::uint8_t>(std::array{255, 254, 128, 1}[random.below(4)]);
    for (std::uint8_t& b : src.bytes()) b = kind == 0 || (kind == 1 && random.below(9) != 0) ? flat : b;

    std::vector<int> between(width * samples * s.height), wanted(width * samples * height);
    for (std::size_t i = 0; i < s.height * samples; ++i) {
      const std::size_t r = i / samples, sample = i % samples;
      const auto row = resampled(
          s.width, [&](std::size_t j) { return src.at(r, j * samples + sample); }, width, filter);
      for (std::size_t c = 0; c < width; ++c) between[(r * width + c) * samples + sample] = row[c];
    }
    for (std::size_t c = 0; c < width * samples; ++c) {
      const auto column = resampled(
          s.height, [&](std::size_t j) { return between[j * width * samples + c]; }, height, filter);
      for (std::size_t r = 0; r < height; ++r) wanted[r * width * samples + c] = column[r];
    }
    const bool same = width == s.width && height == s.height;
    const auto model = [&](std::size_t r, std::size_t c) {
      return same ? src.at(r, c) : wanted[r * width * samples + c];
    };
    return writes(width * samples, height, s, model, [&](MutableView dst) { run(src.view, dst, samples, filter); })
           << "to " << width << " x " << height << ", " << samples << " samples, radius " << filter.radius << ", ";
  });
  // The average of equal samples is not one less, whatever their number.
  for_each_variant(kern::kResample, [](auto run) {
    for (std::size_t n = 1; n < 500; ++n) {
      const std::vector<std::uint8_t> row(n, 255);
      std::uint8_t average = 0;
      run({row.data(), n, 1}, {&average, 1, 1}, 1, kFilters[0]);
      ASSERT_EQ(average, 255) << n << " samples";
    }
  });
}

TEST(Kernels, template_match) {
  for_all(kern::kTemplateMatch, 6, [](auto run, const Shape& s, Random& random) {
    const std::size_t places = 1 + random.below(9), width = kern::bounds_width(s.width);
    const GuardedImage templ(s.width, s.height, s, &random), mask(s.width, s.height, s, &random);
    const GuardedImage image(width + places - 1, s.height, s, &random), bounds(2 * width, s.height, s);
    const std::size_t trust = 1 + random.below(20);
    for (std::uint8_t& m : mask.bytes()) m = static_cast<std::uint8_t>(m / trust);
    if (random.below(4) == 0) std::ranges::fill(templ.bytes(), 255), std::ranges::fill(image.bytes(), 0);
    std::vector<std::uint32_t> wanted(places, 7), counts = wanted;
    for (std::size_t i = 0; i < s.width * s.height * places; ++i) {
      const std::size_t r = i / places / s.width, c = i / places % s.width, k = i % places;
      const int high = mask.at(r, c) + 147, low = 107 - mask.at(r, c), p = templ.at(r, c), t = image.at(r, c + k);
      if (mask.at(r, c) < 127) wanted[k] += (p > high && t < low) || (p <= high && p < low && t > high) ? 1 : 0;
    }
    kern::template_bounds(templ.view, mask.view, bounds.view);
    run(image.view, bounds.view, counts);
    return AssertionResult(counts == wanted);
  });
}

}  // namespace
}  // namespace zel::test
