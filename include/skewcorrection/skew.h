/* From a gray page image to the angle of its text lines, in one call or step by step.
 *
 * Rasters hold one byte a pixel. "Padded" rows lie (width + 3) & ~3 bytes apart, the width raised to a
 * multiple of 4; the bytes past the width are never taken for pixels. Regions (ImgROI, types.h) are
 * inclusive.
 *
 * Angles are in degrees. A positive angle means that lines run along (cos, sin) of it with x to the right and
 * y downward: as displayed they fall from left to right. Rotating the image by the reported angle levels
 * them. No function keeps state: calls may run concurrently on different data, and on the same data where it
 * is const. Buffers stay the caller's; extra heap is freed before a call returns.
 */
#ifndef SKEWCORRECTION_SKEW_H
#define SKEWCORRECTION_SKEW_H

#include <pthread.h>

#include "types.h"

SKEW_EXTERN_C_BEGIN

/* Measures the skew angle of a page image; turns nothing.
 *   pSrc           the page, 0 black ... 255 white, in padded rows
 *   width, height  pixels, 32 or more each; sides beyond 65536 are fine
 *   pAngle         receives the angle: a multiple of 0.2 from -45 to 45, exactly 0.0 for a page with too few
 *                  edges to tell. Written only on success.
 * The page is reduced until its shorter side has 192 pixels (a page with a side below 192 keeps its scale),
 * its edges are mapped, and the square around the middle of the content is searched for the angle whose row
 * and column projections are sharpest. Only the reduced page is worked on: of a large one a few rows are read.
 * Returns
 *   SKEW_OK
 *   SKEW_INVALID_ARGUMENT       a null pointer, a side below 32, or sides so far apart that the reduced page
 *                               would not fit 2^31 - 1 bytes
 *   SKEW_OUT_OF_MEMORY          a working image could not be allocated
 *   SKEW_EDGE_DETECTION_FAILED  no memory for the edge map's work
 *   SKEW_ANGLE_SEARCH_FAILED    no memory for the search
 * Extra heap: for the reduced page 2.4 bytes a pixel and 10 a column, and at most 110 000 bytes more. */
SKEW_API int SkewCorrection(const unsigned char* pSrc, int width, int height, double* pAngle);

/* Resamples a region of a raster to any size, larger or smaller, by the truncated mean of the 2 x 2 pixels at
 * each sampled position. Where that block would leave the region, only the pixels inside it are averaged.
 *   pSrc                 padded rows
 *   width, height        of the source in pixels; the width sets the row distance, the height is not used
 *   roi                  the region, which must lie inside the source; an inverted one changes nothing
 *   pDst                 dstHeight padded rows; the bytes past a row's dstWidth pixels keep their values.
 *                        Must not overlap the source.
 *   dstWidth, dstHeight  pixels; with either below 1 nothing changes
 * Destination columns that have no right neighbour left to average take the source column of the destination
 * column before them; with only one source or destination column they take the region's first.
 * Returns SKEW_OK, or SKEW_NO_WORKING_MEMORY with the destination unchanged.
 * Extra heap: 4 * dstWidth bytes. */
SKEW_API int ImgShrink_TrackNew(const unsigned char* pSrc, int width, int height, ImgROI roi,
                                unsigned char* pDst, int dstWidth, int dstHeight);

/* Maps the edges of a raster: Sobel gradient with the L1 norm, suppression of all but local maxima across the
 * edge, and hysteresis over eight neighbours (J. Canny, "A Computational Approach to Edge Detection", 1986).
 * The raster is not smoothed first.
 *   pSrc            padded rows
 *   pDst            padded rows of the same size, not overlapping the source; becomes 255 on edges and 0
 *                   elsewhere, 0 also past the width. The outermost rows and columns repeat the ones beside
 *                   them.
 *   lowThreshold    a pixel whose gradient (0 ... 2040) is greater may be an edge if connected to a strong one
 *   highThreshold   a pixel whose gradient is greater is strong. The two are exchanged if this is the smaller.
 *   width, height   pixels, 2 or more each
 *   highCapPercent  the high threshold is lowered to this percentage of the strongest gradient (of at least
 *                   128, and counting only gradients of at least the low threshold) if it is above it. 0 or
 *                   less makes every local maximum above the low threshold strong.
 * Any threshold and any percentage will do.
 * Returns 0, or -1 with nothing written: a null pointer, a side below 2, a raster of more than 2^31 - 1 bytes,
 * or no memory. Extra heap: with the width raised to a multiple of 64, 5/16 byte a pixel, 10 bytes a column
 * and 400 bytes. */
