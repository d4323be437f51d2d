// Memory whose owner in the end is a caller that releases it with free().
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

namespace zel {

struct Freer {
  void operator()(unsigned char* memory) const { std::free(memory); }
};
using Allocated = std::unique_ptr<unsigned char, Freer>;

// Zeroed; null without memory, or when no block can be so large. Never null for 0 bytes otherwise.
inline Allocated allocate(std::uint64_t bytes) {
  if (bytes > std::uint64_t{std::numeric_limits<std::ptrdiff_t>::max()}) return nullptr;
  const auto size = static_cast<std::size_t>(std::max<std::uint64_t>(bytes, 1));
  return Allocated(static_cast<unsigned char*>(std::calloc(size, 1)));
}

}  // namespace zel
