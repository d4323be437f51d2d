// ZelIMP, the checked interface. C++20.
//
// The same services as the flat interface, for bytes that nobody has looked at yet: input is a span, every offset,
// count and size in it is verified against the span before a byte is used, output is a vector, and what goes wrong is
// an Error with a sentence. No global is read or written, input is never changed, so calls may overlap freely in any
// number of threads.
//
//   zelimp::process_scan(zelimp::descramble(raw, {.lag = 8}), {.side = zelimp::Side::front})
//
// Besides Error, every function may throw std::bad_alloc.
#ifndef ZELIMP_HPP
#define ZELIMP_HPP

#include <ZelIMP/Font.hpp>
#include <ZelIMP/banknotes.hpp>
#include <ZelIMP/basics.hpp>
#include <ZelIMP/holes.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelimp {

// One directory entry. value: its bytes as they stand in the file, empty for an unknown type; little-endian.
struct Tag {
  std::uint16_t id = 0;
  std::uint16_t type = 0;  // TIFF field type, 1 to 12 are known
  std::uint32_t count = 0;
  std::uint64_t offset = 0;  // of value in the file
  std::span<const std::byte> value;
};

// Facts of a TIFF and views of its bytes, which must outlive them.
struct Scan {
  std::uint32_t width = 0;      // pixels
  std::uint32_t height = 0;     // rows
  std::uint32_t bit_depth = 0;  // bits a pixel: 8 grey, 24 colour
  std::uint16_t compression = 0;
  std::uint16_t photometric = 0;
  double x_resolution = 0;  // whole dots per inch, or per unit of tag 296
  double y_resolution = 0;
  std::string make, model, description, software;  // cut at 80 bytes and at the first NUL
  bool from_device = false;                        // its Make value is the device's
  std::vector<Tag> tags;                           // in file order
  std::span<const std::byte> pixels;               // rows top to bottom, no padding; empty when there is an obstacle
  std::optional<Error> obstacle;                   // why descramble and process_scan would refuse it
};

// Reads the facts of a little-endian TIFF that is wholly in memory, the device's or not: whatever keeps the library
// from processing it is told in obstacle. Throws only when header, directory or a value lies outside the bytes, when
// the values together are larger than the file (both not_loaded), or when a limit is exceeded.
ZELIMP_API Scan inspect(std::span<const std::byte> tiff, const Limits& limits = {});

// inspect, and throws the obstacle when there is one.
ZELIMP_API Scan read_scan(std::span<const std::byte> tiff, const Limits& limits = {});

struct DescrambleOptions {
  std::uint32_t lag = 0;  // lines by which channel B follows channel A, less than the rows (halving: than half of them)
  bool swap_sides = true;   // SWAP_SIDES of the flat interface, which explains both
  bool tarsis_7200 = true;  // Tarsis_7200
  int halve = 0;            // grey only: 0 all raw lines, 1 odd lines, others even lines
  // Reference levels, one entry per table index (see <ZelIMP/descramble.h>): width entries, in colour with swap_sides
  // false rows * (width / 2) where that is more. Both empty: no correction. white of a colour scan holds the tables of
  // plane 1, 2 and 3 one after the other.
  std::span<const std::uint16_t> white = {};
  std::span<const std::uint16_t> black = {};
};

// Reorders a raw read-out into image rows and corrects its samples. Returns the scan as a TIFF with all tags of the
// input and rows - lag rows (halving: (rows - 2 * lag) / 2). Colour goes the calibrated way also without tables, so
// that the planes of both channels end in the same order with the default flags.
ZELIMP_API std::vector<std::byte> descramble(std::span<const std::byte> tiff, const DescrambleOptions& options = {},
                                             const Limits& limits = {});

