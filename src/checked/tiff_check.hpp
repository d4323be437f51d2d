// The structure of a TIFF, verified, in the terms of the checked interface.
#pragma once

#include <ZelIMP.hpp>

namespace zelimp::detail {

// Directory entries of a little-endian TIFF with the places of their values. Every place is inside the bytes, and all
// values together are not larger than the file, so that copies of them cannot exhaust memory. Throws Error: not_loaded,
// or over_limit for bytes and tags.
std::vector<Tag> checked_tags(std::span<const std::byte> tiff, const Limits& limits);

}  // namespace zelimp::detail
