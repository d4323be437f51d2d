// The checked interface: what its calls share. C++20.
#ifndef ZELIMP_BASICS_HPP
#define ZELIMP_BASICS_HPP

#include <ZelIMP/export.h>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace zelimp {

// Why a call was refused. The first values are the status codes of the flat interface.
enum class Status {
  not_loaded = 1,      // not a scanner TIFF, or its bytes contradict each other
  unsupported = 2,     // neither 8-bit grey nor 24-bit colour, or not uncompressed
  no_such_format = 3,  // output format not available for this kind of input
  bad_argument = 16,   // an option is out of its range
  over_limit = 17,     // larger than the Limits of the call
};

class ZELIMP_API Error : public std::runtime_error {
 public:
  // sentence: what is wrong. offset, tag: where in the input, for those who want to look; what() names them too.
  Error(Status status, const std::string& sentence, std::optional<std::uint64_t> offset = {},
        std::optional<std::uint16_t> tag = {});
  Status status() const noexcept { return status_; }
  std::optional<std::uint64_t> offset() const noexcept { return offset_; }
  std::optional<std::uint16_t> tag() const noexcept { return tag_; }

 private:
  Status status_;
  std::optional<std::uint64_t> offset_;
  std::optional<std::uint16_t> tag_;
};

// What a call accepts at most. Whatever these say, files are limited to 2 GiB - 1 MiB and directories to 65534 tags, so
// that no size in a result leaves 32 bits. Working memory, the result included, is below 8 times the file's bytes, plus
// 16 of the image's rows or columns, whichever are longer, and 64 KiB.
struct Limits {
  std::uint64_t max_bytes = std::uint64_t{1} << 30;   // of the input file
  std::uint64_t max_pixels = std::uint64_t{1} << 28;  // width * height
  std::uint32_t max_tags = 1024;                      // directory entries
};

// A part of an image, in pixels of it.
struct Box {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

// Rows top to bottom without padding; of 8 bits a pixel unless a call says otherwise.
struct PixelView {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::span<const std::byte> pixels;  // width * height * bits / 8 bytes
};

struct Pixels {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::byte> pixels;
};

}  // namespace zelimp

#endif
