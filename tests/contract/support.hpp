// What the contract tests share: repeatable pixels, and destinations with a margin that shows writes outside them.
#pragma once

#include <ZelIMP.h>
#include <gtest/gtest.h>

#include <fstream>

#include "support/random.hpp"
#include "support/tiff_builder.hpp"

namespace zel::test {

inline Bytes noise(std::size_t n, std::uint32_t seed) {
  Bytes out(n);
  Random(seed).fill(out);
  return out;
}

// Runs of black (0) and white (255).
inline Bytes runs(std::size_t n, std::uint32_t seed, std::size_t mean_run) {
  Bytes out(n);
  Random(seed).fill_bilevel(out, 50, mean_run);
  return out;
}

// What a file holds from a place on; nothing when there is none.
inline Bytes content_of(const std::string& path, std::size_t from = 0) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in.seekg(static_cast<std::streamoff>(from))), {});
}

inline constexpr int kMargin = 40;
inline Bytes untouched(std::size_t n) { return Bytes(n + 2 * kMargin, 0xA5); }
inline Bytes framed(const Bytes& content) {
  Bytes out = untouched(content.size());
  std::copy(content.begin(), content.end(), out.begin() + kMargin);
  return out;
}

struct LoadedImage : TiffImage {
  explicit LoadedImage(Bytes& file) { load(file.data()); }
  ~LoadedImage() { clear(); }
};

// An image without a header whose samples in row r and column c are all value(r, c).
struct Drawn : TiffImage {
  Drawn(unsigned columns, unsigned rows, unsigned samples, auto value) : pixels(std::size_t{columns} * rows * samples) {
    for (unsigned i = 0; i < pixels.size(); ++i) {
      pixels[i] = static_cast<std::uint8_t>(value(int(i / samples / columns), int(i / samples % columns)));
    }
    width = columns, height = rows, image = pixels.data();
  }
  Bytes pixels;
};

}  // namespace zel::test
