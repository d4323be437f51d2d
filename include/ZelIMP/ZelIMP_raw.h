/* Between the scanner's raw TIFF, fresh TIFF files and bitmaps. C99 and C++.
 *
 * The statuses are those of <ZelIMP/ZelIMP_pipeline.h>. ZelIMPSaveMICR and ZelIMPProcessRaw_TIFF make the file
 * "/tmp/varnoketemp.tif", under the conditions of <ZelIMP/ZelIMP_writers.h>, and reset libtiff's tag extender; their
 * calls must not overlap. */
#ifndef ZELIMP_RAW_H
#define ZELIMP_RAW_H

#include <ZelIMP/export.h>

ZELIMP_C_BEGIN

/* Descrambles a raw read-out with flat-field correction and gives it back as a TIFF with all of its tags.
 *   tiff                        8-bit grey or 24-bit colour, uncompressed; its offsets are trusted
 *   output                      room for the TIFF: 14 + 12 for each tag + the bytes of all values outside the entries +
 *                               the pixels that remain
 *   outputSize                  bytes written
 *   dropLines, halveLines, ...  as ZelIMPDescrambleCal_mono (whiteTable, halveLines) and _color (the three planes) of
 *                               <ZelIMP/descramble.h> take them; the tables that the kind of scan does not need are not
 *                               looked at
 *   unused                      not looked at
 * Returns 0; 1 when the input does not load, has no pixels or fewer bytes than its pixels take, or when memory is
 * short; 2 for other kinds of image, after printing the line ZELIMP_UNSUPPORTED on standard output, and, without a
 * line, when dropLines (grey with halveLines: twice that) exceeds the rows. On 1 and 2 nothing is written. Not
 * reentrant: uses SWAP_SIDES and Tarsis_7200. */
ZELIMP_API unsigned int ZelIMPDescramCalTiff(unsigned char* tiff, unsigned char* output, unsigned int* outputSize,
                                             unsigned int dropLines, unsigned int spare2, unsigned int spare3,
                                             unsigned int spare4, unsigned int spare5, unsigned short* whiteTable,
                                             unsigned short* whitePlane1, unsigned short* whitePlane2,
                                             unsigned short* whitePlane3, unsigned int unused,
                                             unsigned short* blackTable, int halveLines);

/* Writes a scanner TIFF anew, uncompressed, with another description (null: with none): size, resolution, maker, model
 * and software of the scan, its strip as it is. output: room for the strip, the texts and 1024 bytes; the length is
 * not told. Images of other kinds than 8-bit grey and 24-bit colour are written as 8-bit samples too. Returns 0; 1 as
 * above; 5 when the temporary file could not be used, or an image of another kind has no width or height, or rows of
 * more than 2^31 - 1 bytes. reservedA and reservedB are not looked at. */
ZELIMP_API unsigned int ZelIMPSaveMICR(unsigned char* tiff, unsigned int reservedA, unsigned char* output,
                                       unsigned int reservedB, char* description);

/* Makes a TIFF of bare pixels: width * height samples, of three bytes with bitDepth 16 and more, else of one.
 * resolution in dots per inch, left out when negative; null texts are left out. output: room for the pixels, the texts
 * and 1024 bytes; the length is not told. Returns 0, or 5 when the temporary file could not be used, width or height
 * is 0 or less, or the pixels are more than 2^31 - 1 bytes. */
ZELIMP_API unsigned int ZelIMPProcessRaw_TIFF(unsigned char* pixels, int width, int height, unsigned int bitDepth,
                                              double resolution, char* model, char* description, char* software,
                                              unsigned char* output);

/* Loads a TIFF file into the library's shared image and gives it as a packed 8-bit bitmap without a file header: 40
 * bytes BITMAPINFOHEADER, 256 grey palette entries, rows bottom-up, each (width + 3) / 4 * 4 bytes. Its padding are the
 * bytes that follow the row in the file. Rows are taken as width bytes apart whatever the kind of image.
 * *size: 1064 + (width + 3) / 4 * 4 * height. The bitmap is the library's and lasts until the next call.
 * A file that is no little-endian TIFF, or a TIFF without pixels, gives an empty bitmap of 1064 bytes. Returns null
 * when the file cannot be read or is no regular file, has less than 8 bytes, tells a place outside itself (the shared
 * image is untouched then), when it does not load as a scan, or when memory is short. *size is written on success only.
 * Every offset is verified: any file may be given. Not reentrant. */
ZELIMP_API unsigned char* ZelIMPLoadTIFF(const char* path, unsigned int* size);

ZELIMP_C_END

#endif
