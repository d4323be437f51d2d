// Seeded pseudo-random bytes, the same on every platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>

namespace zel::test {

class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}

  // 0 to n - 1.
  std::uint32_t below(std::size_t n) { return static_cast<std::uint32_t>(engine_() % n); }

  std::uint8_t byte() { return static_cast<std::uint8_t>(engine_() >> 8); }

  void fill(std::span<std::uint8_t> bytes) {
    for (std::uint8_t& b : bytes) b = byte();
  }

  // 0 for about percent of the bytes, 255 for the others, in runs of about run bytes.
  void fill_bilevel(std::span<std::uint8_t> bytes, std::size_t percent, std::size_t run = 1) {
    std::uint8_t value = 255;
    for (std::uint8_t& b : bytes) {
      if (below(run) == 0) value = below(100) < percent ? 0 : 255;
      b = value;
    }
  }

 private:
  std::mt19937 engine_;
};

}  // namespace zel::test
