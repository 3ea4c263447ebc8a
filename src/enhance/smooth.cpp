// The 3 x 3 kernel in two steps, along the row and down the columns. Each row is summed along once, when it
// is the row below; what the two rows above it add is carried along, so the image may be overwritten on the
// way.
#include "core/buffer.h"
#include "core/raster.h"
#include "enhance/filter_rows.h"
#include "include/skewcorrection/enhance.h"

int ImgGaussSmooth(uint8_t* pImage, int width, int height) {
  const size_t columns = width > 0 ? static_cast<size_t>(width) : 0;
  const skew::Buffer<uint16_t> sums = skew::allocate<uint16_t>(2, columns);
  if (!sums) return SKEW_NO_WORKING_MEMORY;
  if (width < 3 || height < 3) return SKEW_OK;

  const ptrdiff_t stride = skew::padded_stride(width);
  uint16_t *upper = sums.get(), *own = upper + columns;
  for (int x = 1; x < width - 1; ++x) {
    own[x] = static_cast<uint16_t>(skew::sum_of_three(pImage + stride + x));
    upper[x] = static_cast<uint16_t>(skew::sum_of_three(pImage + x) + 2 * own[x]);
  }
  const skew::FilterRows& filter = skew::kernels<skew::FilterRows>();
  for (int y = 1; y < height - 1; ++y) {
    uint8_t* row = pImage + y * stride;
    filter.smooth({row + stride, upper, own, row}, 1, width - 1);
  }
  return SKEW_OK;
}
