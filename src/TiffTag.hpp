// Value sizes of TIFF field types, shared by the tag reader and the checks that precede it.
#pragma once

#include <cstdint>

namespace zel {

// Bytes of one value of a field type (TIFF 6.0, section 2), 0 for an unknown type.
unsigned int tiff_type_size(unsigned int type);

// Bytes of count values.
std::uint64_t tiff_value_bytes(unsigned int type, std::uint32_t count);

// Whether the reader takes the value from the entry itself. Types of 8 bytes never are inline, also with a count of 0;
// unknown types always.
bool tiff_value_is_inline(unsigned int type, std::uint32_t count);

}  // namespace zel