enum class Format {
  group4,     // bi-level TIFF, ITU-T T.6; grey scans
  one_bit,    // bi-level TIFF, 1 bit a pixel; grey scans
  tiff,       // uncompressed TIFF as the scan came
  bitmap,     // 8-bit Windows bitmap; grey scans
  jpeg_tiff,  // JPEG-compressed TIFF
  jfif,       // JPEG file
};
enum class Side {
  both,        // the whole image
  front,       // its left half
  rear,        // its right half
  flip_front,  // the whole image, left half turned by 180 degrees
};
enum class Rotation { none, clockwise, counter_clockwise };  // quarter turns

// off: the scan stays as it lies. measure: its skew is found and reported. on: and corrected, when it is acceptable.
//
// Grey scans: the border of the document is traced on both faces. Acceptable are 1 to 10 degrees in the sense in which
// the device turns sheets, front face clockwise and rear face counter-clockwise; other skews count as not found.
// Colour scans: the skew is found by an automatic crop, which is necessary for it, and corrected before a quarter turn,
// which is necessary for that. Acceptable is more than 1 degree, either way.
enum class Deskew { off, measure, on };

// Cuts the bed beside the document away from one face of a colour scan. automatic: at the edges found; fixed: at fixed
// columns.
enum class CropMode { off, automatic, fixed };

// The fields of CROP_PARAM that cropping reads, in pixels of one face, taken as they are. From 0 to 1000000.
struct CropOptions {
  CropMode mode = CropMode::off;
  int left_margin = 0;          // first document column; automatic: first column looked at
  int right_margin = 10;        // columns excluded at the face's end
  int edge_threshold = 700;     // automatic: edge strength that counts as document
  int edge_row_distance = 150;  // automatic: places the upper and the lower row looked at
  int max_length = 700;         // fixed: greatest length of the document; at least 1
};

// Steps whose images an observer gets to see. Only those that are taken are reported; in colour cut comes first.
enum class Step {
  deskewed,     // skew corrected
  cut,          // one face, or the document on it
  turned,       // after a quarter turn or the turn of one face
  thresholded,  // 0 or 255, before the noise filter
};

// Rows top to bottom without padding. The view ends with the call that passes it.
struct StepImage {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t planes = 1;  // bytes a pixel: 1 grey, 3 red, green and blue
  std::span<const std::byte> pixels;
};

struct ProcessOptions {
  Format format = Format::group4;
  Side side = Side::both;
  Rotation rotation = Rotation::none;
  std::optional<int> threshold = {};  // bi-level formats: black below this grey level (0 to 256); none: adaptive
  int quality = 75;                   // 1 to 100; jfif: of the coding; jpeg_tiff: recorded in tag 53249, not applied
  Deskew deskew = Deskew::off;
  CropOptions crop = {};
  std::function<void(Step, const StepImage&)> observer = {};  // called between the steps; what it throws passes through
};

// The border of a document as it was traced from row to row of the two-faced scan.
struct Border {
  Side face = Side::front;      // front: the left border of the front face; rear: the right border of the rear face
  int threshold = 0;            // the grey level above which a pixel was document
  std::uint32_t first_row = 0;  // of the rows traced
  std::vector<std::uint32_t> columns;
};

// What process_scan made.
struct ProcessReport {
  std::uint32_t width = 0;  // of the result, pixels
  std::uint32_t height = 0;
  std::uint32_t bit_depth = 0;
  std::optional<double> black_share = {};  // bi-level formats: black pixels / pixels
  // Radians. found: of a grey scan positive, of a colour scan positive when the face lies counter-clockwise; none when
  // it was not looked for or, grey, not acceptable. corrected: the same angle, when it was corrected.
  std::optional<double> skew_found = {};
  std::optional<double> skew_corrected = {};
  std::optional<Border> border = {};  // grey scans with a skew
  std::optional<Box> cut = {};        // with side front or rear: where it lay in the scan, deskewed if it was grey
};

// Turns a descrambled two-faced scan into a document image: deskew, side or crop, quarter turn, threshold and noise
// filter, file. Returns the whole file and fills report unless it is null. Options that could not do anything for this
// scan are refused: a crop of a grey scan or of both faces, a deskew of a colour scan without what it takes.
ZELIMP_API std::vector<std::byte> process_scan(std::span<const std::byte> tiff, const ProcessOptions& options = {},
                                               ProcessReport* report = nullptr, const Limits& limits = {});

