// The curves of the resampling filters, as a drawing.
#pragma once

#include <ZelIMP.hpp>
#include <string>

namespace tool {

// Filters are the numbers below this one.
constexpr int kFilters = static_cast<int>(zelimp::Filter::triangle) + 1;

// SVG with one panel for each filter, all to the same scale. Every panel is a group whose id is the filter's name.
std::string filter_plot();

}  // namespace tool
