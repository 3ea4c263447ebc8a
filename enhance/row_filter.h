// In-place filters that look at the eight neighbours of a pixel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/buffer.h"
#include "core/raster.h"
#include "include/skewcorrection/types.h"

namespace skew {

// Three rows of an image as they were before the filter. Their ends have the same columns.
struct RowNeighbourhood {
  const uint8_t *above, *own, *below;
};

// Calls filter(rows, width, out) for every row but the first and the last, from top to bottom; out is the row
// to rewrite and never overlaps `rows`. Two saved rows are all it takes: the row below was not rewritten yet.
// Returns a result code; the image is unchanged unless it is 0.
template <class Filter>
int filter_rows_in_place(uint8_t* image, int width, int height, Filter filter) {
  const size_t bytes = width > 0 ? static_cast<size_t>(width) : 0;
  const Buffer<uint8_t> saved = allocate<uint8_t>(2, bytes);
  if (!saved) return SKEW_NO_WORKING_MEMORY;
  if (width < 3 || height < 3) return SKEW_OK;

  const ptrdiff_t stride = padded_stride(width);
  uint8_t *above = saved.get(), *own = above + bytes;
  std::memcpy(above, image, bytes);
  for (int y = 1; y < height - 1; ++y) {
    uint8_t* row = image + y * stride;
    std::memcpy(own, row, bytes);
    filter(RowNeighbourhood{above, own, row + stride}, width, row);
    uint8_t* done = above;
    above = own;
    own = done;
  }
  return SKEW_OK;
}

}  // namespace skew
