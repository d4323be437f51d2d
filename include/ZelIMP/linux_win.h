// Platform shim: temporary directory, debug log, CPU-time measurement. C++.
//
// The names come from another platform's interface, so that processing code calls the same names everywhere.
#ifndef ZELIMP_LINUX_WIN_H
#define ZELIMP_LINUX_WIN_H

#include <ZelIMP/export.h>
#include <ZelIMP/globals.h>
#include <time.h>

// Writes "/tmp/" and its NUL (six bytes) into buffer and returns 5, the length without the NUL. size is not looked at.
ZELIMP_API int GetTempPath(int size, char* buffer);

// Appends length bytes of data to the file "debug.dat" in the current directory and closes it again, so that the log
// survives a crash. A length of 0 or less creates the file and writes nothing. A file that cannot be opened is ignored.
ZELIMP_API void xdebug(char* data, int length);

// xdebug of a NUL-terminated text, without the NUL; no newline is added.
ZELIMP_API void OutputDebugString(char* text);

// printf into the debug log; the text is cut at 4095 bytes.
ZELIMP_API void odprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Puts the process's CPU time into CounterStart. Returns the result of clock_gettime: 0, or -1 on failure.
ZELIMP_API int StartPerformanceMeasure(void);

// CPU time in nanoseconds since StartPerformanceMeasure. The value is computed in 32 bits: it wraps past 2147483647
// (about 2.1 s) and is negative in every second interval of that length.
ZELIMP_API double GetPerformanceMeasure(void);

// end - start with nanoseconds from 0 to 999999999, when both are normalised and start is not later than end.
ZELIMP_API timespec diff(timespec start, timespec end);

#endif
