/* Filters that prepare a gray or two-valued image for analysis.
 *
 * No function keeps state: calls may run concurrently on different images, and on the same image where it is
 * const.
 */
#ifndef SKEWCORRECTION_ENHANCE_H
#define SKEWCORRECTION_ENHANCE_H

#include "types.h"

SKEW_EXTERN_C_BEGIN

/* Smooths a gray image in place with the 3 x 3 binomial kernel 1 2 1, 2 4 2, 1 2 1, the sum divided by 16 and
 * rounded down.
 *   pImage         rows (width + 3) & ~3 bytes apart; stays the caller's
 *   width, height  pixels; with fewer than 3 of either nothing changes
 * The one-pixel frame and the bytes between rows keep their values.
 * Returns 0, or 260 if the working memory cannot be allocated (image unchanged).
 * Extra heap: 4 bytes for each column. */
SKEW_API int ImgGaussSmooth(uint8_t* pImage, int width, int height);

/* Raises the contrast of a dull gray image in place.
 *   pImage         rows width bytes apart; stays the caller's
 *   width, height  pixels; with fewer than 2 of either nothing changes
 * The low level is the first that, with those below it, holds 2 percent of the pixels; the high level the
 * first from above. Where the two are 1 to 149 apart, the band between them is widened linearly by up to 32
 * levels on either side, and the levels outside it are compressed to make room. The last row and the last
 * column are neither counted nor changed, except that the 2 percent are those of the whole image.
 * Returns 1 when the image was remapped; 0 when it was left as it is, because its levels are too close, too
 * far apart or cannot be found. Uses no heap. */
SKEW_API int GrayStretch_T(uint8_t* pImage, int width, int height);

/* Cuts a region out of a raster, and reduces it if it has more pixels than wanted.
 *   pSrc                 the raster, rows (width + 3) & ~3 bytes apart
 *   width                its width in pixels; height is not used
 *   pOutWidth            receives the width of the result, a multiple of 4; only on success
 *   pOutHeight           receives its height; only on success
 *   roi                  the region, inside the raster. Here, unlike everywhere else, column `right` and row
 *                        `bottom` are the first ones outside it.
 *   pScaled              receives 1 when the region, its width cut down to a multiple of 4, exceeds the
 *                        budget, otherwise 0; always written
 *   maxWidth, maxHeight  their product is the budget in pixels
 * Within the budget the region is copied without its last 0 to 3 columns. Otherwise both sides are divided by
 * the smallest whole number, 2 or more, that brings their product within the budget, the width is cut down to
 * a multiple of 4, and each pixel is the sampled 2 x 2 mean of ImgShrink_TrackNew (skew.h).
 * Returns the result, rows *pOutWidth bytes apart; release it with free(). Null when memory cannot be
 * allocated, when the budget is negative, and when the result would have no pixel: a region or a result less
 * than 4 columns wide or without a row, or an inverted region.
 * Extra heap: the result, and 4 bytes for each of its columns while a reduction runs. */
SKEW_API uint8_t* ImgExtFit_Track_ROI(const uint8_t* pSrc, int width, int height, int* pOutWidth,
                                      int* pOutHeight, ImgROI roi, int* pScaled, int16_t maxWidth,
                                      int16_t maxHeight);

/* Closes gaps of one pixel in a two-valued image, in place. It is not a dilation by a structuring element: a
 * background pixel is set to 255 when it lies between foreground on two opposite sides and the values of its
 * eight neighbours add up to 500 ... 1274 (of neighbours that are all 0 or 255: two, three or four are set).
 *   pImage         0 is background, any other value foreground; rows (width + 3) & ~3 bytes apart; stays the
 *                  caller's
 *   width, height  pixels; with fewer than 3 of either nothing changes
 * With foreground beside the pixel, in its row, it needs foreground in the three pixels on its left and in
 * the three on its right, and background above and below. Otherwise it needs foreground in the three pixels
 * above and in the three below. All decisions are made on the image as it was; the one-pixel frame and the
 * bytes between rows keep their values.
 *
 * Returns 0, or 260 if the working memory cannot be allocated (image unchanged).
 * Extra heap: 2 bytes for each column. */
SKEW_API int dilation(uint8_t* pImage, int width, int height);

SKEW_EXTERN_C_END

#endif
