/* Recognition of punched micro-holes, and the font of templates. C99; in C++ also the steps and image utilities.
 *
 * Images are 8-bit DIBs (<ZelIMP/Dibapi.h>) that tell the truth about their size; parts of them are cut with
 * Extract_image. All calls use global state: they must not overlap. */
#ifndef ZELIMP_HRFF_H
#define ZELIMP_HRFF_H

#include <ZelIMP/export.h>

ZELIMP_C_BEGIN

/* Reads the line of micro-holes of both faces at columns 166 to 705 and rows 195 to 279 from the bottom.
 *
 *   front, rear   whole bitmap files in memory. Of a null one nothing is read, and its reading counts as failed; there
 *                 is no image where the DIB behind the file header has the address 0. The rear image is mirrored in
 *                 place (see ImageBox_Mirror), whether or not it can be read
 *   result        272 bytes: the text that both give, or "Front=%s\nRear=%s" with what each gives. For a text that was
 *                 not read "Error Decodeing Front\n" and "Error decoding rear\n", without an image
 *                 "Error reading the Front image\n" and "Error reading the Rear image\n"
 *
 * Returns front + rear: front 0 read, 1 not read, 2 no image; rear 0, 4, 8. A character that is no digit is read as
 * "?"; 0 does not say that the faces agree. */
ZELIMP_API int ZelIMPValidateMH(unsigned char* front, unsigned char* rear, char* result);

/* The same for one DIB at columns 146 to 665 and rows 175 to 264. *side: not 0 for the rear, which is mirrored (null:
 * front). Returns 0; 1 and "Error Decoding Front" or "Error Decoding Rear\n"; 2 and "Error reading the image\n" for a
 * null dib. result: 128 bytes. */
ZELIMP_API int ZelIMPDecodeMH(char* dib, char* result, unsigned char* side);

/* ActualFont's operations of <ZelIMP/FontAPI.h>. LoadRecognizer: LoadFont and, if it loaded something, ImageBox_Init;
 * returns the number of templates. SaveFontFile returns 0, UnloadAllRecognizers 1. */
ZELIMP_API int ZelIMPLoadRecognizer(char* path, unsigned int type);
ZELIMP_API int ZelIMPSaveFontFile(char* path);
ZELIMP_API int ZelIMPUnloadAllRecognizers(void);
ZELIMP_API int ZelIMPAdd_Char(int code, char* dib);
ZELIMP_API int ZelIMPAdd_Mask(int code, char* dib);

/* Writes the images of the font as bitmap files, <prefix><code in hexadecimal>IMG.bmp and VAR.bmp, up to the first that
 * is missing or larger than its slot says. Names are cut at 127 characters. Returns 0. */
ZELIMP_API int ZelIMPGetFontImages(char* prefix);

/* The value of a banknote, 1 to 100, or 0: Money_Decode_Money (<ZelIMP/MoneyDecode.h>) of the second image, of the same
 * turned by 180 degrees, then of the first image in both ways. A null image is left out.
 *   value    written when there is one; each of the three may be null
 *   side     1 second image, 0 first; upright: 1 as it lies, 0 turned. Of the last image that was tried: not written
 *            before an image has been turned or recognised
 * An image that was turned stays so. */
ZELIMP_API int ZelIMPMoneyGetValue(unsigned char* firstImage, unsigned char* secondImage, unsigned char* value,
                                   unsigned char* side, unsigned char* upright);

/* There for old callers: return 0. */
ZELIMP_API int ZelIMPMoneyValidateMoney(void);
ZELIMP_API int ZelIMPMoneyGetSerial(void);
ZELIMP_API int ZelIMPDefineBNotes(void);

ZELIMP_C_END

#ifdef __cplusplus

#include <ZelIMP/FontAPI.h>
#include <ZelIMP/ImagBox.h>

/* Reads the line in a part of an image (see Extract_image) with the parameters that ImageBox_Init has set: cut,
 * contrast, line, boxes, digits. type is not looked at. out gets outlen bytes, the last of them NUL, or 128 when outlen
 * is more; nothing when it is below 1. Returns 1, or 0 and leaves out. */
ZELIMP_API int MakeOCR_P(unsigned char* dib, int x, int y, int w, int h, unsigned int type, char* out, int outlen);

/* The same of the geometric mean of two images that lie over each other as they come, without the contrast. */
ZELIMP_API int Mix_FrontRear(unsigned char* front, unsigned char* rear, int x, int y, int w, int h, unsigned int type,
                             char* out, int outlen);

/* The geometric mean of two images, rounded, over what both have from the first row on as they lie, with the header and
 * colour table of a and rows bottom-up; to be freed with free(). Null for other images and without memory. */
ZELIMP_API unsigned char* Convolute_images(char* a, char* b);

/* Writes a 24-bit image, whose rows it takes as lying back to back, to the files "Color.bmp" and, with pixels of up to
 * 10 in all channels black and the others white, "BW.bmp" in the current directory. Returns 0. */
ZELIMP_API int SplitBitmap(char* dib);

ZELIMP_API int Get_Size(char* dib, int* width, int* height); /* as the header says; returns 1 */
ZELIMP_API int Get_RowPos(char* dib, int* top, int* bottom); /* ImageBox_Rows */

/* Mirrors an 8-bit image in place, one byte further right than it should be: the first pixel of a row becomes the first
 * byte of the next one. Padding comes to lie in front, as 0. With rows top to bottom turns it upside down instead.
 * Returns 1; 0 for other images. */
ZELIMP_API int ImageBox_Mirror(char* dib);

/* Running means and deviations of uncompressed images whose sizes differ, n samples so far, modulo 2^32; a missing
 * pixel is white. New images of the larger size, rows bottom-up, with the sample's header replace *mean and *fraction
 * (the lower eight bits of the mean; its colour table is all white), *variance. These may be null and are freed with
 * free(). Return 0; without memory, for an n below 0 or a sample of another kind nothing is replaced. */
ZELIMP_API int ImageBox_Mix_Images(char* sample, int n, char** mean, char** fraction);
ZELIMP_API int ImageBox_Variance(char* sample, int n, char** mean, char** variance);

#endif

#endif
