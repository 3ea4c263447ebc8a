/* Sines and cosines in fixed point, in steps of 0.2 degree.
 *
 * An angle index a stands for a * 0.2 degree; an angle of d degrees has the index |d| * 5, cut down to a whole
 * number. The tables are constant data, ready before the first call of any function, and may be read from any
 * number of threads.
 */
#ifndef SKEWCORRECTION_TABLES_H
#define SKEWCORRECTION_TABLES_H

#include "types.h"

SKEW_EXTERN_C_BEGIN

/* SIN[a] and COS[a]: sine and cosine of angle index a, 0 ... 329 (0 to 65.8 degrees), in 1/65536, rounded to the
 * nearest whole number. */
SKEW_API extern const int32_t SIN[330];
SKEW_API extern const int32_t COS[330];

/* Entry [r * 256 + a]: the distance r, 0 ... 255 pixels, times the sine or cosine of angle index a, 0 ... 255,
 * rounded down to a whole number of pixels. */
SKEW_API extern const int32_t A_tSin_256_226[65536];
SKEW_API extern const int32_t A_tCos_256_226[65536];

/* Sine of an angle whose magnitude is first cut down to a multiple of 0.2 degree.
 *   angle  degrees, of either sign; below 66 in magnitude to be met, larger ones count as 65.8
 * Returns SIN[a] / 65536, negated for angles below zero: always an exact multiple of 1/65536, and +0.0 for
 * anything that is cut down to zero, from either side. NaN gives NaN.
 * Keeps no state; calls may run concurrently. */
SKEW_API double SIN_sin(double angle);

/* Cosine of an angle whose magnitude is first cut down to a multiple of 0.2 degree: COS[a] / 65536 for either
 * sign. Angles of 66 degrees and more, and NaN, are treated as in SIN_sin. */
SKEW_API double COS_cos(double angle);

SKEW_EXTERN_C_END

#endif
