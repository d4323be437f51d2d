// Little-endian numbers in byte buffers, independent of the host's byte order and of alignment.
#pragma once

#include <cstdint>

namespace zel {

inline std::uint16_t load_u16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }

inline std::uint32_t load_u32(const std::uint8_t* p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}

inline void store_u16(std::uint8_t* p, std::uint16_t v) {
  p[0] = static_cast<std::uint8_t>(v);
  p[1] = static_cast<std::uint8_t>(v >> 8);
}

inline void store_u32(std::uint8_t* p, std::uint32_t v) {
  store_u16(p, static_cast<std::uint16_t>(v));
  store_u16(p + 2, static_cast<std::uint16_t>(v >> 16));
}

}  // namespace zel
