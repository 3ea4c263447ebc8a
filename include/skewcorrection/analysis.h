/* What can be read off an edge map or off many measurements of one page: connected components, the centre of
 * mass, the prevailing text height, and one angle out of several.
 *
 * No function keeps state: calls may run concurrently on different data, and on the same data where it is
 * const.
 */
#ifndef SKEWCORRECTION_ANALYSIS_H
#define SKEWCORRECTION_ANALYSIS_H

#include "types.h"

SKEW_EXTERN_C_BEGIN

/* ---- Components ---- */

/* Finds the connected components of the pixels of one value, in one pass over runs of equal pixels (run-based
 * labelling with merging of equivalent labels: Rosenfeld and Pfaltz, 1966).
 *   pSrc            the raster, rows (width + 3) & ~3 bytes apart; bytes past the width are not looked at
 *   width, height   pixels; 1 ... 3995 and 1 ... 65536, so that every coordinate fits a record
 *   pCount          receives the number of records
 *   eightConnected  0: pixels are connected across their sides; otherwise across their corners, too
 *   foreground      the pixel value that forms components
 * Returns an array of which the first *pCount records are valid, at most 10000; release it with free(). In a
 * record, left, right, top and bottom are the component's box with all four bounds inside it, area is its
 * number of pixels, maxRun the length of its longest horizontal run, link is 2, scratchIndex and reserved are
 * 0. The order is that of the components' first runs, from top to bottom and from left to right; where two
 * beginnings meet further down, the place of the one above the left end of the joining run counts.
 * Returns null with *pCount 0 when no pixel has the value or a size is out of range, and null with *pCount
 * unchanged when memory cannot be allocated.
 * Very many components: whenever a row leaves more than 8000 records, those of finished components of at most
 * 3 pixels are dropped. If more than 8000 remain even then, the components found so far are returned and the
 * rows below are not looked at.
 * Extra heap: the 240000 bytes of the array, and 32 kB while the call runs. */
SKEW_API ImgROI* CCAnalysis(const uint8_t* pSrc, int width, int height, int* pCount, int eightConnected,
                            uint8_t foreground);

/* The mean column and the mean row of the nonzero pixels, rounded to the nearest whole number, halves up.
 *   pSrc           gray image, rows width bytes apart
 *   width, height  pixels; less than 1 of either counts as an image without pixels
 *   pX, pY         receive the column and the row; both 0 when no pixel is nonzero
 * Uses no heap. */
SKEW_API void getBarycenter(const uint8_t* pSrc, int width, int height, int32_t* pX, int32_t* pY);

/* ---- One value out of many ----
 *
 * Both functions put each value, in the order given, into the cluster whose mean at that moment is nearest,
 * if it is near enough, or open a new cluster for it (leader clustering: Hartigan, 1975). At most 30 clusters
 * are opened; the first value that would need another ends the pass. The output arrays must have room for 30
 * entries; as many as there are clusters are written, the largest first, clusters of equal size in the order
 * in which they were opened. Neither function uses the heap.
 */

typedef struct HeightCluster {
  int32_t count;      /* number of components */
  int32_t meanHeight; /* mean height in rows, rounded to the nearest whole number, halves up */
} HeightCluster;

typedef struct AngleCluster {
  int32_t count;    /* number of angles */
  double meanAngle; /* their mean, degrees */
} AngleCluster;

/* The prevailing height of the components in a region: on a page, the height of its letters.
 *   pComponents     records with inclusive bounds, as CCAnalysis returns them
 *   componentCount  how many; at least 30 are needed
 *   roi             inclusive bounds; components that are not wholly inside do not count, nor do those of
 *                   less than 4 rows
 *   pClusters       receives the clusters; a height joins a cluster whose mean is at most a third of that
 *                   mean, rounded down, away
 *   pClusterCount   receives the number of clusters
 *   pValidCount     receives the number of components that counted
 * Returns the mean height of the largest cluster, 4 or more; -1 when pComponents is null or there are fewer
 * than 30 (both counts are then 0, no cluster is written); -2 when the largest cluster holds fewer than 4 or
 * less than a quarter of the components that counted (the outputs are written all the same). */
SKEW_API int GetHighConfidenceHeightROI(const ImgROI* pComponents, int componentCount, ImgROI roi,
                                        HeightCluster* pClusters, int* pClusterCount, int* pValidCount);

/* The angle that most of several measurements agree on.
 *   pAngles        degrees; those beyond 29.0 on either side, and NaN, do not count
 *   angleCount     how many; at least 5 are needed
 *   pClusters      receives the clusters; an angle joins a cluster whose mean is at most 0.6 degree (and a
 *                  tolerance of 0.001) away
 *   pClusterCount  receives the number of clusters
 *   pValidCount    receives the number of angles that counted
 * Returns 0 when pClusters[0].meanAngle can be trusted; -1 when pAngles is null or there are fewer than 5
 * (both counts are then 0, no cluster is written); -2 when the largest cluster holds fewer than 4 or less
 * than a third of the angles that counted (the outputs are written all the same). */
SKEW_API int GetHighConfidenceSkewAngle(const double* pAngles, int angleCount, AngleCluster* pClusters,
                                        int* pClusterCount, int* pValidCount);

/* The middle one of several angles.
 *   pAngles     degrees; sorted in place, the largest first, equal ones (+0.0 and -0.0) in the order given. A
 *               NaN stays where it is, and the angles on either side of it are sorted for themselves.
 *   angleCount  how many
 * Returns the middle element; of the two middle ones of an even number the smaller, unless that is less than
 * 0.01, then the larger. -1.0 when pAngles is null or angleCount is less than 1.
 * Uses no heap; takes about n log(n)^2 steps. */
SKEW_API double GetMedianSkewAngle(double* pAngles, int angleCount);

SKEW_EXTERN_C_END

#endif
