// The templates of a font, for the services that compare with them.
#pragma once

#include <ZelIMP.hpp>

namespace zelimp {

// The images as in the file: DIBs that have been checked, of one size.
struct Font::Slot {
  std::uint32_t width;  // of the first sample, as the record says
  std::int32_t height;
  std::uint32_t code;
  std::uint16_t samples;
  std::vector<std::byte> mean, variance;
};

struct detail::FontSlots {
  static std::span<const Font::Slot> of(const Font& font) { return font.slots_; }
};

}  // namespace zelimp
