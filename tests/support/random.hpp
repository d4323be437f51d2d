// Seeded pseudo-random bytes, the same on every platform.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <span>

namespace zel::test {

struct Random : std::mt19937 {
  using std::mt19937::mt19937;

  // 0 to n - 1.
  std::uint32_t below(std::size_t n) { return static_cast<std::uint32_t>((*this)() % n); }

  std::uint8_t byte() { return static_cast<std::uint8_t>((*this)() >> 8); }

  void fill(std::span<std::uint8_t> bytes) {
    std::ranges::generate(bytes, [this] { return byte(); });
  }

  // 0 for about percent of the bytes, 255 for the others, in runs of about run bytes.
  void fill_bilevel(std::span<std::uint8_t> bytes, std::size_t percent, std::size_t run = 1) {
    std::uint8_t value = 255;
    for (std::uint8_t& b : bytes) b = value = below(run) != 0 ? value : below(100) < percent ? 0 : 255;
  }
};

}  // namespace zel::test