SKEW_API int CannyEdge(const unsigned char* pSrc, unsigned char* pDst, int lowThreshold, int highThreshold,
                       int width, int height, int highCapPercent);

/* ---- Angle searches over an edge map ----
 *
 * A non-zero byte of an edge map is an edge point. Every search turns the points of a box through candidate
 * angles and prefers the angle whose projection onto an axis has the largest sum of squared counts, a measure
 * of how sharply the points fall into lines (projection profiles: Postl, 1986; edge points: Bloomberg, 1995).
 */

/* Searches -45 to 45 degrees for the angle at which the points pile up most sharply in their row projection
 * and their column projection at once: lines, margins, rulings and column edges all count. Whole degrees come
 * first, then the steps of 0.2 degree within 0.8 degree of the best; the first of equal scores stays.
 *   pEdge   edge map, rows stride bytes apart
 *   stride  bytes, at least the width of the map
 *   roi     the box to search, inclusive bounds, inside the map; at most 256 x 256 pixels is meaningful, since
 *           coordinates in the box count modulo 256
 *   pAngle  receives the angle, a multiple of 0.2; it is 0.0 when the box holds fewer than 64 points or none at
 *           all because its bounds are inverted, and on failure
 * Returns 0, or 260 if the working memory cannot be allocated.
 * Extra heap: for a box of w by h pixels, both up to 256, less than 2 * (w + 32) * (h + 32) bytes and 6 KB; for
 * larger ones, and in a library built without vectors, 4 bytes for each edge point, 2 for each row and column,
 * and 6 KB. */
SKEW_API int SkewAngleDetect_HOR_OneStep(const uint8_t* pEdge, int stride, ImgROI roi, double* pAngle);

/* The score of one projection: the sum of the squares of binCount counts, added in order to a double.
 * 0.0 when binCount is 0 or less; pHistogram may then be anything. */
SKEW_API double GetVariance(const uint16_t* pHistogram, int binCount);

/* Searches -39 to 39 degrees for the angle at which the points pile up most sharply in their row projection, as
 * they do on horizontal text lines. Whole degrees come first, then, unless an end of the range won, ten steps of
 * 0.2 degree around the winner on its side of zero. The first of equal scores stays, +k degrees before -k.
 *   pEdge       edge map in padded rows
 *   width       of the map, pixels
 *   roi         the box to search, inclusive bounds, inside the map; w by h pixels of any size
 *   pAngle      receives the angle, a multiple of 0.2; 0.0 before anything else happens
 *   pCoarseSin  40 rows of w entries: row k, entry x is x times the sine of k degrees; row 0 is not read
 *   pCoarseCos  40 rows of h entries: row k, entry y is y times the cosine of k degrees; row 0 is not read
 *   pFineSin    200 rows of w entries, pFineCos 200 rows of h entries: the same for row r = r * 0.2 degree; rows
 *               above 194 are not read
 *   pScore      receives the score of that angle, the sum of the squared counts of its projection (GetVariance),
 *               which can be compared with that of other searches over the same points
 *   pAngleCopy  receives the angle once more, as the last of the three
 * Entries are whole numbers, rounded either way. The caller answers for their size; where an entry is larger than
 * any such rounding explains, the angle means nothing, but nothing is written out of bounds.
 * A box without points gives angle 0.0 and score 0.0, and so does one with inverted bounds, for which nothing is
 * read. Returns 0, or 260 if the working memory cannot be allocated; then *pAngle is 0.0 and the other two are
 * left alone.
 * Extra heap: less than (w + 32) * (h + 32) bytes, or in a library built without vectors 4 bytes for each edge
 * point; 10 for each row and column of the box, and 1 KB. */
SKEW_API int SkewAngleDetect_ThreeSteps_F(const uint8_t* pEdge, int width, ImgROI roi, double* pAngle,
                                          const uint16_t* pCoarseSin, const uint16_t* pCoarseCos,
                                          const uint16_t* pFineSin, const uint16_t* pFineCos, double* pScore,
                                          double* pAngleCopy);

