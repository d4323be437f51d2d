// Module HRFF, for the modules beside it: what a reading of both faces comes to, and the mirror image of a zone.
#pragma once

#include <cstdint>
#include <span>

#include "Dibapi.hpp"

namespace zel {

inline constexpr int kTextBytes = 128;    // room for the text of a line
inline constexpr int kResultBytes = 272;  // and for what both faces come to

// What became of a face; text is of 128 bytes and looked at when it was read.
enum class Reading { read, failed, missing };
struct FaceReading {
  Reading reading;
  const char* text;
};

// Result and status of ZelIMPValidateMH.
int compare_faces(const FaceReading& front, const FaceReading& rear, char* result);

// Columns x to x + out.size() - 1 of row r of a bottom-up image as ImageBox_Mirror would leave them.
void mirrored_row(const GreyDib& image, std::size_t r, std::size_t x, std::span<std::uint8_t> out);

}  // namespace zel
