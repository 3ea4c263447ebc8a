/* Rotation of gray, RGB and ARGB images about their centre, with bilinear interpolation.
 *
 * The angle is the skew to undo, in degrees: a positive angle turns the content counter-clockwise as
 * displayed, so rotating an image by the angle that was measured in it levels its lines. RotateGrayImage,
 * RotateRGBImage, RotateARGBImage_INT_FOR_JNI, RotateImage and RotateImageMT cut the magnitude of the angle
 * down to a multiple of 0.2 degree and accept magnitudes below 66; the skew_rotate functions at the end take
 * any angle.
 *
 * Each destination pixel is taken from the source position that the rotation maps it to. Sines and cosines
 * are whole multiples of 1/65536 and everything computed from them is exact, so the results are the same
 * bytes on every processor.
 *
 * No function keeps state: calls may run concurrently as long as none writes what another reads or writes.
 */
#ifndef SKEWCORRECTION_ROTATE_H
#define SKEWCORRECTION_ROTATE_H

#include <stddef.h>

#include "types.h"

SKEW_EXTERN_C_BEGIN

/* Rotates a gray image into a new one of the same size.
 *   pSrc           width * height bytes, rows exactly width bytes apart; only read
 *   width, height  pixels
 *   angle          degrees, below 66 in magnitude; below 0.2 the new image is an exact copy
 *   ppDst          receives the new image, laid out like the source; the caller frees it with free()
 *   fill           the byte that pixels from outside the source take; -1 is white
 * A pixel is interpolated from the four pixels around its source position (X, Y) and rounded to nearest,
 * halves up. It takes the fill value where X <= -1, X >= width - 1, Y <= -1 or Y >= height - 1: positions in
 * the last column or row count as outside. Between -1 and 0 the first two columns or rows are extrapolated
 * and the value is limited to 0 ... 255. An image of a single column or row has no such pixel and becomes all
 * fill value.
 * Returns SKEW_OK; SKEW_INVALID_ARGUMENT for a null pointer, a size below 1, a NaN or an angle out of range
 * (*ppDst unchanged); SKEW_OUT_OF_MEMORY if the new image cannot be allocated (*ppDst is then null).
 * Heap: the new image alone. */
SKEW_API int RotateGrayImage(const unsigned char* pSrc, int width, int height, double angle,
                             unsigned char** ppDst, char fill);

/* Rotates an image of packed 24-bit pixels into another one of the same size.
 *   pSrc           3 * width * height bytes, three a pixel, in any order of the colours; only read
 *   width, height  pixels
 *   angle          degrees, below 66 in magnitude; below 0.2 the destination becomes an exact copy
 *   pDst           3 * width * height bytes, every one of them written; must not overlap the source
 *   fill           written to each of the three bytes of a pixel from outside the source
 * Positions, rounding and limits of each byte are those of RotateGrayImage.
 * Returns SKEW_OK; SKEW_INVALID_ARGUMENT for a null pointer, a size below 1, a NaN or an angle out of range;
 * SKEW_OUT_OF_MEMORY if an image of that size cannot be addressed. Nothing is written on failure.
 * Heap: none. */
SKEW_API int RotateRGBImage(const unsigned char* pSrc, int width, int height, double angle,
                            unsigned char* pDst, unsigned char fill);

/* Rotates an image of 32-bit ARGB pixels into another one of the same size.
 *   pSrc           width * height integers: blue in bits 0-7, green 8-15, red 16-23, alpha 24-31; only read
 *   width, height  pixels
 *   angle          degrees, below 66 in magnitude; below 0.2 the destination becomes an exact copy
 *   pDst           width * height integers, every one of them written; must not overlap the source
 *   fill           the whole pixel where there is no source, alpha included; -1 is opaque white
 * Positions are those of RotateGrayImage. The three colours are interpolated and rounded down; alpha is not
 * interpolated but that of the upper left of the four neighbours, and it has no weight: the colour of a transparent
 * neighbour counts like any other.
 * Returns and heap as for RotateRGBImage. */
SKEW_API int RotateARGBImage_INT_FOR_JNI(const int* pSrc, int width, int height, double angle, int* pDst,
                                         int fill);

/* Rotates a gray image in place, with weights in 1/256, and up to four points with it.
 *   pImage            width * height bytes, rows exactly width bytes apart; replaced by the rotated image
 *   width, height     pixels
 *   angle             degrees, below 66 in magnitude; below 0.2 image and points stay as they are
 *   fillValue         low 8 bits: the value of pixels from outside the source; 0 selects 255
 *   pPointX, pPointY  columns and rows of four points, which are moved with the content and rounded down; if
 *                     one of the two is null no point is moved
 * Pixels come from source positions (X, Y) with 0 <= X < width - 1 and 0 <= Y < height - 1. The two weights
 * of a direction sum to 256 or 257, so a uniform area may come out brighter by up to 2, never above 255.
 * Returns 0; 1 for a NaN or an angle out of range; SKEW_NO_WORKING_MEMORY if the working copy cannot be
 * allocated, also for sizes below 0. Image and points are unchanged on failure.
 * Heap: width * height bytes during the call. */
