/* Plain exported objects that belong to no class. C99 and C++. All are shared without a lock. */
#ifndef ZELIMP_GLOBALS_H
#define ZELIMP_GLOBALS_H

#include <ZelIMP/export.h>
#include <time.h>

ZELIMP_C_BEGIN

/* Sensor layout of the descrambling routines, not 0 = set. Both are 1 when the library is loaded and may be changed
 * between calls. SWAP_SIDES: which half of a row each channel fills; Tarsis_7200: channel A is mirrored. */
extern ZELIMP_API unsigned char SWAP_SIDES;
extern ZELIMP_API unsigned char Tarsis_7200;

/* Window sums of the adaptive threshold, one per column, for images up to ZELIMP_ROW_SUMS pixels wide. After
 * convertToMono2 m_prevSquareValue holds the sums of the last even row, m_squareValue those of the last odd row. */
#define ZELIMP_ROW_SUMS 5120
extern ZELIMP_API int m_squareValue[ZELIMP_ROW_SUMS];
extern ZELIMP_API int m_prevSquareValue[ZELIMP_ROW_SUMS];

/* Start mark of the CPU-time measurement, written by StartPerformanceMeasure. */
struct timespec;
extern ZELIMP_API struct timespec CounterStart;

/* Part of the interface; nothing reads or writes it. */
extern ZELIMP_API double PCFreq;

ZELIMP_C_END

#endif
