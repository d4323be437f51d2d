// Numbers of TIFF 6.0 that the library uses.
#pragma once

#include <cstdint>

namespace zel::tags {

inline constexpr std::uint16_t kByteOrder = 0x4949;  // "II"
inline constexpr std::uint16_t kVersion = 42;

inline constexpr std::uint16_t kImageWidth = 256;
inline constexpr std::uint16_t kImageLength = 257;
inline constexpr std::uint16_t kBitsPerSample = 258;
inline constexpr std::uint16_t kCompression = 259;
inline constexpr std::uint16_t kPhotometric = 262;
inline constexpr std::uint16_t kDescription = 270;
inline constexpr std::uint16_t kMake = 271;
inline constexpr std::uint16_t kModel = 272;
inline constexpr std::uint16_t kStripOffsets = 273;
inline constexpr std::uint16_t kRowsPerStrip = 278;
inline constexpr std::uint16_t kStripByteCounts = 279;
inline constexpr std::uint16_t kXResolution = 282;
inline constexpr std::uint16_t kYResolution = 283;
inline constexpr std::uint16_t kT6Options = 293;
inline constexpr std::uint16_t kSoftware = 305;

// Field types.
inline constexpr std::uint16_t kAscii = 2;
inline constexpr std::uint16_t kShort = 3;
inline constexpr std::uint16_t kLong = 4;

// Values.
inline constexpr std::uint16_t kUncompressed = 1;
inline constexpr std::uint16_t kGroup4 = 4;
inline constexpr std::uint16_t kWhiteIsZero = 0;

}  // namespace zel::tags
