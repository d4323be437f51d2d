// What the checked services share: scans that were verified, and how their bytes meet the image object.
#pragma once

#include <ZelIMP.hpp>
#include <new>
#include <string>

#include "TiffImage.hpp"
#include "ZelIMP_pipeline.hpp"

namespace zelimp::detail {

// The image object takes its file without const, although it only reads it here.
inline unsigned char* file_of(std::span<const std::byte> tiff) {
  return const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(tiff.data()));
}

// Loads a scan that has no obstacle, so that only memory can be missing.
inline void load(TiffImage& image, std::span<const std::byte> tiff) {
  if (image.load(file_of(tiff)) != 0) throw std::bad_alloc();
}

// Room for a result; std::bad_alloc where it is more than a vector holds.
inline std::vector<std::byte> room_for(std::uint64_t bytes) {
  if (bytes > std::vector<std::byte>().max_size()) throw std::bad_alloc();
  return std::vector<std::byte>(static_cast<std::size_t>(bytes));
}

inline unsigned char* bytes_of(std::vector<std::byte>& result) {
  return reinterpret_cast<unsigned char*>(result.data());
}

inline zel::Kind kind_of(const Scan& scan) { return scan.bit_depth == 8 ? zel::Kind::grey : zel::Kind::colour; }

[[noreturn]] inline void bad_argument(const std::string& sentence) { throw Error(Status::bad_argument, sentence); }

}  // namespace zelimp::detail
