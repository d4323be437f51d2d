// What tests of the checked interface share: files as its input, and the Error that a call throws.
#pragma once

#include <ZelIMP.hpp>
#include <functional>

#include "support/tiff_builder.hpp"

namespace zel::test {

inline std::span<const std::byte> as_input(std::span<const std::uint8_t> file) { return std::as_bytes(file); }

// Status 0 when call throws none.
inline zelimp::Error refusal(const std::function<void()>& call) {
  try {
    call();
  } catch (const zelimp::Error& error) {
    return error;
  }
  return {zelimp::Status{0}, "accepted"};
}

}  // namespace zel::test
