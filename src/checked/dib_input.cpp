// The checked interface: images given as DIBs.

#include "checked/dib_input.hpp"

#include <cstdlib>

#include "base/bytes.hpp"
#include "checked/scan_input.hpp"

namespace zelimp {

using namespace detail;

namespace {

[[noreturn]] void refuse(Status status, const char* name, const std::string& what) {
  throw Error(status, "the " + std::string(name) + " image " + what);
}

std::span<const std::byte> without_file_header(std::span<const std::byte> bytes, const char* name) {
  if (bytes.size() < 2 || zel::load_u16(file_of(bytes)) != 19778) return bytes;
  if (bytes.size() < zel::kFileHeader + zel::kCoreHeader) refuse(Status::not_loaded, name, "ends within its header");
  return bytes.subspan(zel::kFileHeader);
}

}  // namespace

zel::GreyDib detail::checked_dib(std::span<const std::byte> bytes, const char* name, const Limits& limits) {
  if (bytes.size() > limits.max_bytes) refuse(Status::over_limit, name, "has more bytes than the limit");
  const std::span<const std::byte> dib = without_file_header(bytes, name);
  if (dib.size() < zel::kCoreHeader) refuse(Status::not_loaded, name, "ends within its header");
  const std::uint32_t header = zel::load_u32(file_of(dib));
  if (header != zel::kInfoHeader && header != zel::kCoreHeader) {
    refuse(Status::unsupported, name, "has a header of " + std::to_string(header) + " bytes, not 40 or 12");
  }
  if (dib.size() < header) refuse(Status::not_loaded, name, "ends within its header");
  const zel::DibFacts facts = zel::dib_facts(file_of(dib));
  if (facts.bits != 8 || facts.compression != 0) {
    refuse(Status::unsupported, name,
           "has " + std::to_string(facts.bits) + " bits a pixel and compression " + std::to_string(facts.compression) +
               "; supported are 8 without");
  }
  if (facts.width < 1 || facts.height == 0) refuse(Status::not_loaded, name, "has no width or no height");
  const auto rows = static_cast<std::uint64_t>(std::abs(std::int64_t{facts.height}));
  if (static_cast<std::uint64_t>(facts.width) * rows > limits.max_pixels) {
    refuse(Status::over_limit, name, "has more pixels than the limit");
  }
  if (header == zel::kInfoHeader && zel::load_u32(file_of(dib) + 32) > 256) {
    refuse(Status::not_loaded, name, "has more than 256 colours");
  }
  const bool is_file = dib.size() != bytes.size();
  if (is_file && zel::load_u32(file_of(bytes) + 10) != zel::kFileHeader + facts.pixels_at()) {
    refuse(Status::not_loaded, name, "does not have its rows behind its colour table");
  }
  const auto image = zel::grey_dib(file_of(dib));
  if (zel::dib_bytes(facts) > dib.size() || !image) {
    refuse(Status::not_loaded, name, "has " + std::to_string(dib.size()) + " bytes, its header tells of more");
  }
  return *image;
}

}  // namespace zelimp
