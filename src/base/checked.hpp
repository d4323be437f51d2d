// Sizes that cannot overflow unnoticed, and 32-bit arithmetic that wraps on purpose.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace zel {

// a * b as a buffer size. Throws std::bad_alloc when no buffer can be that large: nothing can be allocated for it.
inline std::size_t checked_mul(std::size_t a, std::size_t b) {
  std::size_t product = 0;
  if (__builtin_mul_overflow(a, b, &product) || product > std::size_t{std::numeric_limits<std::ptrdiff_t>::max()}) {
    throw std::bad_alloc();
  }
  return product;
}

// Signed 32-bit arithmetic modulo 2^32, where a contract fixes the wrapped result.
inline std::int32_t wrap_add(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
inline std::int32_t wrap_sub(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}
inline std::int32_t wrap_mul(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

}  // namespace zel
