/* One operation: measure a page, judge the measurement, and turn the page level or leave it alone. And where
 * each point of an image goes when the image is turned.
 *
 * Images are gray (one byte a pixel, 0 black ... 255 white), RGB (three bytes: red, green, blue) or ARGB (one
 * 32-bit integer: alpha in bits 24 to 31, red, green, blue in 0 to 7). RGB and ARGB pages are measured by
 * their luma (convert.h); alpha has no effect on the measurement. A stride is the number of bytes from the
 * start of a row to the start of the next, a multiple of 4 for ARGB; it may be negative for images stored
 * bottom up, and its magnitude is at least the length of a row.
 *
 * All functions are re-entrant: they keep no state, and calls may run at the same time, on the same image
 * too. Results are the same on every processor.
 */
#ifndef SKEWCORRECTION_LEVEL_H
#define SKEWCORRECTION_LEVEL_H

#include <stddef.h>

#include "page.h"
#include "rotate.h"
#include "types.h"

SKEW_EXTERN_C_BEGIN

/* ---- Points ----
 *
 * A point is a position in an image, in pixels from its upper left corner, x to the right and y downward: the
 * centre of the first pixel is (0.5, 0.5), and an image of w by h pixels reaches from (0, 0) to (w, h). */

/* What a rotation does to points: result x = a * x + c * y + e and result y = b * x + d * y + f. */
typedef struct SkewTransform {
  int width, height;       /* of the source, pixels */
  int outWidth, outHeight; /* of the result, pixels */
  double a, b, c, d, e, f;
} SkewTransform;

/* The transform of skew_rotate_gray, skew_rotate_rgb and skew_rotate_argb for the same size, angle and canvas.
 * Returns what skew_rotated_size returns for them, and SKEW_INVALID_ARGUMENT for a null pointer. The record is
 * written only on success. */
SKEW_API int skew_transform(int width, int height, double angle, int canvas, SkewTransform* pTransform);

/* The transform of the rotations in steps of 0.2 degree: RotateGrayImage, RotateRGBImage,
 * RotateARGBImage_INT_FOR_JNI, RotateImage and RotateImageMT; the size stays.
 * Returns SKEW_OK, or SKEW_INVALID_ARGUMENT with nothing written: a null pointer, a size below 1, a NaN or an
 * angle of 66 degrees or more in magnitude. */
SKEW_API int skew_transform_in_steps(int width, int height, double angle, SkewTransform* pTransform);

/* The way that skew_map_points takes. */
enum { SKEW_MAP_TO_RESULT = 0, SKEW_MAP_TO_SOURCE = 1 };

/* Moves points from the source to the result, or back.
 *   pTransform  only read; any record whose a * d - b * c is not 0, so that others may be composed of it
 *   direction   SKEW_MAP_...
 *   pPoints     count pairs x, y; replaced by where they go. They may lie outside the image.
 * To the result and back again a point of an image moves by less than a thousandth of a pixel.
 * Returns SKEW_OK, or SKEW_INVALID_ARGUMENT with nothing written: a null pointer (pPoints may be null when
 * count is 0), a negative count, an unknown direction, or a transform that has no inverse. Uses no heap. */
SKEW_API int skew_map_points(const SkewTransform* pTransform, int direction, double* pPoints, int count);

/* ---- Levelling ---- */

/* What is made level. */
enum {
  SKEW_ALIGN_TEXT = 0,  /* what SkewPage.angle follows: the lines */
  SKEW_ALIGN_PAPER = 1, /* the edges of the sheet, where they are seen, whatever the text does */
  SKEW_ALIGN_AUTO = 2 /* the lines where they are trusted, else the edges of the sheet where they are seen */
};

/* The colour of what comes into view. */
enum {
  SKEW_FILL_BORDER = 0, /* that of the page's own border: see skew_border_gray */
  SKEW_FILL_GIVEN = 1   /* SkewLevelOptions.fill */
};

/* What is wanted. */
typedef struct SkewLevelOptions {
  double smallestAngle;  /* smaller tilts are left alone, degrees; 0 or more; default 0.05 */
  double largestAngle;   /* larger tilts are left alone, degrees; at least smallestAngle; default 45 */
  double expectedAngle;  /* an angle known before, from a preview say; -180 ... 180; default 0 */
  double expectedWithin; /* a page is left alone unless its angle lies within so many degrees of
                            expectedAngle; 0 or more; default 180: any angle will do */
  int align;             /* SKEW_ALIGN_...; default SKEW_ALIGN_TEXT */
  int force;             /* not 0: turn by an angle that is not trusted, too; default 0 */
  int canvas;            /* SKEW_CANVAS_... (rotate.h); default SKEW_CANVAS_KEEP */
  int fillMode;          /* SKEW_FILL_...; default SKEW_FILL_BORDER */
  uint32_t fill;         /* 0xAARRGGBB: alpha counts for ARGB alone, gray images take the luma of the colour.
                            Default 0xFFFFFFFF, opaque white */
  int upright;           /* reserved: must be 0, the default */
} SkewLevelOptions;

