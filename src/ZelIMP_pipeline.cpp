// Module ZelIMP: the steps of the scan pipeline.

#include "ZelIMP_pipeline.hpp"

#include <ZelIMP/ZelIMP_mono.h>
#include <ZelIMP/ZelIMP_pipeline.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "ManageTIFF.hpp"
#include "TiffImage.hpp"
#include "ZelIMP_mono.hpp"
#include "base/checked.hpp"
#include "kernels/isolated_pixels.hpp"
#include "tiff_tags.hpp"

namespace zel {
namespace {

// The adaptive threshold and the noise filter as scanned documents need them.
constexpr int kWindow = 25;
constexpr int kPercent = 80;
constexpr int kMinNeighbours = 2;

bool is_bilevel(int format) { return format == kFormatGroup4 || format == kFormatOneBit; }

std::size_t pixel_bytes(const TiffImage& image, Kind kind) {
  return checked_mul(checked_mul(image.width, image.height), samples_of(kind));
}

}  // namespace

unsigned int status_code(Outcome outcome) {
  switch (outcome) {
    case Outcome::ok:
      return ZELIMP_OK;
    case Outcome::not_loaded:
      return ZELIMP_NOT_LOADED;
    case Outcome::unsupported:
      return ZELIMP_UNSUPPORTED;
    case Outcome::no_such_format:
      return ZELIMP_NO_SUCH_FORMAT;
  }
  __builtin_unreachable();
}

std::optional<Kind> supported_kind(const TiffImage& image) {
  if (image.compression != tags::kUncompressed) return std::nullopt;
  if (image.bitDepth == 8) return Kind::grey;
  if (image.bitDepth == 24) return Kind::colour;
  return std::nullopt;
}

bool has_whole_strip(const TiffImage& image, Kind kind, unsigned int strip_bytes) {
  const std::uint64_t pixels = std::uint64_t{image.width} * image.height;
  return pixels != 0 && pixels <= strip_bytes / samples_of(kind);
}

bool has_format(Kind kind, int format) {
  switch (format) {
    case kFormatGroup4:
    case kFormatOneBit:
      return kind == Kind::grey;
    case kFormatColourTiff:
      return kind == Kind::colour;
    case kFormatGreyJpegTiff:
    case kFormatColourJpegTiff:
    case kFormatGreyJfif:
    case kFormatColourJfif:
      return false;
    default:
      return true;
  }
}

void PipelineRun::run() {
  select_side();
  rotate();
  if (is_bilevel(request_.format) && kind_ == Kind::grey) reduce_and_code();
}

// A new buffer for a step's result. What the image shows now stays alive until the next step.
unsigned char* PipelineRun::new_pixels(std::size_t bytes) {
  previous_ = std::move(pixels_);
  pixels_ = std::make_unique_for_overwrite<unsigned char[]>(bytes);
  return pixels_.get();
}

void PipelineRun::select_side() {
  const bool grey = kind_ == Kind::grey;
  if (request_.side == kLeftHalf || request_.side == kRightHalf) {
    if (!grey && request_.crop != 0) request_.crop_params->cropMode = request_.crop;
    unsigned char* const dst = new_pixels(image_.imageSize);
    grey ? image_.split(dst, request_.side) : image_.splitColor(dst, request_.side);
    image_.SetImage(dst);
  } else if (request_.side == kFlipLeftHalf) {
    if (!request_.turn_pixels_in_place) {
      unsigned char* const copy = new_pixels(image_.imageSize);
      std::copy_n(image_.image, image_.imageSize, copy);
      image_.SetImage(copy);
    }
    grey ? image_.FlipOneSide() : image_.FlipOneSideColor();
  }
}

void PipelineRun::rotate() {
  if (request_.rotation != kClockwise && request_.rotation != kCounterClockwise) return;
  const bool clockwise = request_.rotation == kClockwise;
  unsigned char* const dst = new_pixels(image_.imageSize);
  // A strip longer than its pixels is written out at its full length.
  const std::size_t written = pixel_bytes(image_, kind_);
  std::fill(dst + written, dst + std::max<std::size_t>(image_.imageSize, written), static_cast<unsigned char>(0));
  if (kind_ == Kind::grey) {
    clockwise ? image_.rotate90(dst) : image_.rotate270(dst);
  } else {
    clockwise ? image_.rotate90color(dst) : image_.rotate270color(dst);
  }
  image_.SetImage(dst);
}

void PipelineRun::reduce_and_code() {
  const std::size_t bytes = pixel_bytes(image_, kind_);
  const ConstView grey = view_of(image_, 1);
  unsigned char* const mono = new_pixels(bytes);
  const MutableView bilevel(mono, image_.width, image_.height);
  // The adaptive threshold leaves the last pixel out; it is white.
  if (bytes != 0) mono[bytes - 1] = 255;
  if (request_.threshold_mode != 0) {
    convertToMonoThreshold(image_.image, mono, static_cast<int>(image_.width), static_cast<int>(image_.height),
                           request_.level);
  } else {
    adaptive_threshold(grey, bilevel, request_.row_sums, kWindow, kPercent);
  }
  kern::isolated_pixels(bilevel, kMinNeighbours);
  bilevel_ = bilevel;
  previous_.reset();

  // Enough for the worst coding of any image, and for a row of no pixels, which still takes one bit.
  coded_ = std::make_unique_for_overwrite<unsigned char[]>(checked_mul(bytes, 2) + image_.height / 8 + 8);
  image_.SetImage(mono);
  request_.format == kFormatGroup4 ? image_.compress(coded_.get()) : image_.convertTo1Bit(coded_.get());
  image_.SetImage(coded_.get());
}

std::uint64_t output_bytes(const TiffImage& image, Kind kind, int format) {
  return kind == Kind::grey && format == kFormatBitmap ? bitmap_bytes(image) : image.GetTiffSize();
}

void write_output(TiffImage& image, Kind kind, int format, unsigned char* output, unsigned int* output_size) {
  if (kind == Kind::grey && format == kFormatBitmap) {
    write_bitmap(image, output);
  } else {
    image.save(output);
  }
  *output_size = static_cast<unsigned int>(output_bytes(image, kind, format));
}

}  // namespace zel
