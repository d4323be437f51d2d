/* ZelIMP: imaging library of a document and cheque scanner, the flat interface.
 *
 * In C99 this header brings the entry points, the status codes, the crop parameters and the plain globals; in C++ also
 * the classes and their free functions. Each module has a header of its own that can be included alone:
 *
 *   header                      what it declares                                                            C  C++
 *   ZelIMP/ZelIMP_pipeline.h    ZelIMPImageProc, status codes                                               x  x
 *   ZelIMP/ZelIMP_raw.h         ZelIMPDescramCalTiff, ZelIMPSaveMICR, ZelIMPProcessRaw_TIFF, ZelIMPLoadTIFF     x  x
 *   ZelIMP/CropParam.h          CROP_PARAM, m_CropParam, ZelIMPSetCropParams, ZelIMPSetCropWindow           x  x
 *   ZelIMP/descramble.h         ZelIMPDescramble_mono, _color, ZelIMPDescrambleCal_mono, _color             x  x
 *   ZelIMP/ZelIMP_mono.h        ZelIMPColorToGray; in C++ thresholds, noise filter and their steps          x  x
 *   ZelIMP/ResampleInterface.h  ZelIMPGetOutputBufferSize, ZelIMPResample8BitBitmap, 24, 32; conversions    x  x
 *   ZelIMP/HRFF.h               ZelIMPValidateMH, ZelIMPDecodeMH, font of templates; in C++ image utilities  x  x
 *   ZelIMP/ImagBox.h            recognition parameters and boxes; in C++ segmentation and decoding             x  x
 *   ZelIMP/globals.h            SWAP_SIDES, Tarsis_7200, row sums, CPU-time marks                           x  x
 *   ZelIMP/TiffTag.h            TiffTag, TiffGetWord, TiffGetLong                                              x
 *   ZelIMP/TiffHeader.h         TiffHeader                                                                     x
 *   ZelIMP/TiffImage.h          TiffImage                                                                      x
 *   ZelIMP/Group4Compression.h  Group4Compression                                                              x
 *   ZelIMP/ManageTIFF.h         TI, ProcessTIFF_to_BMP, ProcessTIFF_to_BMP_Color                               x
 *   ZelIMP/ResampleBitmap.h     CreateResampledBitmap                                                          x
 *   ZelIMP/Dibapi.h             bitmaps in memory and their files                                              x
 *   ZelIMP/FontAPI.h            FontAPI, ActualFont                                                            x
 *   ZelIMP/MoneyDecode.h        USDloc; in C++ banknotes, Image_Equalize                                         x  x
 *   ZelIMP/ZelIMP_writers.h     ProcessTIFF_JPG, ProcessJFIF_JPG                                               x
 *   ZelIMP/linux_win.h          temporary path, debug log, CPU-time measurement                                x
 *
 * Conventions. Sizes are 32-bit; images come as a whole TIFF file in memory and are not copied; results go into a
 * buffer that the caller provides, whose size is never passed: each entry point says what it must hold. Nothing is
 * thrown on bad input. The offsets inside a TIFF are trusted: for bytes from elsewhere use <ZelIMP.hpp>, which checks
 * them all. The library shares global state without a lock: calls of this interface must not overlap.
 */
#ifndef ZELIMP_H
#define ZELIMP_H

#include <ZelIMP/CropParam.h>
#include <ZelIMP/HRFF.h>
#include <ZelIMP/ImagBox.h>
#include <ZelIMP/MoneyDecode.h>
#include <ZelIMP/ResampleInterface.h>
#include <ZelIMP/ZelIMP_mono.h>
#include <ZelIMP/ZelIMP_pipeline.h>
#include <ZelIMP/ZelIMP_raw.h>
#include <ZelIMP/descramble.h>
#include <ZelIMP/export.h>
#include <ZelIMP/globals.h>

#ifdef __cplusplus
#include <ZelIMP/Dibapi.h>
#include <ZelIMP/FontAPI.h>
#include <ZelIMP/Group4Compression.h>
#include <ZelIMP/ManageTIFF.h>
#include <ZelIMP/ResampleBitmap.h>
#include <ZelIMP/TiffHeader.h>
#include <ZelIMP/TiffImage.h>
#include <ZelIMP/TiffTag.h>
#include <ZelIMP/ZelIMP_writers.h>
#include <ZelIMP/linux_win.h>
#endif

#endif