/* The same for text set in vertical columns: the points' column projection is scored. A page turned by some angle
 * gives the same sign here, through its columns, as it gives there through its lines. Two things differ:
 *   the sine tables have rows of h entries, one for each y, and the cosine tables rows of w entries, one for each
 *   x (for a square box the tables of the horizontal search will do), and -k degrees is preferred to +k at equal
 *   scores. */
SKEW_API int SkewAngleDetect_Vert_ThreeSteps_F(const uint8_t* pEdge, int width, ImgROI roi, double* pAngle,
                                               const uint16_t* pCoarseSin, const uint16_t* pCoarseCos,
                                               const uint16_t* pFineSin, const uint16_t* pFineCos,
                                               double* pScore, double* pAngleCopy);

/* ---- For a caller's own threads ----
 *
 * The library starts no thread. GetVarianceMT and SkewAngleDetectJpnMT can be passed to pthread_create. */

/* One projection of a point list: what GetVariance_sp and GetVarianceMT work on. */
typedef struct VarianceParam {
  const uint16_t* pPoints; /* y, x, y, x, ... */
  int32_t valueCount;      /* values in the list: twice the number of points */
  int32_t xRowLength;      /* entries in a row of pXTable; larger than every x */
  int32_t yRowLength;      /* entries in a row of pYTable; larger than every y */
  uint16_t* pHistogram;    /* binCount counts; cleared and filled. Workers that run at once need one each. */
  int32_t binCount;        /* bins; every bin that the points fall into must exist */
  const uint16_t* pXTable; /* rows of entries for each x, as in the searches above */
  const uint16_t* pYTable; /* rows of entries for each y */
  int32_t mode;            /* 1: bin = y entry - x entry + binCount / 2; otherwise bin = y entry + x entry */
  int32_t row;             /* the row of both tables to use */
  double* pResult;         /* receives the score of the histogram (GetVariance) */
} VarianceParam;

/* Scores one angle and one sign. The block is trusted: see its fields. Uses no heap. */
SKEW_API void GetVariance_sp(const VarianceParam* pParam);

/* The same in the shape of a thread's start routine: pParam points to a VarianceParam. Returns a null pointer. */
SKEW_API void* GetVarianceMT(void* pParam);

/* One three-step search: what SkewAngleDetectJpnMT works on. The fields are the arguments of the two searches;
 * those of the direction that does not run are not used. */
typedef struct SkewDetectParam {
  const uint8_t* pEdge;
  int32_t width;
  ImgROI roi;
  double* pAngle;    /* written by both directions: blocks that run at once need different targets */
  int32_t direction; /* 1: SkewAngleDetect_ThreeSteps_F; 2: the vertical search; else nothing runs */
  const uint16_t* pHorCoarseSin;
  const uint16_t* pHorCoarseCos;
  const uint16_t* pHorFineSin;
  const uint16_t* pHorFineCos;
  double* pHorScore;
  double* pHorAngle; /* the copy of the angle */
  const uint16_t* pVertCoarseSin;
  const uint16_t* pVertCoarseCos;
  const uint16_t* pVertFineSin;
  const uint16_t* pVertFineCos;
  double* pVertScore;
  double* pVertAngle; /* the copy of the angle */
} SkewDetectParam;

/* Runs the search that the block asks for, in the shape of a thread's start routine: pParam points to a
 * SkewDetectParam. Returns a null pointer always. A search without memory leaves 0.0 in *pAngle and its score and
 * copy as they were. */
SKEW_API void* SkewAngleDetectJpnMT(void* pParam);

/* Waits for threads with pthread_join, in array order, and drops their exit values.
 *   threadCount   entries; any number
 *   pStartStatus  0 for a thread to wait for; anything else (what a failed pthread_create returned) skips it
 *   pThreads      the threads; each can be waited for only once
 * Returns the number of threads that could not be joined, 0 when all were; the rest are joined all the same. With
 * no entries (threadCount 0 or less) it returns 1. */
SKEW_API int multi_pthread_join(int threadCount, const int32_t* pStartStatus, const pthread_t* pThreads);

SKEW_EXTERN_C_END

#endif
