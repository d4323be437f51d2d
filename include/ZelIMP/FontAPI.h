// Store of character templates, and its file. C++.
#ifndef ZELIMP_FONTAPI_H
#define ZELIMP_FONTAPI_H

#include <ZelIMP/Dibapi.h>
#include <ZelIMP/export.h>

#pragma pack(push, 1)

// One template: the mean of its samples, and their deviation or a mask. Both are 8-bit DIBs in blocks of size bytes.
struct FontSlot {
  unsigned char* image;     // owned, released by UnloadFont(); null: the slot has no images
  unsigned char* variance;  // owned likewise
  unsigned int width;       // of the first sample
  int height;               // of the first sample, as its header says
  unsigned int code;        // 0: deleted
  unsigned short samples;   // that are averaged in image
  unsigned int size;
};

// 128 slots, of which the first count are in use. Deleting a slot clears its code and moves nothing. Not copied: two
// objects would free the same images.
class ZELIMP_API FontAPI {
 public:
  FontAPI();  // empty
  ~FontAPI();
  FontAPI(const FontAPI&) = delete;
  FontAPI& operator=(const FontAPI&) = delete;

  // Replaces the slots by the records of a file, at most 128, and frees the images before. Returns their number. A
  // record: width, height, code, samples (16 bits), size, image, variance, little-endian. A file that ends within a
  // record gives those before it; a record whose image says that it is larger than size comes without images. 0, while
  // count stays as it was: a file that cannot be opened, which leaves all slots empty; a record without width or
  // height, or no memory, which leaves the records before it.
  int LoadFont(char* path);

  // Writes the slots with codes 1 to 127, in the order of the codes and then of the slots, as such records. Slots
  // without images are left out. Returns 0, whether or not it worked.
  int SaveFont(char* path);

  // Frees all images and empties the store. A GetImage that was one of them becomes null. Returns 0.
  int UnloadFont();

  // index from 0 to count - 1; others give 0 and change nothing. The rest gives 1.
  int Get_Char_Info(int index, unsigned long* samples, unsigned long* height, unsigned long* width,
                    unsigned long* code);
  int Set_Char_Info(int index, int code);
  int Delete_Char(int index);  // clears code and samples

  // Adds a sample, an 8-bit DIB with rows bottom-up, to the first slot with this code: mean, then variance, then
  // samples, which wraps. A new code takes the next slot, with the sample as mean and zeros as variance: the sample's
  // pixels are cleared on the way. Returns the slot's index + 1; 0 without memory, with 128 slots in use, or for a slot
  // without images.
  int Add_Char(int code, char* dib);

  // Puts a mask in the place of the variance of the first slot with this code and counts a sample. Only as much is
  // copied as the slot has room for. Returns the slot's index + 1, or 0.
  int Add_Mask(int code, char* dib);

  // mean = (mean * n + sample) / (n + 1), toward zero, over the columns and rows that both have, counted from the lower
  // left corner. Nothing for rows top to bottom, and for n below 0. Returns 0.
  int Mix_Images_average(unsigned char* mean, unsigned char* sample, int n);

  // variance = (n * variance + |mean - sample|) modulo 256 / (n + 1), over the same pixels. Rows of variance lie as far
  // apart as those of mean; what would lie beyond it is left out. Returns 0.
  int Variance(unsigned char* mean, unsigned char* sample, unsigned char* variance, int n);

  // Clears the variance of every slot that has samples, gives it a palette of false colours (black, green, blue, red)
  // and sets samples to 1. Of an image one pixel wide only the lower half is cleared. Returns 1.
  int Clear_Variance();

  FontSlot slots[128];
  int count;
};

#pragma pack(pop)

// The font of the recognition calls. Defined by module HRFF.
extern ZELIMP_API FontAPI ActualFont;

#endif
