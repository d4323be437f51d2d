// Between flat_field and its vector variants: the correction of a row, once the levels are prepared.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/image_view.hpp"

namespace zel::kern {

// Sets n samples to min(max(sample - black, 0) * gain, 255), the product toward zero; none exceeds 2^16.
using FlatFieldRow = void(std::uint8_t* row, std::size_t n, const float* black, const float* gain);
FlatFieldRow flat_field_row;

// flat_field with correct for its rows.
void flat_field_by(FlatFieldRow* correct, MutableView image, std::span<const std::uint16_t> white,
                   std::span<const std::uint16_t> black);

}  // namespace zel::kern