/* What was done. */
enum {
  SKEW_LEVELLED = 0,
  SKEW_LEFT_LEVEL = 1,     /* left alone: level already, turning would not change a pixel */
  SKEW_LEFT_SMALL = 2,     /* left alone: tilted by less than smallestAngle */
  SKEW_LEFT_LARGE = 3,     /* left alone: tilted by more than largestAngle */
  SKEW_LEFT_UNTRUSTED = 4, /* left alone: the angle is not trusted; page.reason says why */
  SKEW_LEFT_BLANK = 5,     /* left alone: no content to measure */
  SKEW_LEFT_NO_PAPER = 6,  /* left alone: no edges of a sheet are seen */
  SKEW_LEFT_UNEXPECTED = 7 /* left alone: too far from expectedAngle */
};

typedef struct SkewLevel {
  int action;              /* SKEW_LEVELLED or SKEW_LEFT_... */
  int aligned;             /* SKEW_ALIGN_TEXT or SKEW_ALIGN_PAPER: what tilt is the direction of */
  double tilt;             /* the direction found, degrees, also where the page is left alone for being tilted
                              too little or too much; 0.0 if none was found */
  double angle;            /* by which the page is turned: tilt, or 0.0 when it is left alone */
  int canvas;              /* of the turn: options.canvas, or SKEW_CANVAS_KEEP when it is left alone */
  uint32_t fill;           /* 0xAARRGGBB: the colour of what comes into view; alpha is 255 for gray and RGB */
  SkewTransform transform; /* from the page to the result; nothing moves when it is left alone */
  SkewPage page;           /* the measurement */
} SkewLevel;

/* Writes the default options. A null pointer is ignored. */
SKEW_API void skew_level_defaults(SkewLevelOptions* pOptions);

/* The judgement alone, for a page that has been measured.
 *   pPage          a measurement; only read
 *   width, height  of the page, pixels
 *   pOptions       what is wanted; null for the defaults; only read
 *   pLevel         receives what to do. fill is that of the options: with SKEW_FILL_BORDER opaque white, since
 *                  this function does not see the page
 * In this order: no direction to level by (a blank page stays alone even with force); level already;
 * smallestAngle; largestAngle; expectedAngle.
 * Returns SKEW_OK; SKEW_INVALID_ARGUMENT for a null pPage or pLevel, a size below 1, options out of range or
 * NaN, or a measurement whose angle is not within -90 ... 90; SKEW_OUT_OF_MEMORY if a side of the expanded
 * canvas would exceed 2^31 - 1. *pLevel is written only on success. Uses no heap. */
SKEW_API int skew_decide_level(const SkewPage* pPage, int width, int height, const SkewLevelOptions* pOptions,
                               SkewLevel* pLevel);

/* Measures a page and judges it, without turning it.
 *   pSrc, stride, width, height  the page; only read
 *   pOptions                     what is wanted; null for the defaults; only read
 *   pLevel                       receives what to do
 * To turn the page into memory of your own, pass angle, canvas and fill of the record to skew_rotate_gray or
 * its relative (rotate.h); the result has transform.outWidth by transform.outHeight pixels.
 * Returns as skew_decide_level does, SKEW_INVALID_ARGUMENT also for a null pSrc and a stride that is too
 * short, or too long for memory to hold the page; SKEW_OUT_OF_MEMORY also when an allocation failed. *pLevel is
 * written only on success.
 * Extra heap while it runs: that of skew_measure_page, and for RGB and ARGB one byte a pixel. */
SKEW_API int skew_plan_gray(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                            const SkewLevelOptions* pOptions, SkewLevel* pLevel);
SKEW_API int skew_plan_rgb(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                           const SkewLevelOptions* pOptions, SkewLevel* pLevel);
SKEW_API int skew_plan_argb(const uint32_t* pSrc, ptrdiff_t stride, int width, int height,
                            const SkewLevelOptions* pOptions, SkewLevel* pLevel);

/* Measures a page, judges it, and turns it into a new image where the judgement says so.
 *   ppDst  receives the level image, transform.outWidth by transform.outHeight pixels without padding between
 *          rows, which the caller frees with free(); null when the page is left alone, so that the source is
 *          the result, and on failure
 * The rest is as for skew_plan_gray; SKEW_INVALID_ARGUMENT also for a null ppDst. The new image is that of
 * skew_rotate_gray or its relative. Extra heap: the new image as well. */
SKEW_API int skew_level_gray(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                             const SkewLevelOptions* pOptions, unsigned char** ppDst, SkewLevel* pLevel);
SKEW_API int skew_level_rgb(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                            const SkewLevelOptions* pOptions, unsigned char** ppDst, SkewLevel* pLevel);
SKEW_API int skew_level_argb(const uint32_t* pSrc, ptrdiff_t stride, int width, int height,
                             const SkewLevelOptions* pOptions, uint32_t** ppDst, SkewLevel* pLevel);

/* The colour of an image's border: of each channel the median (of two middle values the lower) over a frame of
 * a fiftieth of the shorter side, at least one pixel wide.
 *   pFill  receives 0xAARRGGBB, alpha 255 for gray and RGB and the median of alpha for ARGB
 * Returns SKEW_OK; SKEW_INVALID_ARGUMENT with nothing written for a null pointer, a size below 1 or a stride
 * that is too short, or too long for memory to hold the image. Uses no heap. */
SKEW_API int skew_border_gray(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                              uint32_t* pFill);
SKEW_API int skew_border_rgb(const unsigned char* pSrc, ptrdiff_t stride, int width, int height,
                             uint32_t* pFill);
SKEW_API int skew_border_argb(const uint32_t* pSrc, ptrdiff_t stride, int width, int height, uint32_t* pFill);

SKEW_EXTERN_C_END

#endif
