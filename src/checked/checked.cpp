// The checked interface: verify, then take the same steps as the flat one.

#include <ZelIMP.hpp>

#include <algorithm>
#include <new>

#include "TiffImage.hpp"
#include "ZelIMP_pipeline.hpp"
#include "checked/tiff_check.hpp"
#include "descramble.hpp"
#include "tiff_tags.hpp"

namespace zelimp {
namespace {

std::string with_place(const std::string& sentence, std::optional<std::uint64_t> offset,
                       std::optional<std::uint16_t> tag) {
  if (!offset && !tag) return sentence;
  std::string place;
  if (tag) place = "tag " + std::to_string(*tag);
  if (offset) place += (place.empty() ? "" : ", ") + ("offset " + std::to_string(*offset));
  return sentence + " (" + place + ")";
}

// The image object takes its file without const, although it only reads it here.
unsigned char* file_of(std::span<const std::byte> tiff) {
  return const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(tiff.data()));
}

// Loads a scan that has no obstacle, so that only memory can be missing.
void load(TiffImage& image, std::span<const std::byte> tiff) {
  if (image.load(file_of(tiff)) != 0) throw std::bad_alloc();
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

// Room for a result; std::bad_alloc where it is more than a vector holds.
std::vector<std::byte> room_for(std::uint64_t bytes) {
  if (bytes > std::vector<std::byte>().max_size()) throw std::bad_alloc();
  return std::vector<std::byte>(static_cast<std::size_t>(bytes));
}

zel::Kind kind_of(const Scan& scan) { return scan.bit_depth == 8 ? zel::Kind::grey : zel::Kind::colour; }

[[noreturn]] void bad_argument(const std::string& sentence) { throw Error(Status::bad_argument, sentence); }

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

zel::PipelineRequest checked_request(const Scan& scan, const ProcessOptions& options) {
  const bool grey = kind_of(scan) == zel::Kind::grey;
  zel::PipelineRequest request;
  switch (options.format) {
    case Format::group4:
      request.format = zel::kFormatGroup4;
      break;
    case Format::one_bit:
      request.format = zel::kFormatOneBit;
      break;
    case Format::tiff:
      request.format = grey ? zel::kFormatGreyTiff : zel::kFormatColourTiff;
      break;
    case Format::bitmap:
      request.format = zel::kFormatBitmap;
      break;
    default:
      bad_argument("the format is not one of those listed");
  }
  if (!zel::has_format(kind_of(scan), request.format) || (!grey && options.format == Format::bitmap)) {
    throw Error(Status::no_such_format, "this format is for 8-bit grey scans and the scan is 24-bit colour");
  }
  switch (options.side) {
    case Side::both:
      break;
    case Side::front:
      request.side = zel::kLeftHalf;
      break;
    case Side::rear:
      request.side = zel::kRightHalf;
      break;
    case Side::flip_front:
      request.side = zel::kFlipLeftHalf;
      break;
    default:
      bad_argument("the side is not one of those listed");
  }
  if (options.side != Side::both && scan.width < 2) bad_argument("a scan one pixel wide has no two faces");
  switch (options.rotation) {
    case Rotation::none:
      break;
    case Rotation::clockwise:
      request.rotation = zel::kClockwise;
      break;
    case Rotation::counter_clockwise:
      request.rotation = zel::kCounterClockwise;
      break;
    default:
      bad_argument("the rotation is not one of those listed");
  }
  if (options.threshold) {
    if (*options.threshold < 0 || *options.threshold > 256) bad_argument("the threshold is not from 0 to 256");
    request.threshold_mode = 1;
    request.level = *options.threshold;
  }
  request.turn_pixels_in_place = false;
  return request;
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

std::vector<std::byte> process_scan(std::span<const std::byte> tiff, const ProcessOptions& options,
                                    ProcessReport* report, const Limits& limits) {
  const Scan scan = read_scan(tiff, limits);
  zel::PipelineRequest request = checked_request(scan, options);
  CROP_PARAM crop_params = {};
  request.crop_params = &crop_params;

  zel::LocalImage image;
  load(image, tiff);
  zel::PipelineRun run(image, kind_of(scan), request);
  run.run();
  std::vector<std::byte> result = room_for(zel::output_bytes(image, kind_of(scan), request.format));
  unsigned int size = 0;
  zel::write_output(image, kind_of(scan), request.format, reinterpret_cast<unsigned char*>(result.data()), &size);

  if (report != nullptr) {
    *report = {image.width, image.height, image.bitDepth, std::nullopt};
    if (const zel::ConstView bilevel = run.bilevel(); !bilevel.empty()) {
      const std::uint8_t* const pixels = bilevel.row_ptr(0);
      const std::size_t n = bilevel.width() * bilevel.height();
      report->black_share = static_cast<double>(std::count(pixels, pixels + n, 0)) / static_cast<double>(n);
    }
  }
  return result;
}

const char* version() noexcept { return ZELIMP_VERSION; }

}  // namespace zelimp
