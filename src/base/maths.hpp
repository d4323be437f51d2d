// Elementary functions with the same result everywhere.
//
// The double functions of the C library are not correctly rounded: they differ in the last bit between i386 and x86-64,
// and on x86-64 between CPUs with and without fused multiply-add, which the library chooses by when the program starts.
// One bit decides which pixel a rotation takes. The long double functions work in the 80 bits of the x87 on both
// widths, one code for all CPUs; what they may be wrong by is far below the last bit of the double they are rounded to.
#pragma once

#include <cmath>

namespace zel::maths {

inline double sin(double x) { return static_cast<double>(std::sin(static_cast<long double>(x))); }
inline double cos(double x) { return static_cast<double>(std::cos(static_cast<long double>(x))); }
inline double tan(double x) { return static_cast<double>(std::tan(static_cast<long double>(x))); }
inline double atan(double x) { return static_cast<double>(std::atan(static_cast<long double>(x))); }
inline double asin(double x) { return static_cast<double>(std::asin(static_cast<long double>(x))); }
inline double pow(double x, double y) {
  return static_cast<double>(std::pow(static_cast<long double>(x), static_cast<long double>(y)));
}

}  // namespace zel::maths
