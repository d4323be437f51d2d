// The checked interface: the scan pipeline.

#include <ZelIMP.hpp>

#include <algorithm>

#include "ManageTIFF.hpp"
#include "ZelIMP_writers.hpp"
#include "checked/scan_input.hpp"

namespace zelimp {

using namespace detail;

namespace {

constexpr int kMostCropColumns = 1000000;

// The number by which the pipeline knows a format; throws when scans of the kind do not have it.
int format_number(Format format, zel::Kind kind) {
  const bool grey = kind == zel::Kind::grey;
  const auto grey_only = [grey](int number) {
    if (grey) return number;
    throw Error(Status::no_such_format, "this format is for 8-bit grey scans and the scan is 24-bit colour");
  };
  switch (format) {
    case Format::group4:
      return grey_only(zel::kFormatGroup4);
    case Format::one_bit:
      return grey_only(zel::kFormatOneBit);
    case Format::bitmap:
      return grey_only(zel::kFormatBitmap);
    case Format::tiff:
      return grey ? zel::kFormatGreyTiff : zel::kFormatColourTiff;
    case Format::jpeg_tiff:
      return grey ? zel::kFormatGreyJpegTiff : zel::kFormatColourJpegTiff;
    case Format::jfif:
      return grey ? zel::kFormatGreyJfif : zel::kFormatColourJfif;
  }
  bad_argument("the format is not one of those listed");
}

int side_number(Side side) {
  switch (side) {
    case Side::both:
      return 0;
    case Side::front:
      return zel::kLeftHalf;
    case Side::rear:
      return zel::kRightHalf;
    case Side::flip_front:
      return zel::kFlipLeftHalf;
  }
  bad_argument("the side is not one of those listed");
}

int rotation_number(Rotation rotation) {
  switch (rotation) {
    case Rotation::none:
      return 0;
    case Rotation::clockwise:
      return zel::kClockwise;
    case Rotation::counter_clockwise:
      return zel::kCounterClockwise;
  }
  bad_argument("the rotation is not one of those listed");
}

int deskew_number(Deskew deskew) {
  switch (deskew) {
    case Deskew::off:
      return 0;
    case Deskew::measure:
      return zel::kMeasureSkew;
    case Deskew::on:
      return zel::kCorrectSkew;
  }
  bad_argument("the deskew is not one of those listed");
}

int crop_number(CropMode mode) {
  switch (mode) {
    case CropMode::off:
      return zel::kNoCrop;
    case CropMode::automatic:
      return zel::kAutomaticCrop;
    case CropMode::fixed:
      return zel::kFixedCrop;
  }
  bad_argument("the crop is not one of those listed");
}

CROP_PARAM crop_params(const CropOptions& crop) {
  const auto checked = [](const char* name, int value, int least) {
    if (value >= least && value <= kMostCropColumns) return value;
    bad_argument(std::string("the crop's ") + name + " is not from " + std::to_string(least) + " to " +
                 std::to_string(kMostCropColumns));
  };
  CROP_PARAM params = {};
  params.leftMargin = checked("left margin", crop.left_margin, 0);
  params.rightMargin = checked("right margin", crop.right_margin, 0);
  params.edgeThreshold = checked("edge threshold", crop.edge_threshold, 0);
  params.edgeRowDistance = checked("edge row distance", crop.edge_row_distance, 0);
  params.maxLength = checked("greatest length", crop.max_length, 1);
  return params;
}

bool one_face(Side side) { return side == Side::front || side == Side::rear; }

// Refuses options that this scan gives nothing to do.
void check_combination(const Scan& scan, const ProcessOptions& options) {
  if (options.side != Side::both && scan.width < 2) bad_argument("a scan one pixel wide has no two faces");
  if (options.threshold && (*options.threshold < 0 || *options.threshold > 256)) {
    bad_argument("the threshold is not from 0 to 256");
  }
  if (options.quality < 1 || options.quality > 100) bad_argument("the quality is not from 1 to 100");
  const bool grey = kind_of(scan) == zel::Kind::grey;
  if (options.crop.mode != CropMode::off && grey) bad_argument("only colour scans can be cropped");
  if (options.crop.mode != CropMode::off && !one_face(options.side)) {
    bad_argument("a crop needs a side: the front or the rear face");
  }
  if (grey || options.deskew == Deskew::off) return;
  if (options.crop.mode != CropMode::automatic) {
    bad_argument("the skew of a colour scan is measured by an automatic crop, which is not asked for");
  }
  if (options.deskew == Deskew::on && options.rotation == Rotation::none) {
    bad_argument("the skew of a colour scan is corrected before a quarter turn, which is not asked for");
  }
}

// Everything but the crop parameters and the observer.
zel::PipelineRequest checked_request(const Scan& scan, const ProcessOptions& options) {
  zel::PipelineRequest request;
  request.format = format_number(options.format, kind_of(scan));
  request.side = side_number(options.side);
  request.rotation = rotation_number(options.rotation);
  request.deskew = deskew_number(options.deskew);
  request.crop = crop_number(options.crop.mode);
  check_combination(scan, options);
  if (options.threshold) {
    request.threshold_mode = 1;
    request.level = *options.threshold;
  }
  request.turn_pixels_in_place = false;
  request.detailed = true;
  return request;
}

Step step_of(zel::PipelineStep step) {
  switch (step) {
    case zel::PipelineStep::deskewed:
      return Step::deskewed;
    case zel::PipelineStep::cut:
      return Step::cut;
    case zel::PipelineStep::turned:
      return Step::turned;
    case zel::PipelineStep::thresholded:
      return Step::thresholded;
  }
  __builtin_unreachable();
}

// What was made, as a file. quality: of a JPEG.
std::vector<std::byte> file_from(TiffImage& image, zel::FileForm form, int quality) {
  const auto coded = [&](std::optional<std::vector<std::byte>> file) {
    if (file) return std::move(*file);
    constexpr unsigned int kMostJpegPixels = 65500;
    if (image.width <= kMostJpegPixels && image.height <= kMostJpegPixels) throw std::bad_alloc();
    throw Error(Status::over_limit, "an image of " + std::to_string(image.width) + " x " +
                                        std::to_string(image.height) + " pixels cannot be a JPEG, which has " +
                                        std::to_string(kMostJpegPixels) + " at most a side");
  };
  switch (form) {
    case zel::FileForm::jpeg_tiff:
      return coded(zel::jpeg_tiff_in_memory(image, static_cast<unsigned int>(quality)));
    case zel::FileForm::jfif:
      return coded(zel::jfif_in_memory(image, static_cast<unsigned int>(quality)));
    case zel::FileForm::bitmap: {
      std::vector<std::byte> result = room_for(zel::bitmap_bytes(image));
      zel::write_bitmap(image, bytes_of(result));
      return result;
    }
    case zel::FileForm::tiff:
      break;
  }
  std::vector<std::byte> result = room_for(image.GetTiffSize());
  image.save(bytes_of(result));
  return result;
}

double black_share(zel::ConstView bilevel) {
  const std::uint8_t* const pixels = bilevel.row_ptr(0);
  const std::size_t n = bilevel.width() * bilevel.height();
  return static_cast<double>(std::count(pixels, pixels + n, 0)) / static_cast<double>(n);
}

ProcessReport report_of(const TiffImage& image, const zel::PipelineRun& run) {
  const zel::PipelineFindings& findings = run.findings();
  ProcessReport report;
  report.width = image.width;
  report.height = image.height;
  report.bit_depth = image.bitDepth;
  if (!run.bilevel().empty()) report.black_share = black_share(run.bilevel());
  report.skew_found = findings.skew;
  if (findings.corrected) report.skew_corrected = findings.skew;
  if (findings.border) {
    const zel::BorderTrace& border = *findings.border;
    report.border = Border{border.left ? Side::front : Side::rear, border.threshold,
                           static_cast<std::uint32_t>(border.first_row), border.columns};
  }
  if (findings.cut.count != 0) {
    report.cut = Box{static_cast<std::uint32_t>(findings.cut.first), 0, static_cast<std::uint32_t>(findings.cut.count),
                     findings.cut_rows};
  }
  return report;
}

}  // namespace

std::vector<std::byte> process_scan(std::span<const std::byte> tiff, const ProcessOptions& options,
                                    ProcessReport* report, const Limits& limits) {
  const Scan scan = read_scan(tiff, limits);
  zel::PipelineRequest request = checked_request(scan, options);
  CROP_PARAM params = crop_params(options.crop);
  request.crop_params = &params;
  if (options.observer) {
    request.observer = [&options](zel::PipelineStep step, zel::ConstView pixels, std::size_t samples) {
      const auto planes = static_cast<std::uint32_t>(samples);
      options.observer(step_of(step), {static_cast<std::uint32_t>(pixels.width()) / planes,
                                       static_cast<std::uint32_t>(pixels.height()), planes,
                                       std::as_bytes(std::span(pixels.row_ptr(0), pixels.width() * pixels.height()))});
    };
  }

  zel::LocalImage image;
  load(image, tiff);
  zel::PipelineRun run(image, kind_of(scan), request);
  run.run();
  if (image.width == 0 || image.height == 0) bad_argument("the crop leaves no columns of the face");
  std::vector<std::byte> result = file_from(image, zel::file_form(kind_of(scan), request.format), options.quality);
  if (report != nullptr) *report = report_of(image, run);
  return result;
}

}  // namespace zelimp
