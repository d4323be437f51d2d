#include "checked/tiff_check.hpp"

#include <algorithm>

#include "tiff_structure.hpp"

namespace zelimp::detail {
namespace {

// Ceilings of the limits. A result has at most the entries, the values and the strip of its input, the last two each as
// large as the file: within these its size, and every offset in it, fits 32 bits. One tag may be added.
constexpr std::uint64_t kMostBytes = 0x7FF00000;
constexpr std::uint32_t kMostTags = 65534;

[[noreturn]] void fail(const zel::TiffCheck& check, std::uint64_t file_bytes, std::uint32_t max_tags) {
  const std::string size = std::to_string(file_bytes), number = std::to_string(check.number);
  switch (check.fault) {
    case zel::TiffFault::none:
      break;
    case zel::TiffFault::no_header:
      throw Error(Status::not_loaded, "the file has " + size + " bytes and no TIFF header");
    case zel::TiffFault::byte_order:
      throw Error(Status::not_loaded, "the file is not a little-endian TIFF: it does not begin with \"II\"",
                  check.offset);
    case zel::TiffFault::version:
      throw Error(Status::not_loaded, "the file is not a TIFF: its version is " + number + ", not 42", check.offset);
    case zel::TiffFault::directory_outside:
      throw Error(Status::not_loaded, "the directory lies outside the file of " + size + " bytes", check.offset);
    case zel::TiffFault::entries_outside:
      throw Error(Status::not_loaded, "the directory of " + number + " tags ends outside the file", check.offset);
    case zel::TiffFault::too_many_entries:
      throw Error(Status::over_limit,
                  "the directory has " + number + " tags, more than the limit of " + std::to_string(max_tags),
                  check.offset);
    case zel::TiffFault::value_outside:
      throw Error(Status::not_loaded,
                  "the value of a tag, " + number + " bytes, lies outside the file of " + size + " bytes", check.offset,
                  check.tag);
    case zel::TiffFault::values_too_large:
      throw Error(Status::not_loaded, "the values of the tags are larger than the file together", check.offset,
                  check.tag);
  }
  __builtin_unreachable();
}

}  // namespace

std::vector<Tag> checked_tags(std::span<const std::byte> tiff, const Limits& limits) {
  const std::uint64_t max_bytes = std::min(limits.max_bytes, kMostBytes);
  if (tiff.size() > max_bytes) {
    throw Error(Status::over_limit, "the file has " + std::to_string(tiff.size()) + " bytes, more than the limit of " +
                                        std::to_string(max_bytes));
  }
  const std::uint32_t max_tags = std::min(limits.max_tags, kMostTags);
  const zel::TiffCheck check = zel::check_tiff(tiff, max_tags);
  if (check.fault != zel::TiffFault::none) fail(check, tiff.size(), max_tags);
  std::vector<Tag> tags;
  tags.reserve(check.entries.size());
  for (const zel::TiffPlace& place : check.entries) {
    Tag tag = {place.id, place.type, place.count, place.offset, {}};
    if (place.bytes != 0) {
      tag.value = tiff.subspan(static_cast<std::size_t>(place.offset), static_cast<std::size_t>(place.bytes));
    }
    tags.push_back(tag);
  }
  return tags;
}

}  // namespace zelimp::detail
