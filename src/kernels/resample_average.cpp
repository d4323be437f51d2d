#include "kernels/resample_average.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

namespace zel::kern {
namespace {

// floor(sum / count) as a product: half of one part keeps it away from whole numbers further than it can be wrong.
struct Average {
  explicit Average(std::size_t count) : part(1.0 / static_cast<double>(count)) {}
  std::uint8_t operator()(std::int32_t sum) const {
    return static_cast<std::uint8_t>(static_cast<std::int32_t>((sum + 0.5) * part));
  }
  double part;
};

template <std::size_t samples>
void average_pixel(const std::uint8_t* row, const ResampleTaps& taps, std::uint8_t* dst) {
  if (taps.count == 0) {
    std::fill_n(dst, samples, std::uint8_t{0});
    return;
  }
  const std::uint8_t* const first = row + taps.first * samples;
  std::array<std::int32_t, samples> sums{};
  for (std::size_t k = 0; k < taps.count; ++k) {
    for (std::size_t s = 0; s < samples; ++s) sums[s] += first[k * samples + s];
  }
  const Average average(taps.count);
  for (std::size_t s = 0; s < samples; ++s) dst[s] = average(sums[s]);
}

// One pixel, or two of the source, as a word: three samples are read and written as four.
template <std::size_t samples>
void average_word(const std::uint8_t* row, const ResampleTaps& taps, std::uint8_t* dst) {
  using Word = std::conditional_t<samples == 1, std::uint8_t, std::uint32_t>;
  const std::uint8_t* const first = row + taps.first * samples;
  Word a, b;
  std::memcpy(&a, first, sizeof(Word));
  std::memcpy(&b, first + (taps.count - 1) * samples, sizeof(Word));
  const auto half = static_cast<Word>((a & b) + (((a ^ b) >> 1) & 0x7F7F7F7F));  // of each sum, without carries
  std::memcpy(dst, &half, sizeof(Word));
}

// How many positions, from the first on, have words for pixels: all but the last one, and what lies at the row's end.
std::size_t words(std::span<const ResampleTaps> taps, std::size_t pixels) {
  const auto fits = [pixels](const ResampleTaps& t) {
    return t.count != 0 && t.count <= 2 && t.first + t.count < pixels;
  };
  return static_cast<std::size_t>(std::ranges::find_if_not(taps.first(taps.size() - 1), fits) - taps.begin());
}

template <std::size_t samples>
void average_rows(ConstView src, MutableView dst, std::span<const ResampleTaps> taps) {
  const std::size_t whole = words(taps, src.width() / samples);
  for (std::size_t r = 0; r < src.height(); ++r) {
    const std::uint8_t* const row = src.row_ptr(r);
    std::uint8_t* to = dst.row_ptr(r);
    for (std::size_t i = 0; i < whole; ++i, to += samples) average_word<samples>(row, taps[i], to);
    for (std::size_t i = whole; i < taps.size(); ++i, to += samples) average_pixel<samples>(row, taps[i], to);
  }
}

}  // namespace

void average_across(ConstView src, MutableView dst, std::size_t samples, std::span<const ResampleTaps> taps) {
  const auto run = samples == 1 ? average_rows<1> : samples == 3 ? average_rows<3> : average_rows<4>;
  run(src, dst, taps);
}

void average_down(const std::uint8_t* first, std::size_t stride, std::size_t count, std::uint8_t* dst, std::size_t n) {
  constexpr std::size_t kBlock = 256;
  if (count == 1) {
    std::copy_n(first, n, dst);
  } else if (count == 2) {
    for (std::size_t i = 0; i < n; ++i) dst[i] = static_cast<std::uint8_t>((first[i] + first[stride + i]) / 2);
  } else {
    const Average average(count);
    for (std::size_t begin = 0; begin < n; begin += kBlock) {
      const std::size_t block = std::min(kBlock, n - begin);
      std::array<std::int32_t, kBlock> sums{};
      for (std::size_t k = 0; k < count; ++k) {
        const std::uint8_t* const row = first + k * stride + begin;
        for (std::size_t i = 0; i < block; ++i) sums[i] += row[i];
      }
      for (std::size_t i = 0; i < block; ++i) dst[begin + i] = average(sums[i]);
    }
  }
}

}  // namespace zel::kern
