/* From a gray page image to the angle of its text lines, in one call or step by step.
 *
 * Angles are in degrees. A positive angle means that lines run along (cos, sin) of it with x to the right and
 * y downward: as displayed they fall from left to right. Rotating the image by the reported angle levels
 * them. No function keeps state: calls may run concurrently on different data, and on the same data where it
 * is const.
 */
#ifndef SKEWCORRECTION_SKEW_H
#define SKEWCORRECTION_SKEW_H

#include "types.h"

SKEW_EXTERN_C_BEGIN

/* ---- Angle searches over an edge map ----
 *
 * A non-zero byte of an edge map is an edge point. Every search turns the points of a box through candidate
 * angles and prefers the angle whose projection onto an axis has the largest sum of squared counts, a measure
 * of how sharply the points fall into lines (projection profiles: Postl, 1986; edge points: Bloomberg, 1995).
 */

/* Searches -45 to 45 degrees for the angle at which the points pile up most sharply in their row projection
 * and their column projection at once: lines, margins, rulings and column edges all count. Whole degrees come
 * first, then the steps of 0.2 degree within 0.8 degree of the best; the first of equal scores stays. pEdge
 * edge map, rows stride bytes apart stride  bytes, at least the width of the map roi     the box to search,
 * inclusive bounds, inside the map; at most 256 x 256 pixels is meaningful, since coordinates in the box
 * count modulo 256 pAngle  receives the angle, a multiple of 0.2; it is 0.0 when the box holds fewer than 64
 * points or none at all because its bounds are inverted, and on failure Returns 0, or 260 if the working
 * memory cannot be allocated. Extra heap: 4 bytes for each edge point and 2 for each row and column of the
 * box. */
SKEW_API int SkewAngleDetect_HOR_OneStep(const uint8_t* pEdge, int stride, ImgROI roi, double* pAngle);

/* The score of one projection: the sum of the squares of binCount counts, added in order to a double.
 * 0.0 when binCount is 0 or less; pHistogram may then be anything. */
SKEW_API double GetVariance(const uint16_t* pHistogram, int binCount);

SKEW_EXTERN_C_END

#endif
