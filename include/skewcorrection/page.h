/* The true angle of a whole page, and whether to trust it.
 *
 * SkewCorrection (skew.h) looks at a page through 192 pixels and answers in steps of 0.2 degree. The functions here look
 * at some 900, find the letters, and measure the direction of their lines to a few hundredths of a degree, on the
 * whole page and in its parts. Whatever else is long and straight has no say where there is writing: edges of paper,
 * gutters, rules, desks, frames. They say how likely the answer is right, and why it may not be.
 *
 * Projection profiles for skew are due to Postl (1986) and Baird (1987); here the edges of letter-sized connected
 * components are projected.
 *
 * Angles are degrees. A positive angle means that lines run along (cos angle, sin angle) with x to the right
 * and y downward: as displayed they fall from left to right. Turning the image by the angle with
 * skew_rotate_gray and its relatives (rotate.h) levels the lines. Rows and columns of text count alike, so
 * the angle is known up to quarter turns: of the four directions the one from -45 to 45 is reported, and a
 * page that lies on its side stays on its side. Within half a degree of 45 the direction with the sharper
 * lines is taken, so that the magnitude can reach 45.5 there.
 *
 * All functions are re-entrant: they keep no state, and calls may run at the same time, on the same image
 * too. Results are the same on every processor.
 */
#ifndef SKEWCORRECTION_PAGE_H
#define SKEWCORRECTION_PAGE_H

#include <stddef.h>

#include "types.h"

SKEW_EXTERN_C_BEGIN

/* How far an answer can be relied on: thresholds of the confidence. */
enum {
  SKEW_PAGE_TRUSTED = 0, /* the angle can be used without a look at the page */
  SKEW_PAGE_UNCERTAIN =
      1,              /* there is content, but no sure direction: angle is the best guess, reason says why */
  SKEW_PAGE_BLANK = 2 /* no content to measure: empty, noise or shading; angle is 0 */
};

/* What the angle follows. */
enum {
  SKEW_BASIS_NONE = 0,     /* nothing: a blank page */
  SKEW_BASIS_ROWS = 1,     /* lines of writing that run across the page */
  SKEW_BASIS_COLUMNS = 2,  /* lines of writing that run down the page */
  SKEW_BASIS_STRUCTURE = 3 /* no lines of writing were found: rules, frames, staves, the lines of a drawing */
};

/* Why an answer is not trusted. */
enum {
  SKEW_REASON_NONE = 0,           /* it is trusted */
  SKEW_REASON_NO_CONTENT = 1,     /* blank */
  SKEW_REASON_LITTLE_TEXT = 2,    /* a few words, or too little of anything */
  SKEW_REASON_TWO_DIRECTIONS = 3, /* parts of the page lie at different angles, as two pages in view do */
  SKEW_REASON_NOT_PARALLEL = 4,   /* the lines fan out or bend: perspective or curled paper */
  SKEW_REASON_ONLY_STRUCTURE = 5, /* no writing, and the straight parts do not agree well enough */
  SKEW_REASON_RASTER = 6,         /* the direction may be that of the pixels: JPEG blocks, dither, halftone */
  SKEW_REASON_UNCLEAR = 7         /* the parts of the page do not agree */
};

/* What a measurement found. */
typedef struct SkewPage {
  double angle;      /* degrees, continuous; where the line direction varies over the page, that of the middle
                          of the text; 0.0 for a blank page */
  double confidence; /* 0 ... 1: the probability that angle is within 0.25 degree of the lines' direction */
  double lowestAngle;  /* the line direction varies over the page from here ... */
  double highestAngle; /* ... to here, degrees; both equal angle where it does not vary measurably */
  double
      paperAngle; /* direction of the sheet's edges or of a frame around the text, degrees; 0.0 if not seen */
  double spread;  /* root mean square distance of the agreeing windows' angles from the page's, degrees */
  int verdict;    /* SKEW_PAGE_... */
  int reason;     /* SKEW_REASON_... */
  int basis;      /* SKEW_BASIS_... */
  int paperFound; /* 1 if paperAngle is known, else 0 */
  int windowsMeasured; /* windows that had enough content and were measured on their own */
  int windowsAgreeing; /* those of them whose angle lies within a degree of the page's */
} SkewPage;

/* One measured window. The box is in pixels of the working image; the bounds are inclusive. */
typedef struct SkewPageWindow {
  int left, top, right, bottom;
  int points;   /* edge points in the window */
  int agrees;   /* 1 if its angle lies within a degree of the page's, else 0 */
  double angle; /* what the window alone says, a multiple of 0.2 degree */
} SkewPageWindow;

/* One point of the score curve: how sharply the page's rows and columns stand out at an angle. */
typedef struct SkewPageScore {
  double angle; /* degrees */
  double score; /* about 1 for points strewn at random, more where they pile up in rows and columns */
} SkewPageScore;

/* What the measurement looked at, for pictures and reports. Buffers belong to the record and are freed
 * together by skew_free_page_details. For a page that is blank because it is too small, all of it is 0. */
typedef struct SkewPageDetails {
  int width, height;        /* of the working image and the edge map, pixels */
  ptrdiff_t stride;         /* bytes from row to row of both: the width raised to a multiple of 4 */
  double scale;             /* source pixels for one working pixel, 1.0 or more */
  unsigned char* pWorking;  /* stride * height bytes, 0 black ... 255 white */
  unsigned char* pEdges;    /* stride * height bytes, 255 at an edge point, else 0 */
  SkewPageWindow* pWindows; /* windowCount records */
  int windowCount;          /* equals windowsMeasured; pWindows and pScores are null when it is 0 */
  SkewPageScore* pScores;   /* scoreCount records from -45 degrees up, 0.2 degree apart */
  int scoreCount;           /* 450, or 0 when no window had enough points to measure */
} SkewPageDetails;

/* Measures a gray page image.
 *   pGray          8-bit, 0 black ... 255 white; not changed
 *   width, height  pixels, at least 1 each; below 32 of either the page is reported blank
 *   stride         bytes from the start of a row to the start of the next; its magnitude is at least width,
 *                  and it may be negative for images stored bottom up
 *   pPage          receives the result; not touched unless SKEW_OK is returned
 * Returns SKEW_OK, SKEW_INVALID_ARGUMENT for a null pointer, a size below 1 or a stride that is too short,
 * or too long for memory to hold the page; or SKEW_OUT_OF_MEMORY.
 * Extra heap while it runs: some 14 bytes for each working pixel (the working image has 0.8 to 2 million of them
 * for pages up to twice as long as wide); strips many times as long as wide take more for each. */
SKEW_API int skew_measure_page(const unsigned char* pGray, int width, int height, ptrdiff_t stride,
                               SkewPage* pPage);

/* The same, and hands out what it looked at. The result in pPage is that of skew_measure_page.
 *   pDetails       receives the record, owned by the caller from then on; on failure all its pointers are
 *                  null and its counts 0
 * Returns what skew_measure_page returns; also SKEW_INVALID_ARGUMENT for a null pDetails. */
SKEW_API int skew_measure_page_details(const unsigned char* pGray, int width, int height, ptrdiff_t stride,
                                       SkewPage* pPage, SkewPageDetails* pDetails);

/* Frees the buffers of a record filled by skew_measure_page_details and clears it, so that a second call does
 * no harm. A null pointer is ignored. */
SKEW_API void skew_free_page_details(SkewPageDetails* pDetails);

SKEW_EXTERN_C_END

#endif
