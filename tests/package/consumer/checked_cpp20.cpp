// A host of the checked interface: an Error caught by its type outside the library that throws it.
#include <ZelIMP.hpp>
#include <array>
#include <cstdio>
#include <string_view>

int main() {
  constexpr std::array<char, 8> kBigEndian = {'M', 'M', 0, 42, 0, 0, 0, 8};
  try {
    zelimp::process_scan(std::as_bytes(std::span(kBigEndian)), {.format = zelimp::Format::one_bit});
  } catch (const zelimp::Error& error) {
    const bool told = error.status() == zelimp::Status::not_loaded && error.offset() == 0u && *error.what() != '\0';
    return told && std::string_view(zelimp::version()).starts_with("1.") ? 0 : 1;
  }
  std::puts("a big-endian file was processed");
  return 1;
}