// The pixels of an 8-bit grey scan as a packed device-independent bitmap: BITMAPINFOHEADER, 256 palette entries, rows
// bottom-up at byte 1064, padded to a multiple of 4 bytes.
ZELIMP_API std::vector<std::byte> load_bitmap(std::span<const std::byte> tiff, const Limits& limits = {});

// Writes a scan afresh as an uncompressed TIFF with this description (without NUL characters). Size, resolution and the
// texts of maker, model and software are kept, other tags are not.
ZELIMP_API std::vector<std::byte> save_with_description(std::span<const std::byte> tiff, std::string_view description,
                                                        const Limits& limits = {});

// Pixels without a file. Texts without NUL characters; those that are not given get no tag.
struct RawPixels {
  std::span<const std::byte> pixels;  // width * height * planes bytes, rows top to bottom without padding
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t planes = 1;  // 1 grey, 3 red, green, blue
  double resolution = 200;   // dots per inch, above 0 and up to 65535
  std::optional<std::string> model = {};
  std::optional<std::string> description = {};
  std::optional<std::string> software = {};
};

// Wraps them into an uncompressed TIFF that counts as the device's own.
ZELIMP_API std::vector<std::byte> wrap_raw_pixels(const RawPixels& raw, const Limits& limits = {});

// Reconstruction filters of resample, by the numbers of the flat interface. Radius in source pixels, or in pixels of
// the result where the image shrinks.
enum class Filter {
  bell,               // 1.5  quadratic B-spline in two pieces, smooths
  box,                // 0.5  nearest pixels, or the mean of those that become one
  catmull_rom,        // 2    cubic, interpolates, sharp
  cosine,             // 1    raised cosine, interpolates
  cubic_convolution,  // 3    cubic over six points, interpolates, sharp
  cubic_spline,       // 2    cubic B-spline, smooths most
  hermite,            // 1    cubic without overshoot, interpolates
  lanczos3,           // 3    sinc windowed by sinc, interpolates, sharp
  lanczos8,           // 8    the same, longer: rings beside edges
  mitchell,           // 2    cubic between blur and ringing, B = C = 1/3
  quadratic,          // 1.5  interpolates
  quadratic_bspline,  // 1.5  the function of bell
  triangle,           // 1    linear
};

// A filter's name on the command line and in documents (lower case, with hyphens), and its radius.
struct FilterFacts {
  std::string_view name;
  double radius = 0;
};
ZELIMP_API FilterFacts facts(Filter filter);

// Weight of a source pixel at distance x from the place that is computed; 0 beyond the radius.
ZELIMP_API double filter_weight(Filter filter, double x);

// Brings an image from one resolution to another: each side becomes side * (to_dpi / from_dpi), toward zero, and must
// not become 0. bits a pixel: 8, 24 or 32, each byte a channel of its own; resolutions above 0, only their quotient
// counts. filter: none is the flat interface's choice, triangle for 8 bits and box for 24 and 32. Every result is the
// weighted mean of source pixels, toward zero, first across, then down; pixel i of a side lies over source pixel i *
// side / new side, so that the first ones coincide. Where the filter reaches no pixel it is 0: with box beyond twice
// the size, in the last columns and rows. Of limits, max_pixels holds for source and result and max_bytes for the
// source; unlike the flat interface there is no longest side. Working memory beside the result: new width * height *
// bits / 8 bytes, 32 + 16 * radius source rows and 128 KiB. Throws bad_argument and over_limit.
ZELIMP_API Pixels resample(const PixelView& view, unsigned bits, double from_dpi, double to_dpi,
                           std::optional<Filter> filter = {}, const Limits& limits = {});

// "major.minor.patch" of the library that is loaded.
ZELIMP_API const char* version() noexcept;

}  // namespace zelimp

#endif
