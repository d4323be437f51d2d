// Module FontAPI, for the modules beside it: the arithmetic of templates and their records, without an object.
//
// The two images of a template are blocks of bytes of one size, each a DIB as far as its bytes go. Rows count as they
// lie: images of different heights have their first rows, the lowest of the picture, in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "Dibapi.hpp"

namespace zel {

inline constexpr int kMostSlots = 128;

// What a font file has in front of the two images of a template.
struct FontRecord {
  static constexpr std::size_t kBytes = 18;

  std::uint32_t width;
  std::int32_t height;
  std::uint32_t code;
  std::uint16_t samples;
  std::uint32_t size;  // of each image
};

FontRecord read_record(const unsigned char* bytes);
void write_record(const FontRecord& record, unsigned char* bytes);

// The facts of a DIB that has so many bytes at most; none for null and where they end within the header.
std::optional<DibFacts> facts_within(const unsigned char* dib, std::uint64_t bytes);

// The pixels of such a DIB, a byte each. Empty without columns, with rows from top to bottom or none, and where the
// pixels are not all within the bytes: images of fewer bits are not.
MutableView pixels_within(unsigned char* dib, std::uint64_t bytes);

// Its bytes from the first pixel on.
std::span<std::uint8_t> tail_within(unsigned char* dib, std::uint64_t bytes);

// mean, of n samples, takes in one more, over the pixels that both have.
void train_mean(MutableView mean, ConstView sample, std::uint32_t n);

// Over the same pixels the deviation takes in how far the sample lies from the mean, which has it already. variance:
// from the first pixel on, rows as far apart as those of the mean; pixels beyond its end are left out.
void train_variance(ConstView mean, ConstView sample, std::span<std::uint8_t> variance, std::uint32_t n);

// The colour table that shows deviations.
void enter_false_colours(std::span<std::uint8_t> palette, std::size_t entry_bytes);

}  // namespace zel
