#include "kernels/half_turn.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace zel::kern {
namespace {

constexpr std::size_t kStep = sizeof(std::size_t);

// A machine word of bytes, and the same in reverse order.
std::size_t load(const std::uint8_t* from) {
  std::size_t word;
  std::memcpy(&word, from, kStep);
  return word;
}

void store_turned(std::uint8_t* to, std::size_t word) {
  word = kStep == 8 ? __builtin_bswap64(word) : __builtin_bswap32(static_cast<std::uint32_t>(word));
  std::memcpy(to, &word, kStep);
}

}  // namespace

void half_turn_scalar(std::span<const std::uint8_t> src, std::span<std::uint8_t> dst) {
  const std::uint8_t* from = src.data();
  std::uint8_t* to = dst.data() + src.size();
  for (std::size_t words = src.size() / kStep; words != 0; --words, from += kStep) {
    to -= kStep;
    store_turned(to, load(from));
  }
  std::reverse_copy(from, src.data() + src.size(), dst.data());
}

void exchange_turned_scalar(std::span<std::uint8_t> first, std::span<std::uint8_t> last, std::size_t samples) {
  if (samples == 1) {
    const std::size_t words = first.size() / kStep;
    for (std::size_t i = 0; i < words; ++i) {
      std::uint8_t* const p = first.data() + i * kStep;
      std::uint8_t* const q = last.data() + last.size() - (i + 1) * kStep;
      const std::size_t before = load(p);
      store_turned(p, load(q));
      store_turned(q, before);
    }
    first = first.subspan(words * kStep);  // its partners now begin last
  }
  const std::size_t n = first.size() / samples;
  for (std::size_t i = 0; i < n; ++i) {
    std::uint8_t* const p = first.data() + i * samples;
    std::uint8_t* const q = last.data() + (n - 1 - i) * samples;
    std::swap_ranges(p, p + samples, q);
  }
}

void half_turn(std::span<const std::uint8_t> src, std::span<std::uint8_t> dst) {
  static const auto run = best(kHalfTurn);
  run(src, dst);
}

void exchange_turned(std::span<std::uint8_t> first, std::span<std::uint8_t> last, std::size_t samples) {
  static const auto run = best(kExchangeTurned);
  run(first, last, samples);
}

}  // namespace zel::kern
