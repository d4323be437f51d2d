// The steps of the scan pipeline, shared by the flat entry point and the checked interface.
#pragma once

#include <ZelIMP/CropParam.h>
#include <ZelIMP/TiffImage.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "TiffImage.hpp"
#include "TiffImage_geometry.hpp"
#include "base/image_view.hpp"
#include "kernels/box_threshold.hpp"

namespace zel {

// Outcome of a processing step; status_code gives the number that the flat interface returns.
enum class Outcome { ok, not_loaded, unsupported, no_such_format };
unsigned int status_code(Outcome outcome);

// Kind of a loaded image. supported_kind: 8-bit grey or 24-bit colour, uncompressed.
enum class Kind { grey, colour };
std::optional<Kind> supported_kind(const TiffImage& image);
inline unsigned int samples_of(Kind kind) { return kind == Kind::grey ? 1 : 3; }

// Whether the image has pixels, all of them inside a strip of strip_bytes.
bool has_whole_strip(const TiffImage& image, Kind kind, unsigned int strip_bytes);

// The numbers are those of ZelIMPImageProc.
enum PipelineFormat {
  kFormatGreyTiff = -1,  // any number without a meaning of its own
  kFormatGroup4 = 0,
  kFormatColourTiff = 2,
  kFormatGreyJpegTiff = 3,
  kFormatColourJpegTiff = 4,
  kFormatGreyJfif = 7,
  kFormatColourJfif = 8,
  kFormatOneBit = 9,
  kFormatBitmap = 10,
};
enum PipelineSide { kRightHalf = 1, kLeftHalf = 2, kFlipLeftHalf = 7 };
enum PipelineRotation { kCounterClockwise = 1, kClockwise = 2 };
enum PipelineDeskew { kMeasureSkew = 1, kCorrectSkew = 2 };
enum PipelineCrop { kNoCrop = 0, kAutomaticCrop = 1, kFixedCrop = 2 };
enum class PipelineStep { deskewed, cut, turned, thresholded };

// Arguments of ZelIMPImageProc, and the state it shares with later calls.
struct PipelineRequest {
  int format = 0;
  int side = 0;
  int crop = 0;
  int rotation = 0;
  int threshold_mode = 0;
  int level = 0;
  int deskew = 0;
  kern::RowSums row_sums;             // empty: none shared
  CROP_PARAM* crop_params = nullptr;  // set by whoever runs it
  bool turn_pixels_in_place = true;   // whether turning one face may change the loaded pixels themselves
  // Whether findings of a grey scan's skew are wanted. Then a deskew that lacks memory throws; else it does nothing.
  bool detailed = false;
  // Gets to see the image after each step; rows of width * samples bytes.
  std::function<void(PipelineStep, ConstView pixels, std::size_t samples)> observer;
};

// What a run found out about the scan.
struct PipelineFindings {
  std::optional<double> skew;         // radians, as found
  double reported_skew = 0;           // what ZelIMPImageProc tells
  bool corrected = false;             // whether skew was corrected
  std::optional<BorderTrace> border;  // grey, when a skew was found
  KeptColumns cut;                    // of the scan, when a side was selected
  unsigned int cut_rows = 0;
};

bool has_format(Kind kind, int format);

// The image on its way through the pipeline, with the buffers that the steps have written. What goes in is a loaded
// image with a whole strip, and a request whose format its kind has.
class PipelineRun {
 public:
  PipelineRun(TiffImage& image, Kind kind, const PipelineRequest& request)
      : image_(image), kind_(kind), request_(request) {}

  // All steps up to the image that is to be written.
  void run();

  // Pixels of the bi-level image before coding; empty unless the format is bi-level.
  ConstView bilevel() const { return bilevel_; }
  const PipelineFindings& findings() const { return findings_; }

 private:
  void deskew_grey();
  bool correct_traced(unsigned char* dst);
  void deskew_colour();
  void select_side();
  void cut(unsigned char* dst);
  void flip_side();
  void rotate();
  void reduce_and_code();
  void reduce(MutableView bilevel);
  unsigned char* new_pixels(std::size_t bytes);
  void show(PipelineStep step, ConstView pixels) const;
  void show(PipelineStep step) const { show(step, view_of(image_, samples_of(kind_))); }

  TiffImage& image_;
  Kind kind_;
  const PipelineRequest& request_;
  std::unique_ptr<unsigned char[]> pixels_;    // what image_ shows, once a step has made it
  std::unique_ptr<unsigned char[]> previous_;  // what it showed before, still the source of the step that runs
  std::unique_ptr<unsigned char[]> coded_;
  ConstView bilevel_;
  PipelineFindings findings_;
};

// How the bytes of the result come about.
enum class FileForm { tiff, bitmap, jpeg_tiff, jfif };
FileForm file_form(Kind kind, int format);

}  // namespace zel
