// Group 4 coding and packing.
#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>

#include "support.hpp"
using namespace zel::test;

// The coder's loop through the exported steps. Returns the packed stream.
static Bytes code_by_steps(Group4Compression& coder, const Bytes& src, int width) {
  Bytes bits(16 * src.size() + 999);
  coder.image = src.data();
  coder.width = width;
  coder.output = bits.data();
  coder.outputLength = 0;
  coder.bitMode = 8;
  for (int r = 0; r < static_cast<int>(src.size()) / width; ++r) {
    for (int a0 = -1; a0 < width;) {
      const int a1 = coder.detectA1(r, a0), b1 = coder.detectB1(r, a0), b2 = coder.detectB2(r, b1);
      const int a2 = coder.detectA2(r, a1);
      const bool pass = a1 > b2, vertical = !pass && std::abs(b1 - a1) <= 3;
      if (pass) coder.passModeCoding();
      if (vertical) coder.verticalModeCoding(b1 - a1);
      if (!pass && !vertical) coder.horizontalModeCoding(r, a0, a1, a2);
      a0 = pass ? b2 : vertical ? a1 : a2;
    }
  }
  coder.endOfFacsimileBlock();
  const int second = coder.convertByteToBit2(bits.data(), 8);
  for (int again = 0; again < 2; ++again) coder.convertTo1Bit();  // a second call changes nothing
  EXPECT_EQ(bits[1], second);
  bits.resize(coder.outputLength);
  return bits;
}

// The library's stream, compared with that of the steps and, with black and white only, decoded by somebody else.
static Bytes code(const Bytes& src, int width, bool decode = true) {
  static Group4Compression coder;
  const Bytes want = code_by_steps(coder, src, width);
  Bytes got = untouched(want.size());
  const auto columns = static_cast<unsigned>(width), rows = static_cast<unsigned>(src.size()) / columns;
  unsigned size = 0;
  coder.bitMode = 8;
  coder.compressImage(src.data(), &got[kMargin], &size, columns, rows);
  EXPECT_EQ(got, framed(want)) << width << " x " << rows;
  EXPECT_TRUE(size == want.size() && coder.outputLength == size && coder.bitMode == 1);
  if (!decode) return want;
  TiffFile tiff = device_tiff(columns, rows, 1, want).set(258, 3, shorts({1})).set(259, 3, shorts({4}));
  const Bytes file = tiff.set(262, 3, shorts({0})).bytes();
  const int memory = memfd_create("coded", 0);
  EXPECT_EQ(pwrite(memory, file.data(), file.size(), 0), static_cast<ssize_t>(file.size()));
  TIFF* const in = TIFFFdOpen(memory, "coded", "r");
  Bytes decoded((columns + 7) / 8 * rows), packed = decoded, black = src;
  EXPECT_EQ(TIFFReadEncodedStrip(in, 0, decoded.data(), -1), static_cast<tmsize_t>(decoded.size()));
  TIFFClose(in);
  for (std::uint8_t& p : black) p ^= 0xFF;
  coder.convertImageTo1Bit(black.data(), packed.data(), &size, columns, rows);
  EXPECT_TRUE(decoded == packed && size == packed.size()) << width << " x " << rows;
  return want;
}

TEST(Group4, coder_is_its_steps_and_decodes) {
  EXPECT_EQ(code(Bytes(16, 255), 8), (Bytes{0xC0, 0x04, 0x00, 0x40}));  // 1 1 and the end of the block
  for (unsigned i = 0; i < 600; ++i) {
    const unsigned width = 1 + i % 97 * (i % 7), n = width * (1 + i % 13);
    code(runs(n, i, 1 + i % 5 * (i % 11)), static_cast<int>(width));
    Bytes grey = noise(n, i);  // the steps define what becomes of other bytes
    for (std::uint8_t& p : grey) p = static_cast<std::uint8_t>(i % 2 == 0 ? p & 3 : p % 3 == 0 ? 255 : p % 5);
    code(grey, static_cast<int>(width), false);
  }
  for (std::size_t run = 0; run < 2 * 2701; ++run) {  // white ones and black ones
    Bytes row(5400, run <= 2700 ? 0 : 255);
    std::fill_n(row.begin(), run % 2701, static_cast<std::uint8_t>(~row[0]));
    code(row, 5400);
  }
}
