// The checked interface: errors, inspection and descrambling.

#include <ZelIMP.hpp>

#include <algorithm>

#include "checked/scan_input.hpp"
#include "checked/tiff_check.hpp"
#include "descramble.hpp"
#include "tiff_tags.hpp"

namespace zelimp {

using namespace detail;

namespace {

std::string with_place(const std::string& sentence, std::optional<std::uint64_t> offset,
                       std::optional<std::uint16_t> tag) {
  if (!offset && !tag) return sentence;
  std::string place;
  if (tag) place = "tag " + std::to_string(*tag);
  if (offset) place += (place.empty() ? "" : ", ") + ("offset " + std::to_string(*offset));
  return sentence + " (" + place + ")";
}

// Why the library would not process the image whose tags have been loaded.
std::optional<Error> find_obstacle(const TiffImage& image, std::uint64_t file_bytes) {
  using namespace zel::tags;
  if (!zel::has_known_maker(image)) return Error(Status::not_loaded, "the Make value is not the device's", {}, kMake);
  if (image.stripOffsets.empty() || image.stripByteCounts.empty()) {
    return Error(Status::not_loaded, "the image data cannot be found without this tag", {},
                 image.stripOffsets.empty() ? kStripOffsets : kStripByteCounts);
  }
  if (!zel::has_one_strip(image)) {
    return Error(Status::not_loaded, "the image data is not in one strip", {}, kStripOffsets);
  }
  const std::optional<zel::Kind> kind = zel::supported_kind(image);
  if (!kind) {
    return Error(Status::unsupported, "the image has " + std::to_string(image.bitDepth) +
                                          " bits a pixel and compression " + std::to_string(image.compression) +
                                          "; supported are 8 and 24 bits without compression");
  }
  if (image.width == 0 || image.height == 0) {
    return Error(Status::not_loaded, "the image has no width or no height", {},
                 image.width == 0 ? kImageWidth : kImageLength);
  }
  const unsigned int strip_bytes = image.stripByteCounts[0];
  const unsigned int strip_offset = image.stripOffsets[0];
  if (!zel::has_whole_strip(image, *kind, strip_bytes)) {
    return Error(Status::not_loaded,
                 "the strip of " + std::to_string(strip_bytes) + " bytes is too short for " +
                     std::to_string(image.width) + " x " + std::to_string(image.height) + " pixels",
                 {}, kStripByteCounts);
  }
  if (strip_offset > file_bytes || strip_bytes > file_bytes - strip_offset) {
    return Error(Status::not_loaded,
                 "the strip of " + std::to_string(strip_bytes) + " bytes lies outside the file of " +
                     std::to_string(file_bytes) + " bytes",
                 strip_offset, kStripOffsets);
  }
  return std::nullopt;
}

// The tables as the descrambling steps take them, long enough for the scan.
zel::LevelTables checked_tables(const Scan& scan, const DescrambleOptions& options, zel::ReadoutLayout layout) {
  if (options.white.empty() && options.black.empty()) return {};
  const bool colour = kind_of(scan) == zel::Kind::colour;
  const std::size_t planes = colour ? 3 : 1;
  const std::uint64_t needed = zel::level_entries(scan.height, scan.width, colour, layout);
  if (options.white.size() % planes != 0) bad_argument("the white table does not hold three planes of the same length");
  const std::size_t white_entries = options.white.size() / planes;
  if (white_entries < needed || options.black.size() < needed) {
    bad_argument("the level tables are too short: white has " + std::to_string(white_entries) + " entries" +
                 (colour ? " a plane" : "") + ", black " + std::to_string(options.black.size()) + ", the scan needs " +
                 std::to_string(needed));
  }
  zel::LevelTables tables;
  for (std::size_t p = 0; p < planes; ++p) tables.white[p] = options.white.data() + p * white_entries;
  tables.black = options.black.data();
  return tables;
}

// Rows that descrambling leaves; at least one.
std::uint32_t checked_rows(const Scan& scan, const DescrambleOptions& options) {
  if (options.halve != 0 && kind_of(scan) == zel::Kind::colour) bad_argument("only grey scans can be halved");
  const std::uint32_t rows = zel::descrambled_rows(scan.height, options.lag, options.halve != 0);
  if (rows == 0) {
    bad_argument("a lag of " + std::to_string(options.lag) + " leaves no rows of " + std::to_string(scan.height) +
                 (options.halve != 0 ? " when halving" : ""));
  }
  return rows;
}

}  // namespace

Error::Error(Status status, const std::string& sentence, std::optional<std::uint64_t> offset,
             std::optional<std::uint16_t> tag)
    : std::runtime_error(with_place(sentence, offset, tag)), status_(status), offset_(offset), tag_(tag) {}

Scan inspect(std::span<const std::byte> tiff, const Limits& limits) {
  Scan scan;
  scan.tags = detail::checked_tags(tiff, limits);
  zel::LocalImage image;
  image.loadTagsAndHeader(file_of(tiff));
  scan.width = image.width;
  scan.height = image.height;
  scan.bit_depth = image.bitDepth;
  scan.compression = image.compression;
  scan.photometric = image.photometric;
  scan.x_resolution = image.xResolution;
  scan.y_resolution = image.yResolution;
  scan.make = image.makeString;
  scan.model = image.modelString;
  scan.description = image.descriptionString;
  scan.software = image.softwareString;
  scan.from_device = zel::has_known_maker(image);
  if (std::uint64_t{scan.width} * scan.height > limits.max_pixels) {
    throw Error(Status::over_limit, "the image has " + std::to_string(scan.width) + " x " +
                                        std::to_string(scan.height) + " pixels, more than the limit of " +
                                        std::to_string(limits.max_pixels));
  }
  scan.obstacle = find_obstacle(image, tiff.size());
  if (!scan.obstacle) {
    const std::size_t bytes = std::size_t{scan.width} * scan.height * zel::samples_of(kind_of(scan));
    scan.pixels = tiff.subspan(image.stripOffsets[0], bytes);
  }
  return scan;
}

Scan read_scan(std::span<const std::byte> tiff, const Limits& limits) {
  Scan scan = inspect(tiff, limits);
  if (scan.obstacle) throw *scan.obstacle;
  return scan;
}

std::vector<std::byte> descramble(std::span<const std::byte> tiff, const DescrambleOptions& options,
                                  const Limits& limits) {
  const Scan scan = read_scan(tiff, limits);
  const zel::ReadoutLayout layout = {options.swap_sides, options.tarsis_7200};
  const std::uint32_t rows = checked_rows(scan, options);
  const zel::LevelTables tables = checked_tables(scan, options, layout);

  zel::LocalImage image;
  load(image, tiff);
  // The pixels go where the file wants them. They start as zeros, which is what remains of samples no channel writes.
  const std::size_t header_bytes = image.header->getHeaderSize();
  std::vector<std::byte> result = room_for(std::uint64_t{header_bytes} + scan.pixels.size());
  auto* const file = reinterpret_cast<unsigned char*>(result.data());
  const zel::Readout readout = {image.image, file + header_bytes, scan.height, scan.width};
  if (kind_of(scan) == zel::Kind::grey) {
    zel::descramble_grey(readout, options.lag, layout, tables, zel::line_choice(options.halve));
  } else {
    zel::descramble_colour(readout, options.lag, layout, tables, zel::PlaneWalk::last_to_first);
  }
  zel::set_rows(image, rows, zel::samples_of(kind_of(scan)));
  image.saveTagsAndHeader(file);
  result.resize(header_bytes + image.imageSize);
  return result;
}

const char* version() noexcept { return ZELIMP_VERSION; }

}  // namespace zelimp
