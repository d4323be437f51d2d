#include "tiff_structure.hpp"

#include "TiffTag.hpp"
#include "base/bytes.hpp"
#include "tiff_tags.hpp"

namespace zel {
namespace {

constexpr std::uint64_t kHeaderBytes = 8;
constexpr std::uint64_t kEntryBytes = 12;

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

 private:
  std::span<const std::byte> bytes_;
};

TiffPlace place_of(const Bytes& file, std::uint64_t entry) {
  TiffPlace place;
  place.id = load_u16(file.at(entry));
  place.type = load_u16(file.at(entry + 2));
  place.count = load_u32(file.at(entry + 4));
  place.bytes = tiff_value_bytes(place.type, place.count);
  const bool in_entry = tiff_value_is_inline(place.type, place.count);
  place.offset = in_entry ? entry + 8 : load_u32(file.at(entry + 8));
  return place;
}

// Fills check.entries as far as they are in order.
void check_entries(const Bytes& file, std::uint64_t directory, std::uint64_t count, TiffCheck& check) {
  check.entries.reserve(static_cast<std::size_t>(count));
  std::uint64_t value_bytes = 0;
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::uint64_t entry = directory + 2 + i * kEntryBytes;
    const TiffPlace place = place_of(file, entry);
    check.tag = place.id;
    if (place.bytes != 0 && !file.holds(place.offset, place.bytes)) {
      check.fault = TiffFault::value_outside;
      check.offset = place.offset;
      check.number = place.bytes;
      return;
    }
    value_bytes += place.bytes;
    if (value_bytes > file.size()) {
      check.fault = TiffFault::values_too_large;
      check.offset = entry;
      return;
    }
    check.entries.push_back(place);
  }
}

}  // namespace

TiffCheck check_tiff(std::span<const std::byte> bytes, std::uint32_t max_entries) {
  const Bytes file(bytes);
  TiffCheck check;
  const auto failed = [&check](TiffFault fault, std::uint64_t offset, std::uint64_t number) {
    check.fault = fault;
    check.offset = offset;
    check.number = number;
    return check;
  };
  if (file.size() < kHeaderBytes) return failed(TiffFault::no_header, 0, 0);
  const std::uint64_t byte_order = load_u16(file.at(0));
  if (byte_order != tags::kByteOrder) return failed(TiffFault::byte_order, 0, byte_order);
  const std::uint64_t version = load_u16(file.at(2));
  if (version != tags::kVersion) return failed(TiffFault::version, 2, version);
  const std::uint64_t directory = load_u32(file.at(4));
  if (!file.holds(directory, 2)) return failed(TiffFault::directory_outside, directory, 0);
  const std::uint64_t count = load_u16(file.at(directory));
  if (!file.holds(directory + 2, count * kEntryBytes)) return failed(TiffFault::entries_outside, directory, count);
  if (count > max_entries) return failed(TiffFault::too_many_entries, directory, count);
  check_entries(file, directory, count, check);
  return check;
}

}  // namespace zel
