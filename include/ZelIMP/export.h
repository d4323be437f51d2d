/* Export and linkage macros of the public headers. C99 and C++.
 *
 *   ZELIMP_API      a published function, object or class: visible in the shared library.
 *   ZELIMP_C_BEGIN  opens a block of declarations with C linkage, ZELIMP_C_END closes it.
 *
 * On i386 the library is built so that every function realigns the stack: callers may keep it aligned to 4 bytes only,
 * while vector code needs 16.
 */
#ifndef ZELIMP_EXPORT_H
#define ZELIMP_EXPORT_H

#define ZELIMP_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define ZELIMP_C_BEGIN extern "C" {
#define ZELIMP_C_END }
#else
#define ZELIMP_C_BEGIN
#define ZELIMP_C_END
#endif

#endif
