// What the services share that are given DIBs, or whole bitmap files.
#pragma once

#include <ZelIMP.hpp>

#include "Dibapi.hpp"

namespace zelimp::detail {

// The image whose header, colour table and rows all lie within the bytes, which are only read. name: for the sentence
// of the Error when there is none.
zel::GreyDib checked_dib(std::span<const std::byte> bytes, const char* name, const Limits& limits);

}  // namespace zelimp::detail