SKEW_API int RotateImage(unsigned char* pImage, int width, int height, double angle, int fillValue,
                         int* pPointX, int* pPointY);

/* What RotateImageMT works on: a band of columns of one rotation. */
typedef struct RotateImageParam {
  const unsigned char* pSrc; /* source image, rows exactly width bytes apart; only read */
  unsigned char* pDst;       /* destination image of the same size; must not overlap the source */
  int width;                 /* of both images, pixels */
  int height;
  double angle; /* degrees */
  int startX;   /* first destination column of the band */
  int endX;     /* destination column after the last one; columns outside the image are ignored */
} RotateImageParam;

/* Computes one band of columns as RotateImage does. Takes a pointer to a RotateImageParam and has the shape
 * of a thread's start routine: bands of one destination may be computed by several threads at the same time.
 * Pixels without a source position inside the source keep their values, so fill the destination first.
 * Nothing is written for angles below 0.2 degree in magnitude, from 66 on, or NaN, or for an empty band or
 * image.
 * Returns a null pointer, that is 0, in every case. Heap: none. */
SKEW_API void* RotateImageMT(void* pParam);

/* What becomes of the canvas when content turns by an arbitrary angle. */
enum {
  SKEW_CANVAS_KEEP = 0,  /* the size of the source, the same centre: corners are cut off */
  SKEW_CANVAS_EXPAND = 1 /* as large as needed to show the whole source */
};

/* The size of the image that the skew_rotate functions write.
 *   width, height          of the source, pixels
 *   angle                  degrees, -180 ... 180
 *   canvas                 SKEW_CANVAS_KEEP or SKEW_CANVAS_EXPAND
 *   pOutWidth, pOutHeight  receive the size, pixels
 * The expanded canvas is the smallest whole size that covers the turned source; at a quarter turn that is
 * height by width exactly.
 * Returns SKEW_OK; SKEW_INVALID_ARGUMENT for a null pointer, a size below 1, an unknown canvas, or an angle
 * that is out of range or NaN; SKEW_OUT_OF_MEMORY if a side would exceed 2^31 - 1. Outputs change only on
 * success. */
SKEW_API int skew_rotated_size(int width, int height, double angle, int canvas, int* pOutWidth,
                               int* pOutHeight);

/* Rotates a gray image by any angle.
 *   pSrc, srcStride  height rows of width bytes, srcStride bytes from one to the next; only read
 *   width, height    of the source, pixels
 *   angle            degrees, -180 ... 180, taken as it is: only sine and cosine are rounded, to 1/65536,
 *                    about 0.001 degree. Where both are those of 0 the destination becomes an exact copy
 *   canvas           SKEW_CANVAS_KEEP or SKEW_CANVAS_EXPAND
 *   pDst, dstStride  rows of the size that skew_rotated_size gives, dstStride bytes from one to the next;
 *                    every pixel is written, the bytes between rows are not; must not overlap the source
 *   fill             the value of pixels from outside the source
 * Strides may be negative for images stored bottom up; their magnitude is at least the length of a row.
 * A pixel has a source where its position lies within half a pixel of the centres of the source's pixels:
 * -1/2 <= X < width - 1/2, and Y likewise. It is interpolated and rounded as RotateGrayImage does; in the
 * outer half pixel the border's own values count.
 * Returns SKEW_OK; SKEW_INVALID_ARGUMENT as skew_rotated_size does and for a stride that is too short;
 * SKEW_OUT_OF_MEMORY if an image would be too large to address. Nothing is written on failure.
 * Heap: none. */
SKEW_API int skew_rotate_gray(const unsigned char* pSrc, ptrdiff_t srcStride, int width, int height,
                              double angle, int canvas, unsigned char* pDst, ptrdiff_t dstStride,
                              unsigned char fill);

/* The same for packed 24-bit pixels; pFill points to the fill colour, three bytes in the image's order. */
SKEW_API int skew_rotate_rgb(const unsigned char* pSrc, ptrdiff_t srcStride, int width, int height,
                             double angle, int canvas, unsigned char* pDst, ptrdiff_t dstStride,
                             const unsigned char* pFill);

/* The same for 32-bit ARGB pixels, with strides in bytes, whole multiples of 4. As in
 * RotateARGBImage_INT_FOR_JNI the colours are rounded down and alpha is that of the upper left neighbour. */
SKEW_API int skew_rotate_argb(const uint32_t* pSrc, ptrdiff_t srcStride, int width, int height, double angle,
                              int canvas, uint32_t* pDst, ptrdiff_t dstStride, uint32_t fill);

SKEW_EXTERN_C_END

#endif
