#include "kernels/second_darkest.hpp"

#include <algorithm>

namespace zel::kern {
namespace {

constexpr std::size_t kBlock = 64;

// The two darkest samples of sets side by side.
struct Darkest {
  std::uint8_t first[kBlock + kSide];
  std::uint8_t second[kBlock + kSide];
};

struct Pair {
  std::uint8_t first;
  std::uint8_t second;
};

Pair merged(Pair a, Pair b) {
  return {std::min(a.first, b.first), std::min(std::max(a.first, b.first), std::min(a.second, b.second))};
}

// Each set takes in the one distance to its right.
void take_in(Darkest& sets, std::size_t count, std::size_t distance) {
  for (std::size_t x = 0; x < count; ++x) {
    const std::size_t other = x + distance;
    const Pair both = merged({sets.first[x], sets.second[x]}, {sets.first[other], sets.second[other]});
    sets.first[x] = both.first;
    sets.second[x] = both.second;
  }
}

// Up to kBlock windows side by side.
void row_of_windows(ConstView src, std::uint8_t* dst, std::size_t count) {
  Darkest sets;
  const std::uint8_t *const a = src.row_ptr(0), *const b = src.row_ptr(1);
  const std::uint8_t *const c = src.row_ptr(2), *const d = src.row_ptr(3);
  for (std::size_t x = 0; x < count + kSide - 1; ++x) {
    const Pair column =
        merged({std::min(a[x], b[x]), std::max(a[x], b[x])}, {std::min(c[x], d[x]), std::max(c[x], d[x])});
    sets.first[x] = column.first;
    sets.second[x] = column.second;
  }
  take_in(sets, count + 2, 1);
  take_in(sets, count, 2);
  std::copy_n(sets.second, count, dst);
}

}  // namespace

void second_darkest_scalar(ConstView src, MutableView dst) {
  for (std::size_t r = 0; r < dst.height(); ++r) {
    for (std::size_t c = 0; c < dst.width(); c += kBlock) {
      const std::size_t count = std::min(kBlock, dst.width() - c);
      row_of_windows(src.part(r, c, kSide, count + kSide - 1), dst.row_ptr(r) + c, count);
    }
  }
}

void second_darkest(ConstView src, MutableView dst) {
  static const auto run = best(kSecondDarkest);
  run(src, dst);
}

}  // namespace zel::kern
