// Packed DIBs for tests: any header, a colour table without order, rows as they are given.
#pragma once

#include <ZelIMP/Dibapi.h>

#include <cstdlib>

#include "support/random.hpp"
#include "support/tiff_builder.hpp"

namespace zel::test {

struct DibHeader {
  int bytes = 40;
  int width = 0, height = 0, bits = 8;
  int compression = 0, image_bytes = 0, used = 0;  // with 40 bytes only
};

// pixels: the rows with their padding, as they lie.
inline Bytes dib(const DibHeader& h, const Bytes& pixels = {}) {
  const Bytes size = numbers({unsigned(h.width), unsigned(h.height)}, h.bytes == 40 ? 4 : 2);
  Bytes out = longs({unsigned(h.bytes)});
  append(out, size, shorts({1, unsigned(h.bits)}));
  if (h.bytes == 40) append(out, longs({unsigned(h.compression), unsigned(h.image_bytes), 0, 0, unsigned(h.used), 0}));
  Bytes palette(static_cast<std::size_t>(PaletteSize(reinterpret_cast<char*>(out.data()))));
  Random(1).fill(palette);
  append(out, palette, pixels);
  return out;
}

// 8 bits, every pixel and the padding of this level.
inline Bytes grey_dib(int width, int height, int level) {
  const auto bytes = static_cast<std::size_t>((width + 3) / 4 * 4 * std::abs(height));
  return dib({40, width, height}, Bytes(bytes, static_cast<std::uint8_t>(level)));
}

// A record of a font file.
inline Bytes font_record(int width, int height, int code, int samples, const Bytes& image, const Bytes& variance) {
  Bytes out = longs({unsigned(width), unsigned(height), unsigned(code)});
  append(out, shorts({unsigned(samples)}), longs({image.size()}), image, variance);
  return out;
}

inline Bytes plain_record(int code, int samples, int image, int variance) {
  return font_record(6, 2, code, samples, grey_dib(6, 2, image), grey_dib(6, 2, variance));
}

inline char* chars(Bytes& bytes) { return reinterpret_cast<char*>(bytes.data()); }
inline Bytes bytes_at(const void* memory, std::size_t n) {
  const auto* const first = static_cast<const std::uint8_t*>(memory);
  return Bytes(first, first + n);
}
Bytes joined(const auto&... parts) {
  Bytes out;
  append(out, parts...);
  return out;
}

}  // namespace zel::test
