// Banknotes by their templates, and the contrast stretch that they share with micro-holes. C++.
#ifndef ZELIMP_MONEYDECODE_H
#define ZELIMP_MONEYDECODE_H

#include <ZelIMP/export.h>

// Stretches the contrast of an 8-bit DIB in place, so that the darkest and the brightest 2 percent of its pixels become
// black and white. Returns the mean grey level afterwards; 0 for a null dib and for images of other kinds or without
// pixels, which are left alone.
ZELIMP_API int Image_Equalize(unsigned char* dib);

#endif
