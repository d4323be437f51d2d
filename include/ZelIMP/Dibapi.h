// Packed device-independent bitmaps (DIB) in memory, and bitmap files. C++.
//
// A DIB is a header, a colour table and pixel rows without the file header in front. A header size of 40 is a
// BITMAPINFOHEADER, any other counts as a BITMAPCOREHEADER of 12 bytes, which is uncompressed. Colour table entries
// have 4 bytes (blue, green, red, reserved) or, after a core header, 3. Rows lie bottom-up, unless the height is
// negative, and are padded to 4 bytes. Everything here trusts the header it is given.
#ifndef ZELIMP_DIBAPI_H
#define ZELIMP_DIBAPI_H

#include <ZelIMP/export.h>

struct tagLOGPALETTE;

ZELIMP_API int DIBWidth(char* dib);
ZELIMP_API int DIBHeight(char* dib);  // as stored, negative for rows top to bottom

// Entries of the colour table: the header's number unless it is 0, else 2, 16 or 256 for 1, 4 or 8 bits, else 0. Users
// take the low 16 bits.
ZELIMP_API int DIBNumColors(char* dib);

// Bytes of the colour table. Users take the low 16 bits.
ZELIMP_API int PaletteSize(char* dib);

// The first pixel row.
ZELIMP_API char* FindDIBBits(char* dib);

// Bytes of header, colour table and rows; of run-length compressed rows what the header says. Negative heights count
// as they are stored.
ZELIMP_API int DIBSize(char* dib);

// Makes nothing and returns 0: there for old callers.
ZELIMP_API int CreateDIBPalette(void* dib, tagLOGPALETTE* palette);

// Writes dib as a bitmap file and returns 1; 0 for a null dib or a file that cannot be written. An uncompressed dib
// with a 40-byte header gets its image size entered.
ZELIMP_API int ImageBox_SaveDataToFile(char* path, char* dib);

// Reads a bitmap file, which is a regular one, and returns its DIB, which the caller frees with free(); null when it
// cannot be read or does not begin with "BM". Nothing else about it is checked.
ZELIMP_API char* ImageBox_ReadImageFromFile(char* path);

// The same into GetImage. Returns 1, or 0; a file that ends early leaves GetImage null, one that is no bitmap file
// leaves it as it was.
ZELIMP_API int ImageBox_ReadDataFromFile(char* path);

// The image that was last read from a file, owned by whoever takes it, or compared with, owned by the font.
extern ZELIMP_API char* GetImage;

#endif
