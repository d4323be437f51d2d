// Thresholds without the exported row buffers, for callers that share no state.
#pragma once

#include "base/image_view.hpp"
#include "kernels/box_threshold.hpp"

namespace zel {

// convertToMono2 of <ZelIMP/ZelIMP_mono.h>. Uses sums where they serve the image's width, else buffers of its own.
void adaptive_threshold(ConstView src, MutableView dst, kern::RowSums sums, int window, int percent);

// The exported row buffers.
kern::RowSums exported_row_sums();

}  // namespace zel
