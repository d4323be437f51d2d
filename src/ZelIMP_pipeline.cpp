// Module ZelIMP: the steps of the scan pipeline.

#include "ZelIMP_pipeline.hpp"

#include <ZelIMP/ZelIMP_mono.h>
#include <ZelIMP/ZelIMP_pipeline.h>

#include <algorithm>
#include <cstddef>
#include <utility>

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
    case kFormatGreyJpegTiff:
    case kFormatGreyJfif:
    case kFormatOneBit:
      return kind == Kind::grey;
    case kFormatColourTiff:
    case kFormatColourJpegTiff:
    case kFormatColourJfif:
      return kind == Kind::colour;
    default:
      return true;
  }
}

FileForm file_form(Kind kind, int format) {
  switch (format) {
    case kFormatGreyJpegTiff:
    case kFormatColourJpegTiff:
      return FileForm::jpeg_tiff;
    case kFormatGreyJfif:
    case kFormatColourJfif:
      return FileForm::jfif;
    case kFormatBitmap:
      return kind == Kind::grey ? FileForm::bitmap : FileForm::tiff;
    default:
      return FileForm::tiff;
  }
}

void PipelineRun::run() {
  if (kind_ == Kind::grey) deskew_grey();
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

void PipelineRun::show(PipelineStep step, ConstView pixels) const {
  if (request_.observer && !pixels.empty()) request_.observer(step, pixels, samples_of(kind_));
}

// Straightens the whole two-faced scan.
void PipelineRun::deskew_grey() {
  const bool correct = request_.deskew == kCorrectSkew;
  const bool measure = request_.deskew == kMeasureSkew && request_.detailed;
  if (!correct && !measure) return;
  unsigned char* const dst = correct ? new_pixels(pixel_bytes(image_, kind_)) : nullptr;
  // KEPT: the caller of the flat interface is not told the skew of a grey scan: test is_its_steps.
  double untold = 0;
  findings_.corrected = request_.detailed ? correct_traced(dst) : image_.DeskewTiffCombo(dst, &untold) == 0;
  if (!findings_.corrected) return pixels_.reset();
  image_.SetImage(dst);
  show(PipelineStep::deskewed);
}

// DeskewTiffCombo in its two halves, for what it finds in between. Without dst it goes no further than that.
bool PipelineRun::correct_traced(unsigned char* dst) {
  BorderTrace border;
  findings_.skew = find_page_skew(image_, &border);
  if (!findings_.skew) return false;
  findings_.border = std::move(border);
  return dst != nullptr && shear_page(image_, dst, *findings_.skew);
}

void PipelineRun::select_side() {
  if (request_.side == kLeftHalf || request_.side == kRightHalf) {
    unsigned char* const dst = new_pixels(image_.imageSize);
    cut(dst);
    image_.SetImage(dst);
    show(PipelineStep::cut);
  } else if (request_.side == kFlipLeftHalf) {
    flip_side();
    show(PipelineStep::turned);
  }
}

void PipelineRun::cut(unsigned char* dst) {
  findings_.cut = {request_.side == kRightHalf ? image_.width / 2 : 0, image_.width / 2};
  findings_.cut_rows = image_.height;
  if (kind_ == Kind::grey) {
    image_.split(dst, request_.side);
  } else if (request_.crop == kNoCrop) {
    image_.splitColor(dst, request_.side);
  } else {
    request_.crop_params->cropMode = request_.crop;
    double angle = 0;
    findings_.cut = split_and_crop_colour(image_, dst, request_.side, *request_.crop_params, &angle);
    if (request_.crop == kAutomaticCrop) findings_.skew = angle;
  }
}

void PipelineRun::flip_side() {
  if (!request_.turn_pixels_in_place) {
    unsigned char* const copy = new_pixels(image_.imageSize);
    std::copy_n(image_.image, image_.imageSize, copy);
    image_.SetImage(copy);
  }
  kind_ == Kind::grey ? image_.FlipOneSide() : image_.FlipOneSideColor();
}

// Corrects the skew that cutting has found, when it is worth while.
void PipelineRun::deskew_colour() {
  if (request_.deskew != kMeasureSkew && request_.deskew != kCorrectSkew) return;
  const double angle = findings_.skew.value_or(0.0);
  // KEPT: degrees by a short pi, which moves the limit of one degree by two millionths: test colour_skew_limit.
  const double degrees = angle * 180.0F / 3.1416;
  if (!(degrees > 1.0 || degrees < -1.0)) return;
  findings_.reported_skew = angle;
  if (request_.deskew != kCorrectSkew) return;
  unsigned char* const dst = new_pixels(pixel_bytes(image_, kind_));
  int width = 0;
  int height = 0;
  image_.DeskewTiffColor(dst, angle, &width, &height);
  image_.SetImage(dst);
  findings_.corrected = true;
  show(PipelineStep::deskewed);
}

void PipelineRun::rotate() {
  if (request_.rotation != kClockwise && request_.rotation != kCounterClockwise) return;
  // KEPT: a face that is not turned keeps its skew, and the caller is not told of it: test is_its_steps.
  if (kind_ == Kind::colour) deskew_colour();
  const bool clockwise = request_.rotation == kClockwise;
  // A strip longer than its pixels is written out at its full length.
  const std::size_t written = pixel_bytes(image_, kind_);
  const std::size_t bytes = std::max<std::size_t>(image_.imageSize, written);
  unsigned char* const dst = new_pixels(bytes);
  std::fill(dst + written, dst + bytes, static_cast<unsigned char>(0));
  if (kind_ == Kind::grey) {
    clockwise ? image_.rotate90(dst) : image_.rotate270(dst);
  } else {
    clockwise ? image_.rotate90color(dst) : image_.rotate270color(dst);
  }
  image_.SetImage(dst);
  show(PipelineStep::turned);
}

void PipelineRun::reduce(MutableView bilevel) {
  const ConstView grey = view_of(image_, 1);
  if (request_.threshold_mode != 0) {
    convertToMonoThreshold(image_.image, bilevel.row_ptr(0), static_cast<int>(image_.width),
                           static_cast<int>(image_.height), request_.level);
  } else {
    // The adaptive threshold leaves the last pixel out; it is white.
    if (!grey.empty()) bilevel.row(grey.height() - 1).back() = 255;
    adaptive_threshold(grey, bilevel, request_.row_sums, kWindow, kPercent);
  }
  show(PipelineStep::thresholded, bilevel);
  kern::isolated_pixels(bilevel, kMinNeighbours);
}

void PipelineRun::reduce_and_code() {
  const std::size_t bytes = pixel_bytes(image_, kind_);
  unsigned char* const mono = new_pixels(bytes);
  const MutableView bilevel(mono, image_.width, image_.height);
  reduce(bilevel);
  bilevel_ = bilevel;
  previous_.reset();

  // Enough for the worst coding of any image, and for a row of no pixels, which still takes one bit.
  coded_ = std::make_unique_for_overwrite<unsigned char[]>(checked_mul(bytes, 2) + image_.height / 8 + 8);
  image_.SetImage(mono);
  request_.format == kFormatGroup4 ? image_.compress(coded_.get()) : image_.convertTo1Bit(coded_.get());
  image_.SetImage(coded_.get());
}

}  // namespace zel
