// Verification of a TIFF's structure before any of its offsets is followed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace zel {

// What is wrong with a file, in the order in which it is looked for.
enum class TiffFault {
  none,
  no_header,          // less than 8 bytes
  byte_order,         // number: what stands there
  version,            // number: what stands there
  directory_outside,  // offset: the directory's
  entries_outside,    // offset: the directory's, number: its entries
  too_many_entries,   // offset: the directory's, number: its entries
  value_outside,      // offset: the value's, number: its bytes, tag
  values_too_large,   // offset: the entry's, tag. All values together are larger than the file
};

// A directory entry and the place of its value: bytes is 0 for an unknown type.
struct TiffPlace {
  std::uint16_t id;
  std::uint16_t type;
  std::uint32_t count;
  std::uint64_t offset;
  std::uint64_t bytes;
};

struct TiffCheck {
  TiffFault fault = TiffFault::none;
  std::uint64_t offset = 0;
  std::uint64_t number = 0;
  std::uint16_t tag = 0;
  std::vector<TiffPlace> entries;  // in file order; all of them when there is no fault
};

// Looks at header and first directory of a little-endian TIFF. Without a fault every place is inside the file, and all
// values together are not larger than it, so that copies of them cannot exhaust memory. Throws std::bad_alloc.
TiffCheck check_tiff(std::span<const std::byte> file, std::uint32_t max_entries);

}  // namespace zel
