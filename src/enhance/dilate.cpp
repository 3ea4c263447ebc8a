// Closes gaps row by row. Two rows are kept as they were; the row below was not changed yet.
#include <cstring>

#include "core/buffer.h"
#include "core/raster.h"
#include "enhance/filter_rows.h"
#include "include/skewcorrection/enhance.h"

int dilation(uint8_t* pImage, int width, int height) {
  const size_t columns = width > 0 ? static_cast<size_t>(width) : 0;
  const skew::Buffer<uint8_t> kept = skew::allocate<uint8_t>(2, columns);
  if (!kept) return SKEW_NO_WORKING_MEMORY;
  if (width < 3 || height < 3) return SKEW_OK;

  const ptrdiff_t stride = skew::padded_stride(width);
  uint8_t *above = kept.get(), *own = above + columns;
  std::memcpy(above, pImage, columns);
  const skew::FilterRows& filter = skew::kernels<skew::FilterRows>();
  for (int y = 1; y < height - 1; ++y) {
    uint8_t* row = pImage + y * stride;
    std::memcpy(own, row, columns);
    filter.close_gaps({above, own, row + stride}, 1, width - 1, row);
    uint8_t* done = above;
    above = own;
    own = done;
  }
  return SKEW_OK;
}
