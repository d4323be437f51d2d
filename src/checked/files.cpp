// The checked interface: scans and pixels written as other files.

#include <ZelIMP.hpp>

#include <cmath>

#include "ManageTIFF.hpp"
#include "ZelIMP_writers.hpp"
#include "checked/scan_input.hpp"

namespace zelimp {

using namespace detail;

namespace {

constexpr const char* kDeviceMaker = "Varnoke Industries, Inc";
constexpr double kMostResolution = 65535;

void check_text(const char* name, std::string_view text) {
  if (text.find('\0') != text.npos) bad_argument(std::string("the ") + name + " has a NUL character in it");
}

const char* text_or_null(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

std::vector<std::byte> written(const zel::PlainTiff& fields) {
  std::optional<std::vector<std::byte>> file = zel::plain_tiff_in_memory(fields);
  // The fields are ones that can be written: only memory can be missing.
  if (!file) throw std::bad_alloc();
  return std::move(*file);
}

void check_raw(const RawPixels& raw, const Limits& limits) {
  const std::uint64_t pixels = std::uint64_t{raw.width} * raw.height;
  if (raw.planes != 1 && raw.planes != 3) bad_argument("there are neither 1 nor 3 planes");
  if (pixels == 0) bad_argument("the image has no width or no height");
  if (pixels > limits.max_pixels || raw.pixels.size() > limits.max_bytes) {
    throw Error(Status::over_limit, "the image of " + std::to_string(raw.width) + " x " + std::to_string(raw.height) +
                                        " pixels is larger than the limits");
  }
  if (raw.pixels.size() != pixels * raw.planes) {
    bad_argument(std::to_string(raw.pixels.size()) + " bytes of pixels are given, " + std::to_string(raw.width) +
                 " x " + std::to_string(raw.height) + " pixels have " + std::to_string(pixels * raw.planes));
  }
  if (!(raw.resolution > 0 && raw.resolution <= kMostResolution)) {
    bad_argument("the resolution is not above 0 and up to 65535 dots per inch");
  }
  if (raw.model) check_text("model", *raw.model);
  if (raw.description) check_text("description", *raw.description);
  if (raw.software) check_text("software", *raw.software);
}

}  // namespace

std::vector<std::byte> load_bitmap(std::span<const std::byte> tiff, const Limits& limits) {
  const Scan scan = read_scan(tiff, limits);
  if (kind_of(scan) != zel::Kind::grey) throw Error(Status::unsupported, "only grey scans can become 8-bit bitmaps");
  zel::LocalImage image;
  load(image, tiff);
  std::vector<std::byte> result = room_for(zel::packed_dib_bytes(image));
  const std::size_t available = tiff.size() - static_cast<std::size_t>(image.image - file_of(tiff));
  zel::write_packed_dib(image, available, bytes_of(result));
  return result;
}

std::vector<std::byte> save_with_description(std::span<const std::byte> tiff, std::string_view description,
                                             const Limits& limits) {
  check_text("description", description);
  const Scan scan = read_scan(tiff, limits);
  const std::string text(description);
  zel::LocalImage image;
  load(image, tiff);
  return written({image.image, scan.pixels.size(), scan.width, scan.height, zel::samples_of(kind_of(scan)),
                  image.xResolution, image.yResolution, image.makeString, image.modelString, text.c_str(),
                  image.softwareString});
}

std::vector<std::byte> wrap_raw_pixels(const RawPixels& raw, const Limits& limits) {
  check_raw(raw, limits);
  return written({reinterpret_cast<const unsigned char*>(raw.pixels.data()), raw.pixels.size(), raw.width, raw.height,
                  raw.planes, raw.resolution, raw.resolution, kDeviceMaker, text_or_null(raw.model),
                  text_or_null(raw.description), text_or_null(raw.software)});
}

}  // namespace zelimp
