#include <ZelIMP/Group4Compression.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "base/image_view.hpp"
#include "kernels/bit_pack.hpp"
#include "kernels/g4_encode.hpp"
#include "kernels/t6_codes.hpp"

#if defined(__i386__)
static_assert(sizeof(Group4Code) == 28);
static_assert(sizeof(Group4Compression) == 6096);
static_assert(offsetof(Group4Compression, bitMode) == 6092);
#endif

namespace {

constexpr int kWhite = 255;

// A code word with one byte for each bit.
Group4Code spread(const zel::kern::CodeWord& code) {
  Group4Code spread_code = {};
  spread_code.length = code.length;
  for (int k = 0; k < code.length; ++k) {
    spread_code.bits[k] = (code.bits >> (code.length - 1 - k) & 1) != 0 ? 0xFF : 0x00;
  }
  return spread_code;
}

template <std::size_t n>
void spread_all(const std::array<zel::kern::CodeWord, n>& codes, Group4Code (&to)[n]) {
  std::transform(codes.begin(), codes.end(), to, spread);
}

void append(Group4Compression& coder, const Group4Code& code) {
  std::copy_n(code.bits, code.length, coder.output + coder.outputLength);
  coder.outputLength += static_cast<unsigned int>(code.length);
}

const unsigned char* row_of(const Group4Compression& coder, int row) {
  return coder.image + static_cast<std::ptrdiff_t>(row) * coder.width;
}

// First position right of start whose pixel is not colour.
int first_other(const Group4Compression& coder, int row, int start, int colour) {
  const unsigned char* const pixels = row_of(coder, row);
  int j = start + 1;
  while (j < coder.width && pixels[j] == colour) ++j;
  return std::min(j, coder.width);
}

int colour_at(const Group4Compression& coder, int row, int a0) { return a0 < 0 ? kWhite : row_of(coder, row)[a0]; }

void append_run(Group4Compression& coder, int run, bool white) {
  const Group4Code* const makeup = white ? coder.whiteMakeup : coder.blackMakeup;
  const Group4Code* const terminating = white ? coder.whiteTerminating : coder.blackTerminating;
  for (; run > zel::kern::kLongestRun; run -= zel::kern::kLongestMakeup) append(coder, makeup[39]);
  if (run >= 64) append(coder, makeup[run / 64 - 1]);
  append(coder, terminating[run % 64]);
}

int pack8(const unsigned char* bits, std::size_t available) {
  int byte = 0;
  for (std::size_t k = 0; k < std::min<std::size_t>(available, 8); ++k) {
    if (bits[k] >= 128) byte |= 0x80 >> k;
  }
  return byte;
}

}  // namespace

Group4Compression::Group4Compression() : image(nullptr), width(0), output(nullptr), outputLength(0), bitMode(8) {
  passCode = spread(zel::kern::kPass);
  spread_all(zel::kern::kVertical, verticalCodes);
  eofbCode = spread(zel::kern::kEofb);
  spread_all(zel::kern::kWhiteTerminating, whiteTerminating);
  spread_all(zel::kern::kBlackTerminating, blackTerminating);
  spread_all(zel::kern::kWhiteMakeup, whiteMakeup);
  spread_all(zel::kern::kBlackMakeup, blackMakeup);
}

void Group4Compression::compressImage(const unsigned char* src, unsigned char* dst, unsigned int* outSize,
                                      unsigned int pixelsPerRow, unsigned int height) {
  image = src;
  width = static_cast<int>(pixelsPerRow);
  output = dst;
  // The caller promises room for the coded bytes, of which the kernel writes no more than there are.
  const std::uint64_t most = 2 * std::uint64_t{pixelsPerRow} * height + height / 8 + 8;
  const auto room = static_cast<std::size_t>(std::min<std::uint64_t>(most, std::numeric_limits<std::size_t>::max()));
  outputLength =
      static_cast<unsigned int>(zel::kern::g4_encode(zel::ConstView(src, pixelsPerRow, height), {dst, room}));
  bitMode = 1;
  *outSize = outputLength;
}

void Group4Compression::convertImageTo1Bit(const unsigned char* src, unsigned char* dst, unsigned int* outSize,
                                           unsigned int pixelsPerRow, unsigned int height) {
  image = src;
  width = static_cast<int>(pixelsPerRow);
  output = dst;
  const std::size_t row_bytes = (std::size_t{pixelsPerRow} + 7) / 8;
  zel::kern::bit_pack(zel::ConstView(src, pixelsPerRow, height), zel::MutableView(dst, row_bytes, height));
  outputLength = static_cast<unsigned int>(height * row_bytes);
  bitMode = 1;
  *outSize = outputLength;
}

int Group4Compression::detectA1(int row, int a0) {
  if (a0 >= width) return width;
  return first_other(*this, row, a0, colour_at(*this, row, a0));
}

int Group4Compression::detectA2(int row, int a1) {
  if (a1 + 1 >= width) return width;
  return first_other(*this, row, a1, row_of(*this, row)[a1]);
}

int Group4Compression::detectB1(int row, int a0) {
  if (row == 0 || a0 >= width) return width;
  const unsigned char* const reference = row_of(*this, row - 1);
  const int colour = colour_at(*this, row, a0);
  int left = colour_at(*this, row - 1, a0);
  for (int j = a0 + 1; j < width; ++j) {
    if (reference[j] != colour && reference[j] != left) return j;
    left = reference[j];
  }
  return width;
}

int Group4Compression::detectB2(int row, int b1) {
  if (row == 0 || b1 >= width) return width;
  return first_other(*this, row - 1, b1, row_of(*this, row - 1)[b1]);
}

void Group4Compression::passModeCoding() { append(*this, passCode); }

void Group4Compression::verticalModeCoding(int d) {
  if (d >= -3 && d <= 3) append(*this, verticalCodes[d + 3]);
}

void Group4Compression::horizontalModeCoding(int row, int a0, int a1, int a2) {
  append(*this, spread(zel::kern::kHorizontal));
  const bool white = colour_at(*this, row, a0) == kWhite;
  append_run(*this, a0 < 0 ? a1 : a1 - a0, white);
  append_run(*this, a2 - a1, !white);
}

void Group4Compression::endOfFacsimileBlock() { append(*this, eofbCode); }

void Group4Compression::convertTo1Bit() {
  if (bitMode == 1) return;
  // In place: byte i needs the bit-bytes from 8 * i on, which no earlier byte has overwritten.
  const unsigned int size = outputLength / 8 + (outputLength % 8 != 0 ? 1 : 0);
  for (unsigned int i = 0; i < size; ++i)
    output[i] = static_cast<unsigned char>(convertByteToBit(static_cast<int>(8 * i)));
  outputLength = size;
  bitMode = 1;
}

int Group4Compression::convertByteToBit(int index) {
  const auto first = static_cast<unsigned int>(index);
  return pack8(output + first, first < outputLength ? outputLength - first : 0);
}

int Group4Compression::convertByteToBit2(unsigned char* buffer, int index) { return pack8(buffer + index, 8); }
