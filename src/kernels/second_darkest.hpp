// Second darkest sample of every window of kSide x kSide samples: more than one sample of a window is below a threshold
// exactly when its second darkest one is.
//
//   src   at least kSide rows and columns
//   dst   kSide - 1 rows and columns fewer, must not overlap; sample (r, c) is for the window whose first one is (r, c)
//
// Exact. Cost: kSide reads and one write per sample, whatever the number of thresholds.
// Method: the two darkest of four samples below each other, then of two and of four such columns.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/image_view.hpp"
#include "base/variant.hpp"

namespace zel::kern {

inline constexpr std::size_t kSide = 4;

void second_darkest(ConstView src, MutableView dst);

using SecondDarkestFn = decltype(second_darkest);
SecondDarkestFn second_darkest_scalar;

inline constexpr Variant<SecondDarkestFn> kSecondDarkest[] = {{"scalar", Isa::none, second_darkest_scalar}};

}  // namespace zel::kern
