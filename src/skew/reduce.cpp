// The exported reduction: a region in padded rows through the sampled 2 x 2 mean.
#include "core/raster.h"
#include "core/sample2x2.h"
#include "include/skewcorrection/skew.h"

int ImgShrink_TrackNew(const unsigned char* pSrc, int width, int /*height*/, ImgROI roi, unsigned char* pDst,
                       int dstWidth, int dstHeight) {
  const ptrdiff_t stride = skew::padded_stride(width);
  const bool done =
      skew::sample2x2(pSrc + roi.top * stride + roi.left, stride, skew::inclusive_width(roi),
                      skew::inclusive_height(roi), pDst, skew::padded_stride(dstWidth), dstWidth, dstHeight);
  return done ? SKEW_OK : SKEW_NO_WORKING_MEMORY;
}
