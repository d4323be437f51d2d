/* Crop parameters: the record, the one object of it that the pipeline reads, and its two setters. C99 and C++. */
#ifndef ZELIMP_CROP_PARAM_H
#define ZELIMP_CROP_PARAM_H

#include <ZelIMP/export.h>

ZELIMP_C_BEGIN

/* Twelve signed 32-bit integers; the order is part of the interface. All lengths are in pixels.
 * "Stored only": kept for the host, read by no operation of the library. */
typedef struct CROP_PARAM {
  int cropMode;        /* 1 automatic edge detection, 2 fixed margins; written by ZelIMPImageProc before a crop */
  int window0;         /* stored only */
  int window1;         /* stored only */
  int window2;         /* stored only */
  int window3;         /* stored only */
  int auxLimit;        /* stored only */
  int auxFlag;         /* stored only */
  int leftMargin;      /* first document column */
  int rightMargin;     /* columns excluded at the end of one half */
  int edgeThreshold;   /* edge strength, a difference of sums of grey levels */
  int edgeRowDistance; /* distance of the top and bottom scan rows */
  int maxLength;       /* maximum document length in columns, fixed-margin mode */
} CROP_PARAM;

/* The crop parameters that cropping calls of ZelIMPImageProc use. Zero when the library is loaded; keeps what the
 * setters and the last cropping call wrote. */
extern ZELIMP_API CROP_PARAM m_CropParam;

/* Stores crop parameters in m_CropParam. An argument of 0 selects the default of its field: rightMargin 10,
 * edgeThreshold 700, edgeRowDistance 150, maxLength 700, auxLimit 5120; leftMargin and auxFlag are stored as passed.
 * Returns 0. */
ZELIMP_API unsigned int ZelIMPSetCropParams(int leftMargin, int rightMargin, int edgeThreshold, int edgeRowDistance,
                                            int maxLength, int auxLimit, int auxFlag);

/* Stores the four window values in m_CropParam as passed. Returns 0. */
ZELIMP_API unsigned int ZelIMPSetCropWindow(int window0, int window1, int window2, int window3);

ZELIMP_C_END

#endif
