/* Pixel-format conversions and the library's gray working copy.
 *
 * Layouts, all row-major and without padding between rows:
 *   gray   one byte a pixel, 0 black, 255 white
 *   RGB    three bytes a pixel: red, green, blue
 *   ARGB   one 32-bit integer a pixel: alpha in bits 24 to 31, red in 16 to 23, green in 8 to 15, blue
 *          in 0 to 7, whatever the byte order of the machine
 *
 * Luma is (306 red + 601 green + 117 blue) / 1024, rounded down; white stays 255. The weights are those of
 * ITU-R BT.601 (1982) in 1/1024.
 *
 * The exported symbols of these six functions carry their parameter types, as C++ compilers write them; a C
 * compiler that knows symbol labels (GCC, Clang) gets the same symbols from this header.
 */
#ifndef SKEWCORRECTION_CONVERT_H
#define SKEWCORRECTION_CONVERT_H

#include "types.h"

#if defined(__cplusplus)
#define SKEW_TYPED_SYMBOL(name)
#elif defined(__GNUC__)
#define SKEW_TYPED_SYMBOL(name) __asm__(name)
#else
#error "convert.h needs C++, or a C compiler with symbol labels"
#endif

/* The luma, 0 ... 255, of one pixel. Keeps no state. */
SKEW_API int GetYfromRGB(unsigned char r, unsigned char g, unsigned char b)
    SKEW_TYPED_SYMBOL("_Z11GetYfromRGBhhh");

/* The three image converters below
 *   - convert width * height pixels, and do nothing when that product is 0 or negative; the product is formed
 *     in 64 bits, so images of more than 2^31 pixels are converted whole;
 *   - read and write exactly the pixels; source and destination stay the caller's, are not checked, and may
 *     start at the same address (the source is then overwritten) but not overlap otherwise;
 *   - cannot fail, allocate nothing, keep no state: calls on different images may run at the same time. */

/* Gray from RGB. */
SKEW_API void ImageConvert_RGB888toGray(const unsigned char* pRGB, unsigned char* pGray, int width,
                                        int height) SKEW_TYPED_SYMBOL("_Z25ImageConvert_RGB888toGrayPKhPhii");

/* The same conversion with the parameters in another order: sizes before the destination. */
SKEW_API void image_rgb2gray(const unsigned char* pRGB, int width, int height, unsigned char* pGray)
    SKEW_TYPED_SYMBOL("_Z14image_rgb2grayPKhiiPh");

/* RGB from ARGB; alpha is dropped. */
SKEW_API void ConvertImageData_INTtoBYTE(const int* pARGB, unsigned char* pRGB, int width, int height)
    SKEW_TYPED_SYMBOL("_Z26ConvertImageData_INTtoBYTEPKiPhii");

/* The working copy is one gray image that the library owns. The Java methods make it with the functions below
 * and free it before they return; a native caller cannot reach it and rarely needs these functions. The copy
 * of an earlier call is freed first, whatever comes after.
 *
 * Both return SKEW_OK, or SKEW_OUT_OF_MEMORY if the copy cannot be allocated or the size is negative; there
 * is no working copy then. Extra heap: width * height bytes, which stay allocated; no temporary. There is one
 * working copy in a process, without a lock: calls must not overlap one another or a Java method. */

/* Makes the working copy a copy of the width * height bytes at pSrc. */
SKEW_API int CopyToGlobalBuffer(const unsigned char* pSrc, int width, int height)
    SKEW_TYPED_SYMBOL("_Z18CopyToGlobalBufferPKhii");

/* Makes the working copy the gray image of the width * height pixels at pARGB; alpha has no effect. */
SKEW_API int ConvertImageDataToGray_and_CopyToGlobalBuffer(const int* pARGB, int width, int height)
    SKEW_TYPED_SYMBOL("_Z45ConvertImageDataToGray_and_CopyToGlobalBufferPKiii");

#undef SKEW_TYPED_SYMBOL

#endif
