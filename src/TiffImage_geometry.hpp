// Cropping and deskewing of an image for callers inside the library.
#pragma once

#include <ZelIMP/CropParam.h>
#include <ZelIMP/TiffImage.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace zel {

// Columns that split-and-crop kept, of the whole image before it.
struct KeptColumns {
  std::size_t first = 0;
  std::size_t count = 0;
};

// TiffImage::splitNcrop and splitNcropColor. A side other than 1 and 2: nothing changed, {0, 0}. angle is written in
// automatic mode only.
KeptColumns split_and_crop_grey(TiffImage& image, unsigned char* dst, int side, const CROP_PARAM& param);
KeptColumns split_and_crop_colour(TiffImage& image, unsigned char* dst, int side, const CROP_PARAM& param,
                                  double* angle);

// How TiffImage::get_skew_angle came to its result.
struct BorderTrace {
  double angle_rad = 0;                // always positive
  bool left = true;                    // the document's left border, else its right one
  int threshold = 0;                   // the level at which the trace held
  std::size_t first_row = 0;           // of the rows traced
  std::vector<std::uint32_t> columns;  // border column of each row traced
};

// Traces the left border, then the right one (what DeskewTiffCombo accepts). nullopt: no acceptable skew. trace, unless
// null, gets the details of the trace that succeeded, else stays as it is.
std::optional<double> find_page_skew(const TiffImage& image, BorderTrace* trace);

// The shear half of DeskewTiffCombo for a known angle from 0 to below a quarter turn. Any other angle, or a result that
// would have no width or height: false, image untouched. Throws std::bad_alloc with all untouched.
bool shear_page(TiffImage& image, unsigned char* dst, double angle_rad);

}  // namespace zel
