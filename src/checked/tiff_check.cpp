#include "checked/tiff_check.hpp"

#include <algorithm>

#include "TiffTag.hpp"
#include "base/bytes.hpp"
#include "tiff_tags.hpp"

namespace zelimp::detail {
namespace {

constexpr std::uint64_t kHeaderBytes = 8;
constexpr std::uint64_t kEntryBytes = 12;

// Ceilings of the limits. A result has at most the entries, the values and the strip of its input, the last two each as
// large as the file: within these its size, and every offset in it, fits 32 bits. One tag may be added.
constexpr std::uint64_t kMostBytes = 0x7FF00000;
constexpr std::uint32_t kMostTags = 65534;

// The bytes of a file with bounds: whoever reads has asked before.
class Bytes {
 public:
  explicit Bytes(std::span<const std::byte> bytes) : bytes_(bytes) {}
  std::uint64_t size() const { return bytes_.size(); }
  bool holds(std::uint64_t offset, std::uint64_t size) const {
    return offset <= bytes_.size() && size <= bytes_.size() - offset;
  }
  const std::uint8_t* at(std::uint64_t offset) const {
    return reinterpret_cast<const std::uint8_t*>(bytes_.data()) + offset;
  }
  std::span<const std::byte> part(std::uint64_t offset, std::uint64_t size) const {
    return bytes_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
  }

 private:
  std::span<const std::byte> bytes_;
};

Tag checked_tag(const Bytes& file, std::uint64_t entry) {
  Tag tag;
  tag.id = zel::load_u16(file.at(entry));
  tag.type = zel::load_u16(file.at(entry + 2));
  tag.count = zel::load_u32(file.at(entry + 4));
  const std::uint64_t size = zel::tiff_value_bytes(tag.type, tag.count);
  const bool in_entry = zel::tiff_value_is_inline(tag.type, tag.count);
  tag.offset = in_entry ? entry + 8 : zel::load_u32(file.at(entry + 8));
  if (size == 0) return tag;
  if (!file.holds(tag.offset, size)) {
    throw Error(Status::not_loaded,
                "the value of a tag, " + std::to_string(size) + " bytes, lies outside the file of " +
                    std::to_string(file.size()) + " bytes",
                tag.offset, tag.id);
  }
  tag.value = file.part(tag.offset, size);
  return tag;
}

}  // namespace

std::vector<Tag> checked_tags(std::span<const std::byte> tiff, const Limits& limits) {
  const Bytes file(tiff);
  const std::uint64_t max_bytes = std::min(limits.max_bytes, kMostBytes);
  if (file.size() > max_bytes) {
    throw Error(Status::over_limit, "the file has " + std::to_string(file.size()) + " bytes, more than the limit of " +
                                        std::to_string(max_bytes));
  }
  if (file.size() < kHeaderBytes) {
    throw Error(Status::not_loaded, "the file has " + std::to_string(file.size()) + " bytes and no TIFF header");
  }
  if (zel::load_u16(file.at(0)) != zel::tags::kByteOrder) {
    throw Error(Status::not_loaded, "the file is not a little-endian TIFF: it does not begin with \"II\"", 0);
  }
  if (zel::load_u16(file.at(2)) != zel::tags::kVersion) {
    throw Error(Status::not_loaded,
                "the file is not a TIFF: its version is " + std::to_string(zel::load_u16(file.at(2))) + ", not 42", 2);
  }
  const std::uint64_t directory = zel::load_u32(file.at(4));
  if (!file.holds(directory, 2)) {
    throw Error(Status::not_loaded, "the directory lies outside the file of " + std::to_string(file.size()) + " bytes",
                directory);
  }
  const std::uint64_t count = zel::load_u16(file.at(directory));
  if (!file.holds(directory + 2, count * kEntryBytes)) {
    throw Error(Status::not_loaded, "the directory of " + std::to_string(count) + " tags ends outside the file",
                directory);
  }
  const std::uint32_t max_tags = std::min(limits.max_tags, kMostTags);
  if (count > max_tags) {
    throw Error(
        Status::over_limit,
        "the directory has " + std::to_string(count) + " tags, more than the limit of " + std::to_string(max_tags),
        directory);
  }
  std::vector<Tag> tags;
  tags.reserve(static_cast<std::size_t>(count));
  std::uint64_t value_bytes = 0;
  for (std::uint64_t i = 0; i < count; ++i) {
    tags.push_back(checked_tag(file, directory + 2 + i * kEntryBytes));
    value_bytes += tags.back().value.size();
    if (value_bytes > file.size()) {
      throw Error(Status::not_loaded, "the values of the tags are larger than the file together",
                  directory + 2 + i * kEntryBytes, tags.back().id);
    }
  }
  return tags;
}

}  // namespace zelimp::detail
