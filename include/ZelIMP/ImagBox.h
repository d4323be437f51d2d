/* A line of characters cut into boxes and decoded. C99: parameters and results; C++: the operations.
 *
 * Images are 8-bit DIBs with rows bottom-up. The grey level of a pixel is the blue value of its palette entry, a
 * missing entry counts as its index. A pixel is ink when its level is below the threshold. Rows are counted as they
 * lie, from the bottom of the picture. Images of other kinds are left alone and have no ink. Nothing outside of an
 * image is read: it is white, and no ink.
 */
#ifndef ZELIMP_IMAGBOX_H
#define ZELIMP_IMAGBOX_H

#include <ZelIMP/export.h>

typedef struct {
  int left;   /* first column */
  int right;  /* the column that ends the box */
  int top;    /* first row */
  int bottom; /* last row */
} CHAR_BOX;

ZELIMP_C_BEGIN

/* Recognition parameters, 0 at first, set by ImageBox_Init. */
extern ZELIMP_API unsigned int TYPE;                                                         /* the kind of document */
extern ZELIMP_API unsigned int MINCHAR_WIDTH, MINCHAR_HEIGHT, MAXCHAR_WIDTH, MAXCHAR_HEIGHT; /* of a character */
extern ZELIMP_API unsigned int MAXCHAR_HOLE; /* blank columns allowed inside a character */
extern ZELIMP_API unsigned int CHAR_SPACING; /* pitch in pixels */
extern ZELIMP_API unsigned int ACCEPTANCE;   /* percentage by which the runners-up must be worse */
extern ZELIMP_API unsigned int CHAR_DENSITY; /* percentage of the pixels that counts as ink */
extern ZELIMP_API int NumCharFont;           /* slots of the font to look at; the host sets it */

/* The boxes that were found last. */
extern ZELIMP_API CHAR_BOX box_char[128];
extern ZELIMP_API int num_box;

/* The digits 0 to 9 as punched: 7 rows of 5 cells each, top row first, 1 for a hole. */
extern ZELIMP_API unsigned char MicroholesFont[350];

ZELIMP_C_END

#ifdef __cplusplus

/* Sets the parameters for a kind of document: 0, 1 sizes from ActualFont, 2 micro-holes, 3, 4 and others.
 * Returns 0. */
ZELIMP_API int ImageBox_Init(unsigned int type);

/* Replaces pixels by their grey levels and the palette's entries but the last by a grey ramp. Returns the threshold
 * below which CHAR_DENSITY percent of the pixels lie; 255 where there are none. */
ZELIMP_API int ImageBox_Normalize(char* dib);

/* 1 when more than one pixel of column x (row y), from y0 to y1 - 1 (x0 to x1 - 1), is ink, else 0. width: of the rows,
 * of which each takes (width + 3) / 4 * 4 bytes. */
ZELIMP_API int ImageBox_ver_vertical(char* dib, unsigned int x, unsigned int y0, unsigned int y1, unsigned int width,
                                     unsigned int threshold);
ZELIMP_API int ImageBox_ver_horizzontal(char* dib, unsigned int x0, unsigned int x1, unsigned int y, unsigned int width,
                                        unsigned int threshold);

/* Sum of the levels of column x from row y0 to y1 - 1. */
ZELIMP_API int ImageBox_get_vertical(char* dib, unsigned int x, unsigned int y0, unsigned int y1, unsigned int width);

/* Normalises the image, finds the line and cuts it into box_char and num_box. Returns 1; 0 and leaves num_box when
 * there is no box. */
ZELIMP_API int ImageBox_Box(char* dib);

/* Normalises the image and returns the part of it that has the line, as a new DIB to be freed with free(); null when
 * no column has ink or memory is short. */
ZELIMP_API char* Extract_string(char* dib);

/* Normalises the image and finds the rows of the first line from row *top on, with a third of its height to either
 * side. Returns 1, or 0 and leaves both. */
ZELIMP_API int ImageBox_Rows(char* dib, int* top, int* bottom);

/* Decodes the boxes of a normalised line by MicroholesFont into text, of 128 bytes: a digit, or "?", for each, with
 * spaces where the distance to the next one is more than a third above the pitch, that from the first box to the last
 * divided by the number of boxes. At most 127 characters are written, then 0. Returns num_box; 0 for images of other
 * kinds, with an empty text, and without memory, with text as it was. */
ZELIMP_API int ImageBox_Decode_holes(char* dib, char* text);

/* The same by the first NumCharFont slots of ActualFont, of whose codes the low bytes are written; sets GetImage to
 * those compared with. Without slots to look at (NumCharFont is 0) text stays as it was. Returns 0. */
ZELIMP_API int ImageBox_Decode(char* dib, char* text);

/* The part of w x h pixels from column x and row y on, counted from the bottom of the picture, as a new DIB with rows
 * bottom-up, to be freed with free(). w, h of 0: the whole width, height. Null when it is not all inside, the image has
 * not 8 bits, or memory is short. With rows top to bottom the part lies one row lower, h is from 3 to 128 and at most
 * y, and where the result is null for another reason than the bits the source's height becomes positive. */
ZELIMP_API unsigned char* Extract_image(unsigned char* dib, int x, int y, int w, int h);

/* Turns an 8-bit image by 180 degrees in place; with rows top to bottom only mirrors it. The padding becomes 0. Returns
 * 1, or 0. */
ZELIMP_API int ImageBox_Rotate180(char* dib);

/* A point of a traced stroke: pixel column and row. -1, -1 stands between strokes, twice at the end of a list of at
 * most 256 points. */
struct charline {
  int x;
  int y;
};

/* The same in the unit of the greatest row. */
struct charlinenorm {
  float x;
  float y;
};

/* Traces the stroke that begins at the first dark pixel (below 128) in columns x0 to x1 - 1, row by row from y0 to y1,
 * and what branches off it. Marks the pixels it has visited with 254; branches shorter than 4 points are not listed but
 * erased, to 255. Pixel values count, not levels. Returns a new list, to be freed with free(), or null. */
ZELIMP_API charline* ImageBox_liner(unsigned char* dib, int x0, int y0, int x1, int y1);

/* The first 255 points of a list in a frame of their own, as a new list of 257, to be freed with free(), or null. Not
 * finite when the greatest row is 0. */
ZELIMP_API charlinenorm* ImageBox_LineNorm(charline* points);

/* The neighbour at which a stroke goes on from *x, *y: dark (below threshold, and below 254), and the one that turns
 * least from the last step, which came from points[n - 1] (n of 0: from anywhere); ties clockwise from straight up,
 * where the row grows. Moves *x, *y there and returns 1, else 0. */
ZELIMP_API int best_vicinity(unsigned char* dib, int* x, int* y, int threshold, charline* points, int n);

/* Moves *x, *y to the middle, rounded down, of the shorter of the dark runs, across and down, through it. The last
 * argument is not looked at. Returns 0. */
ZELIMP_API int Center_Balance(unsigned char* dib, int* x, int* y, int threshold, int reserved);

/* A digit from 0 to 9 as dots, an 8-bit DIB of 33 x 54 pixels; else null. A dot, 8 x 8. To be freed with free(). */
ZELIMP_API unsigned char* Make_font_holes(int digit);
ZELIMP_API unsigned char* Make_dot(void);

#endif

#endif
