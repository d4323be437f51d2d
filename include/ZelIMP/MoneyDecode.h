/* Banknotes by their templates, and the contrast stretch that they share with micro-holes. C99: the table of places;
 * C++: the operations.
 *
 * A template is a slot of the font: its image the figure as it should look, its variance a mask, the low four bits of
 * its code the class. Classes 0 to 6 mean 1, 2, 5, 10, 20, 50, 100. */
#ifndef ZELIMP_MONEYDECODE_H
#define ZELIMP_MONEYDECODE_H

#include <ZelIMP/export.h>

/* Where the figure of a class is looked for on a note, in pixels; y from the bottom of the picture. */
typedef struct {
  int enabled; /* 0: templates of this class are not compared */
  int x;       /* negative: from the right edge */
  int y;       /* negative: the height less y, which is outside of the note */
  int width;
  int height;
} LOCATION;

ZELIMP_C_BEGIN

/* By class. Filled by definelocations, which every decoding begins with; class 1 alone is enabled. */
extern ZELIMP_API LOCATION USDloc[7];

ZELIMP_C_END

#ifdef __cplusplus

ZELIMP_API void definelocations(void);

/* The value of a note, 1 to 100, as it lies: the template of ActualFont that disagrees least at its best place, if that
 * is in less than a twenty-fifth of its pixels. 0 when there is none, when a place is not inside the note, or when a
 * template that would be compared has no image or no mask. The image is not changed, apart from what Extract_image does
 * to the height of one with rows top to bottom. */
ZELIMP_API int Money_Decode_Money(unsigned char* dib);

/* Counts the pixels at which an image, from column x and row y on, and a template disagree. Where the mask has m, a
 * light pixel of the template (above m + 147) disagrees with one below 107 - m, a dark one (below 107 - m) with one
 * above m + 147; m from 127 on leaves a pixel out. Only pixels inside the image count. The last argument is not looked
 * at. */
ZELIMP_API int Make_Convolution(unsigned char* templ, unsigned char* image, unsigned char* mask, int x, int y,
                                int ignored);

/* Stretches the contrast of an 8-bit DIB in place, so that the darkest and the brightest 2 percent of its pixels become
 * black and white. Returns the mean grey level afterwards; 0 for a null dib and for images of other kinds or without
 * pixels, which are left alone. */
ZELIMP_API int Image_Equalize(unsigned char* dib);

#endif

#endif
