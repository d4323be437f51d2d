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

/* The value of a note, 1 to 100, as it lies: the template of ActualFont that disagrees least, if that is in less than a
 * twenty-fifth of its pixels. What counts is its first place below that, row by row from the lower left, and otherwise
 * its best; a template larger than the region is left out. Templates of less than 25 pixels, and with rows top to
 * bottom, are accepted everywhere. 0 when there is none, for a null dib, when a region is not inside the note, without
 * memory, or when a template of an enabled class has no image or mask, or one that does not fit into the slot's size.
 * The image is not changed, apart from what Extract_image does to the height of one with rows top to bottom. */
ZELIMP_API int Money_Decode_Money(unsigned char* dib);

/* Counts the pixels at which an image, from column x and row y on, and a template disagree. Where the mask has m, a
 * light pixel of the template (above m + 147) disagrees with one below 107 - m, a dark one (below 107 - m) with one
 * above m + 147; m from 127 on leaves a pixel out. The mask's rows are as long as those of the template, whatever its
 * header says. Only pixels inside the image and the mask count; null gives 0. The last argument is not looked at. */
ZELIMP_API int Make_Convolution(unsigned char* templ, unsigned char* image, unsigned char* mask, int x, int y,
                                int ignored);

/* Stretches the contrast of an 8-bit DIB in place, so that the darkest and the brightest 2 percent of its pixels become
 * black and white. Returns the mean grey level afterwards; 0 for a null dib and for images of other kinds, without
 * pixels or with rows top to bottom, which are left alone. */
ZELIMP_API int Image_Equalize(unsigned char* dib);

#endif

#endif
